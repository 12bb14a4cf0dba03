#include "QuarnSystem/ReceiptSnapshot.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>

#include "QuarnPlatform/base/Budget.h"
#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/base/Parallel.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PrivatePrefix.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/ReceiptFiles.h"
#include "QuarnSystem/ReceiptIndex.h"

namespace quarn {
namespace {

using SharedBill = std::shared_ptr<const PackedPaths>;

/// The receipts and bills read so far.
///
/// The first thread reads the receipts; other threads wait in `call_once`. A slot belongs to one receipt and caches
/// its bill. Its lock is held while the bill is read, so a bill is never read twice at the same time. `keptBytes_`
/// has a separate lock, which is acquired last. `mostBillBytes` bounds the memory of the slots.
class Receipts {
 public:
  Receipts(const FileManager& files, std::size_t mostBillBytes)
      : files_(files.forOneOperation()), mostBillBytes_(mostBillBytes) {}

  [[nodiscard]] const FileManager& files() const { return files_; }

  [[nodiscard]] const std::vector<ReceiptFile>& all() {
    std::call_once(once_, [this] {
      receipts_ = readReceiptFiles(files_);
      slots_ = std::make_unique<Slot[]>(receipts_.size());
    });
    return receipts_;
  }

  // Null for the first query: one query reads every bill once without an index. The second query builds it.
  [[nodiscard]] const ReceiptIndex* indexForManyQueries() {
    if (queries_.fetch_add(1) == 0) return nullptr;
    std::call_once(indexOnce_, [this] {
      index_.emplace(all());
      for (std::size_t i = 0; i < receipts_.size(); ++i) {
        if (const SharedBill paths = bill(i)) index_->addBill(i, receipts_[i], *paths);
      }
    });
    return index_->isComplete() ? &*index_ : nullptr;
  }

  // The bill of the receipt at an index of `all()`; null if there is no readable bill.
  [[nodiscard]] SharedBill bill(std::size_t index) {
    Slot& slot = slots_[index];
    const std::lock_guard lock(slot.mutex);
    if (slot.isKept) return slot.bill;
    std::optional<PackedPaths> paths = readBillPaths(files_, receipts_[index].bill);
    SharedBill bill = paths ? std::make_shared<const PackedPaths>(std::move(*paths)) : nullptr;
    slot.isKept = reserve(bill ? bill->memory() : 0);
    if (slot.isKept) slot.bill = bill;
    return bill;
  }

 private:
  struct Slot {
    std::mutex mutex;
    SharedBill bill;
    bool isKept = false;
  };

  [[nodiscard]] bool reserve(std::size_t bytes) {
    const std::lock_guard lock(keptMutex_);
    if (bytes > mostBillBytes_ - keptBytes_) return false;
    keptBytes_ += bytes;
    return true;
  }

  const FileManager files_;
  const std::size_t mostBillBytes_;
  std::once_flag once_;
  std::vector<ReceiptFile> receipts_;
  std::unique_ptr<Slot[]> slots_;
  std::atomic<std::size_t> queries_ = 0;
  std::once_flag indexOnce_;
  std::optional<ReceiptIndex> index_;
  std::mutex keptMutex_;
  std::size_t keptBytes_ = 0;
};

std::size_t pathBytes(const ReceiptFile& receipt, const PackedPaths& bill) {
  const std::size_t each = limits::kBytesPerText + receipt.installLocation.size() + 1;
  return bill.memory() + bill.size() * each;
}

/// Lists receipts with their files, as many as one answer may hold.
class Answer {
 public:
  explicit Answer(const FileManager& files) : files_(files) {}

  ReceiptInfo infoOf(const ReceiptFile& receipt, SharedBill bill) {
    if (bill && !paths_.take(pathBytes(receipt, *bill))) {
      files_.note(receipt.bill, EFBIG);
      bill.reset();
    }
    return listed(receipt, bill);
  }

 private:
  static ReceiptInfo listed(const ReceiptFile& receipt, const SharedBill& bill);

  const FileManager& files_;
  Budget paths_ = Budget(limits::kReceiptPathBytes);
};

ReceiptInfo Answer::listed(const ReceiptFile& receipt, const SharedBill& bill) {
  ReceiptInfo info{.packageIdentifier = receipt.identifier,
                   .files = {},
                   .version = receipt.version,
                   .installDate = receipt.installDate};
  for (std::size_t i = 0; bill && i < bill->size(); ++i) {
    const PackedPaths::Entry entry = (*bill)[i];
    if (entry.isMarked) info.files.emplace_back(path::join(receipt.installLocation, entry.path));
  }
  return info;
}

// An item to find in many bills, under all paths where a package may have installed it.
class SoughtItem {
 public:
  SoughtItem(const FileManager& files, std::string_view path) {
    // Packages install into "/private/etc", while the standardised path is "/etc".
    const std::string standardized = files.standardizedPath(path);
    paths_.push_back(standardized);
    for (std::string& installed : path::withPrivatePrefixes(standardized)) {
      if (files.standardizedPath(installed) == standardized) paths_.push_back(std::move(installed));
    }
  }

  // All paths under which a bill may list the item.
  [[nodiscard]] const std::vector<std::string>& paths() const { return paths_; }

  // True if a bill of the receipt could list the item.
  [[nodiscard]] bool mayBeListed(const ReceiptFile& receipt) const {
    return anyPlace(receipt, [](std::string_view) { return true; });
  }

  // True if the bill lists the item itself, of any type. Every bill lists its install location.
  [[nodiscard]] bool isListed(const ReceiptFile& receipt, const PackedPaths& bill) const {
    return anyPlace(receipt, [&](std::string_view place) { return place.empty() || bill.contains(place); });
  }

  // True if the bill lists the item or anything in it.
  [[nodiscard]] bool isOrHoldsListed(const ReceiptFile& receipt, const PackedPaths& bill) const {
    for (const std::string& path : paths_) {
      if (path::isInside(receipt.installLocation, path)) return true;
    }
    return anyPlace(receipt, [&](std::string_view place) { return bill.containsAtOrBelow(place); });
  }

 private:
  // True if the test is true for the item's path relative to the install location ("" for that folder itself).
  template <class Test>
  bool anyPlace(const ReceiptFile& receipt, Test test) const {
    for (const std::string& path : paths_) {
      if (!path::isInside(path, receipt.installLocation)) continue;
      std::string_view place = std::string_view(path).substr(receipt.installLocation.size());
      if (place.starts_with('/')) place.remove_prefix(1);
      if (test(place)) return true;
    }
    return false;
  }

  std::vector<std::string> paths_;
};

bool belongsByIdentifier(const AppEntity& app, std::string_view packageID) {
  if (!app.bundleIdentifier || app.bundleIdentifier->empty()) return false;
  const std::string package = Text::lowercased(packageID);
  const std::string bundle = Text::lowercased(*app.bundleIdentifier);
  return package == bundle || package.starts_with(bundle + ".");
}

std::vector<ReceiptInfo> allReceipts(Receipts& receipts) {
  const std::vector<ReceiptFile>& all = receipts.all();
  Answer answer(receipts.files());
  return collectInParallel<ReceiptInfo>(
      all.size(), [&](std::size_t i) { return std::optional(answer.infoOf(all[i], receipts.bill(i))); });
}

// The receipts that belong to the app; absent if the index does not apply to it.
std::optional<std::vector<std::size_t>> indexedReceipts(Receipts& receipts, const AppEntity& app,
                                                        const SoughtItem& bundle) {
  const ReceiptIndex* index = receipts.indexForManyQueries();
  if (index == nullptr) return std::nullopt;
  std::vector<std::size_t> found = index->named(app.bundleIdentifier.value_or(""));
  for (const std::string& path : bundle.paths()) {
    if (!ReceiptIndex::isBundlePath(path)) return std::nullopt;
    const std::vector<std::size_t> listing = index->listing(path);
    found.insert(found.end(), listing.begin(), listing.end());
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

std::vector<ReceiptInfo> receiptsMatching(Receipts& receipts, const AppEntity& app) {
  const SoughtItem bundle(receipts.files(), app.bundleURL.path());
  const std::vector<ReceiptFile>& all = receipts.all();
  Answer answer(receipts.files());
  if (const auto indexed = indexedReceipts(receipts, app, bundle)) {
    std::vector<ReceiptInfo> found;
    for (const std::size_t i : *indexed) found.push_back(answer.infoOf(all[i], receipts.bill(i)));
    return found;
  }
  return collectInParallel<ReceiptInfo>(all.size(), [&](std::size_t i) -> std::optional<ReceiptInfo> {
    const SharedBill bill = receipts.bill(i);
    const bool belongs = belongsByIdentifier(app, all[i].identifier) || (bill && bundle.isOrHoldsListed(all[i], *bill));
    return belongs ? std::optional(answer.infoOf(all[i], bill)) : std::nullopt;
  });
}

std::vector<std::string> packageIDs(Receipts& receipts, const std::string& path) {
  const SoughtItem item(receipts.files(), path);
  const std::vector<ReceiptFile>& all = receipts.all();
  std::vector<std::string> identifiers;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const bool isKnown = !identifiers.empty() && identifiers.back() == all[i].identifier;
    if (isKnown || !item.mayBeListed(all[i])) continue;
    const SharedBill bill = receipts.bill(i);
    if (bill && item.isListed(all[i], *bill)) identifiers.push_back(all[i].identifier);
  }
  return identifiers;
}

bool matches(Receipts& receipts, const AppEntity& app, const std::string& packageID) {
  if (belongsByIdentifier(app, packageID)) return true;
  const SoughtItem bundle(receipts.files(), app.bundleURL.path());
  const std::vector<ReceiptFile>& all = receipts.all();
  const auto isBefore = [](const ReceiptFile& receipt, const std::string& id) { return receipt.identifier < id; };
  const auto first = std::lower_bound(all.begin(), all.end(), packageID, isBefore);
  for (auto at = first; at != all.end() && at->identifier == packageID; ++at) {
    const SharedBill bill = receipts.bill(static_cast<std::size_t>(at - all.begin()));
    if (bill && bundle.isOrHoldsListed(*at, *bill)) return true;
  }
  return false;
}

}  // namespace

ReceiptSnapshot ReceiptSnapshot::of(const FileManager& files, std::size_t mostBillBytes) {
  const auto receipts = std::make_shared<Receipts>(files, mostBillBytes);
  return {.allReceipts = [receipts] { return quarn::allReceipts(*receipts); },
          .receiptsMatching = [receipts](const AppEntity& app) { return quarn::receiptsMatching(*receipts, app); },
          .packageIDs = [receipts](const std::string& path) { return quarn::packageIDs(*receipts, path); },
          .matches = [receipts](const AppEntity& app,
                                const std::string& packageID) { return quarn::matches(*receipts, app, packageID); }};
}

}  // namespace quarn

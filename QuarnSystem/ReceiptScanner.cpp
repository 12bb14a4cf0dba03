#include "QuarnSystem/ReceiptScanner.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "QuarnPlatform/base/Parallel.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/PropertyListFiles.h"
#include "QuarnSystem/formats/BillOfMaterials.h"

namespace quarn {
namespace {

constexpr std::array<std::string_view, 3> kFolders{"/private/var/db/receipts", "/Library/Apple/System/Library/Receipts",
                                                   "/Library/Receipts"};

// The keys of a kind of receipt; where two stand, the first that has a string counts, and "" is none.
struct Keys {
  std::string_view identifier;
  std::array<std::string_view, 2> version;
  std::array<std::string_view, 2> installLocation;
};

// clang-format off
constexpr Keys kRecordKeys{
    .identifier = "PackageIdentifier", .version = {"PackageVersion"}, .installLocation = {"InstallPrefixPath"}};
// Before Mac OS X 10.6 a receipt was the package itself without its payload.
constexpr Keys kPackageKeys{
    .identifier = "CFBundleIdentifier", .version = {"CFBundleShortVersionString", "CFBundleVersion"},
    .installLocation = {"IFPkgRelocatedPath", "IFPkgFlagDefaultLocation"}};
// clang-format on

// What a snapshot keeps of bills: those of a usual Mac's third-party packages, not those of a whole development system.
constexpr std::size_t kMostKeptBytes = std::size_t{8} << 20;

// A receipt as its property list has it. The bill is read when it is needed.
struct Receipt {
  std::string identifier;
  std::optional<std::string> version;
  std::optional<Date> installDate;
  std::string installLocation;  // plain absolute path
  FileURL bill;
};

using Bill = std::vector<BillEntry>;

std::optional<std::string> firstString(const PropertyList& list, const std::array<std::string_view, 2>& keys) {
  for (const std::string_view key : keys) {
    std::optional<std::string> text = key.empty() ? std::nullopt : list.string(key);
    if (text) return text;
  }
  return std::nullopt;
}

// Install locations are written with and without a slash before them, as ".", and as nothing; all start at the volume.
std::string plainLocation(std::string_view written) {
  std::vector<std::string_view> kept;
  for (const std::string_view name : path::names(written)) {
    if (name == ".") continue;
    if (name != "..") {
      kept.push_back(name);
    } else if (!kept.empty()) {
      kept.pop_back();
    }
  }
  std::string result;
  for (const std::string_view name : kept) (result += '/') += name;
  return result.empty() ? "/" : result;
}

// Absent also for a moment that no calendar with four-digit years shows: damaged lists hold such.
std::optional<Date> installDateOf(const PropertyList& list) {
  using std::chrono::sys_days;
  using std::chrono::year;
  constexpr std::chrono::sys_seconds kEpoch = sys_days(year(2001) / 1 / 1);
  constexpr std::chrono::sys_seconds kFirst = sys_days(year(1) / 1 / 1);
  constexpr std::chrono::sys_seconds kEnd = sys_days(year(10000) / 1 / 1);
  const std::optional<PropertyList::Date> date = list.date("InstallDate");
  if (!date) return std::nullopt;
  const double seconds = std::floor(date->seconds);
  const auto reached = [&](Date limit) { return seconds >= static_cast<double>((limit - kEpoch).count()); };
  if (!reached(kFirst) || reached(kEnd) || std::isnan(seconds)) return std::nullopt;
  return kEpoch + std::chrono::seconds(static_cast<std::int64_t>(seconds));
}

std::optional<Receipt> receiptOf(const FileManager& files, const FileURL& file, const Keys& keys, FileURL bill) {
  const std::optional<PropertyList> list = readPropertyList(files, file);
  std::optional<std::string> identifier = list ? list->string(keys.identifier) : std::nullopt;
  if (!identifier || identifier->empty()) return std::nullopt;
  return Receipt{.identifier = std::move(*identifier),
                 .version = firstString(*list, keys.version),
                 .installDate = installDateOf(*list),
                 .installLocation = plainLocation(firstString(*list, keys.installLocation).value_or("/")),
                 .bill = std::move(bill)};
}

std::optional<Receipt> receiptAt(const FileManager& files, const DirectoryEntry& entry) {
  const FileURL& url = entry.url;
  const std::string extension = Text::lowercased(url.pathExtension());
  if (entry.type == FileType::directory) {
    if (extension != "pkg") return std::nullopt;
    const FileURL contents = url.appending("Contents");
    return receiptOf(files, contents.appending("Info.plist"), kPackageKeys, contents.appending("Archive.bom"));
  }
  if (extension != "plist") return std::nullopt;
  const FileURL bill = url.deletingLastPathComponent().appending(std::string(path::stem(url.path())) + ".bom");
  return receiptOf(files, url, kRecordKeys, bill);
}

// By package identifier; equal ones in the order of the folders and of the names in them.
std::vector<Receipt> readReceipts(const FileManager& files) {
  std::vector<DirectoryEntry> entries;
  for (const std::string_view folder : kFolders) {
    std::vector<DirectoryEntry> listed = files.contentsOrNone(FileURL(folder), HiddenItems::include);
    std::move(listed.begin(), listed.end(), std::back_inserter(entries));
  }
  std::vector<Receipt> receipts =
      collectInParallel<Receipt>(entries.size(), [&](std::size_t i) { return receiptAt(files, entries[i]); });
  std::stable_sort(receipts.begin(), receipts.end(),
                   [](const Receipt& left, const Receipt& right) { return left.identifier < right.identifier; });
  return receipts;
}

/// The receipts as they are when they are first asked for, read once. Bills are kept as long as they are few; beyond
/// that they are read again. Safe from any thread.
class Receipts {
 public:
  using SharedBill = std::shared_ptr<const Bill>;

  Receipts(FileManager files, std::size_t mostKeptBytes) : files_(std::move(files)), mostKeptBytes_(mostKeptBytes) {}

  [[nodiscard]] const FileManager& files() const { return files_; }

  [[nodiscard]] const std::vector<Receipt>& all() {
    std::call_once(once_, [this] { receipts_ = readReceipts(files_); });
    return receipts_;
  }

  // Null when there is no readable bill.
  [[nodiscard]] SharedBill bill(const Receipt& receipt) {
    if (const std::optional<SharedBill> known = keptBill(receipt)) return *known;
    SharedBill bill = readBill(receipt);
    const std::size_t size = bill ? memoryOf(*bill) : 0;
    const std::lock_guard lock(mutex_);
    if (size <= mostKeptBytes_ - keptBytes_ && bills_.emplace(receipt.bill.path(), bill).second) keptBytes_ += size;
    return bill;
  }

 private:
  [[nodiscard]] std::optional<SharedBill> keptBill(const Receipt& receipt) {
    const std::lock_guard lock(mutex_);
    const auto known = bills_.find(receipt.bill.path());
    return known != bills_.end() ? std::optional(known->second) : std::nullopt;
  }

  [[nodiscard]] SharedBill readBill(const Receipt& receipt) const {
    const std::optional<std::string> bytes = files_.readFileIfPossible(receipt.bill, kMaxBillBytes);
    std::optional<Bill> bill = bytes ? readBillOfMaterials(*bytes) : std::nullopt;
    return bill ? std::make_shared<const Bill>(std::move(*bill)) : nullptr;
  }

  static std::size_t memoryOf(const Bill& bill) {
    std::size_t bytes = bill.capacity() * sizeof(BillEntry);
    for (const BillEntry& entry : bill) bytes += entry.path.capacity();
    return bytes;
  }

  const FileManager files_;
  const std::size_t mostKeptBytes_;
  std::once_flag once_;
  std::vector<Receipt> receipts_;
  std::mutex mutex_;
  std::unordered_map<std::string, SharedBill> bills_;
  std::size_t keptBytes_ = 0;
};

std::vector<FileURL> installedFiles(const Receipt& receipt, const Bill& bill) {
  std::vector<FileURL> urls;
  for (const BillEntry& entry : bill) {
    const bool isListed = entry.type == BillEntryType::file || entry.type == BillEntryType::link;
    if (isListed) urls.emplace_back(path::join(receipt.installLocation, entry.path));
  }
  std::sort(urls.begin(), urls.end());
  urls.erase(std::unique(urls.begin(), urls.end()), urls.end());
  return urls;
}

ReceiptInfo infoOf(const Receipt& receipt, const Receipts::SharedBill& bill) {
  return {.packageIdentifier = receipt.identifier,
          .files = bill ? installedFiles(receipt, *bill) : std::vector<FileURL>(),
          .version = receipt.version,
          .installDate = receipt.installDate};
}

// One item, looked for in many bills by the paths that a package may have installed it under. Each bill's entries are
// compared as they stand, so no path is put together for a look-up.
class SoughtItem {
 public:
  SoughtItem(const FileManager& files, std::string_view path) {
    // Packages install into "/private/etc" what everybody knows, and standardising writes, as "/etc".
    const std::string standardized = files.standardizedPath(path);
    const std::string installed = path::join("/private", standardized);
    paths_.push_back(standardized);
    if (files.standardizedPath(installed) == standardized) paths_.push_back(installed);
  }

  // Whether the bill lists the item itself, as whatever it is. Every bill lists the folder it is installed into.
  [[nodiscard]] bool isListed(const Receipt& receipt, const Bill& bill) const {
    return anyPlace(receipt, [&](std::string_view place) {
      return place.empty() ||
             std::any_of(bill.begin(), bill.end(), [&](const BillEntry& entry) { return entry.path == place; });
    });
  }

  // Whether the bill lists the item or anything in it.
  [[nodiscard]] bool isOrHoldsListed(const Receipt& receipt, const Bill& bill) const {
    for (const std::string& path : paths_) {
      if (path::isInside(receipt.installLocation, path)) return true;
    }
    return anyPlace(receipt, [&](std::string_view place) {
      return std::any_of(bill.begin(), bill.end(),
                         [&](const BillEntry& entry) { return path::isInside(entry.path, place); });
    });
  }

  // Whether a bill of the receipt could list the item at all.
  [[nodiscard]] bool mayBeListed(const Receipt& receipt) const {
    return anyPlace(receipt, [](std::string_view) { return true; });
  }

 private:
  // Whether the test holds for the item's place below the install location, "" for that folder itself.
  template <class Test>
  bool anyPlace(const Receipt& receipt, Test test) const {
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
  std::vector<ReceiptInfo> infos;
  for (const Receipt& receipt : receipts.all()) infos.push_back(infoOf(receipt, receipts.bill(receipt)));
  return infos;
}

std::vector<ReceiptInfo> receiptsMatching(Receipts& receipts, const AppEntity& app) {
  const SoughtItem bundle(receipts.files(), app.bundleURL.path());
  const std::vector<Receipt>& all = receipts.all();
  return collectInParallel<ReceiptInfo>(all.size(), [&](std::size_t i) -> std::optional<ReceiptInfo> {
    const Receipts::SharedBill bill = receipts.bill(all[i]);
    const bool belongs = belongsByIdentifier(app, all[i].identifier) || (bill && bundle.isOrHoldsListed(all[i], *bill));
    return belongs ? std::optional(infoOf(all[i], bill)) : std::nullopt;
  });
}

std::vector<std::string> packageIDs(Receipts& receipts, const std::string& path) {
  const SoughtItem item(receipts.files(), path);
  std::vector<std::string> identifiers;
  for (const Receipt& receipt : receipts.all()) {
    const bool isKnown = !identifiers.empty() && identifiers.back() == receipt.identifier;
    if (isKnown || !item.mayBeListed(receipt)) continue;
    const Receipts::SharedBill bill = receipts.bill(receipt);
    if (bill && item.isListed(receipt, *bill)) identifiers.push_back(receipt.identifier);
  }
  return identifiers;
}

bool matches(Receipts& receipts, const AppEntity& app, const std::string& packageID) {
  if (belongsByIdentifier(app, packageID)) return true;
  const SoughtItem bundle(receipts.files(), app.bundleURL.path());
  for (const Receipt& receipt : receipts.all()) {
    if (receipt.identifier != packageID) continue;
    const Receipts::SharedBill bill = receipts.bill(receipt);
    if (bill && bundle.isOrHoldsListed(receipt, *bill)) return true;
  }
  return false;
}

// `receipts` gives what one call reads from.
template <class Source>
ReceiptScanner scannerOf(Source receipts) {
  return {.allReceipts = [receipts] { return quarn::allReceipts(*receipts()); },
          .receiptsMatching = [receipts](const AppEntity& app) { return quarn::receiptsMatching(*receipts(), app); },
          .packageIDs =
              [receipts](const std::string& forFileAtPath) { return quarn::packageIDs(*receipts(), forFileAtPath); },
          .matches = [receipts](const AppEntity& app,
                                const std::string& packageID) { return quarn::matches(*receipts(), app, packageID); }};
}

}  // namespace

ReceiptScanner ReceiptScanner::live(FileManager files) {
  return scannerOf([files = std::move(files)] { return std::make_unique<Receipts>(files, /*mostKeptBytes=*/0); });
}

ReceiptScanner ReceiptScanner::snapshot(FileManager files) {
  return scannerOf(
      [receipts = std::make_shared<Receipts>(std::move(files), kMostKeptBytes)] { return receipts.get(); });
}

}  // namespace quarn

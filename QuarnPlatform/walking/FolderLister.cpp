#include "QuarnPlatform/walking/FolderLister.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <numeric>
#include <optional>

#include "QuarnPlatform/base/CancellableSort.h"
#include "QuarnPlatform/files/Packages.h"
#include "QuarnPlatform/walking/EarlySizes.h"
#include "QuarnPlatform/walking/KeptListings.h"

namespace quarn {
namespace {

constexpr std::size_t kKeyBytes = sizeof(std::uint64_t);
constexpr std::size_t kBigFolder = 64;
constexpr std::size_t kHugeFolder = 4096;
constexpr std::size_t kReadEarly = 16u << 10;
constexpr std::size_t kScratchEntries = 4096;

std::size_t commonPrefix(std::string_view left, std::string_view right) {
  const auto differing = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  return static_cast<std::size_t>(differing.first - left.begin());
}

// The first bytes as a number with the same order. A shorter name sorts first, because no name contains a NUL.
std::uint64_t sortKey(std::string_view text) {
  std::uint64_t key = 0;
  if (text.size() >= kKeyBytes) {
    std::memcpy(&key, text.data(), kKeyBytes);
  } else {
    std::memcpy(&key, text.data(), text.size());
  }
  return std::endian::native == std::endian::little ? __builtin_bswap64(key) : key;
}

}  // namespace

void FolderLister::list(int folder, int level, const std::atomic<bool>& isAbandoned, FolderListing& listing) {
  const bool mayReadEarly = reads(level) && options_.facts == EnumeratedFacts::sizes && options_.readAheadThreads > 0;
  std::optional<EarlySizes> early;
  wantsSizes_ = keeps(level) || (reads(level) && options_.facts == EnumeratedFacts::sizes);
  reader_.start(folder, wantsSizes_ ? EnumeratedFacts::sizes : EnumeratedFacts::none);
  while (!isAbandoned.load(std::memory_order_relaxed) && !isCancelled() && reader_.readMore()) {
    while (const DirectoryReader::Entry* entry = reader_.next()) keep(*entry);
    if (!mayReadEarly || sizesCameWithNames_ || items_.size() < kReadEarly) continue;
    if (!early) early.emplace(folder);
    early->add(items_);
  }
  listing.error = reader_.error();
  // A larger folder is not kept.
  if (options_.facts == EnumeratedFacts::none && items_.size() > KeptListings::kMostItemsOfFolder) wantsSizes_ = false;
  sort();
  pack(level, listing);
  if (early) early->finish();
  if (early || sizesCameWithNames_) takeSizes(listing);
  dropScratch();
}

bool FolderLister::keeps(int level) const {
  return reads(level) && options_.kept != nullptr && !options_.kept->isFull();
}

void FolderLister::keep(const DirectoryReader::Entry& entry) {
  if (entry.hidden && options_.hidden == HiddenItems::skip && options_.kept == nullptr) return;
  const bool isPackage =
      options_.packages == PackageContents::skip && entry.type == FileType::directory && isPackageName(entry.name);
  items_.add(entry.name, entry.type, {.isPackage = isPackage, .isHidden = entry.hidden}, entry.sizes);
  sizesCameWithNames_ = sizesCameWithNames_ || entry.sizes.has_value();
}

// Skip the common prefix, then compare eight bytes at a time: they nearly always decide.
void FolderLister::sort() {
  const std::size_t count = items_.size();
  std::size_t shared = 0;
  if (count >= kBigFolder) {
    std::string_view prefix = items_.name(0);
    for (std::size_t i = 0; i < count && !prefix.empty(); ++i)
      prefix = prefix.substr(0, commonPrefix(prefix, items_.name(i)));
    shared = prefix.size();
  }
  found_.resize(count);
  for (std::size_t i = 0; i < count; ++i) {
    found_[i] = {.sortKey = sortKey(items_.name(i).substr(shared)), .index = static_cast<std::uint32_t>(i)};
  }
  if (count < kHugeFolder) {
    std::sort(found_.begin(), found_.end(),
              [](const Found& left, const Found& right) { return left.sortKey < right.sortKey; });
  } else {
    sortByKeys();
  }
  sortRuns();
}

// Neighbours with equal keys are compared by their whole names.
void FolderLister::sortRuns() {
  const auto haveEqualKeys = [](const Found& left, const Found& right) { return left.sortKey == right.sortKey; };
  const auto isBefore = [this](const Found& left, const Found& right) {
    return items_.name(left.index) < items_.name(right.index);
  };
  for (auto run = found_.begin(); !isCancelled();) {
    run = std::adjacent_find(run, found_.end(), haveEqualKeys);
    if (run == found_.end()) return;
    const auto isOther = [&](const Found& found) { return !haveEqualKeys(found, *run); };
    const auto end = std::find_if(run + 1, found_.end(), isOther);
    sortUnlessCancelled(run, end, isBefore, options_.cancellation);
    run = end;
  }
}

// A radix sort from the last byte to the first, over the bytes in which the keys differ. The names in a huge folder
// often differ in a few bytes only.
void FolderLister::sortByKeys() {
  std::vector<Found> sorted = found_;
  for (int shift = 0; shift < 64 && !isCancelled(); shift += 8) {
    const auto byte = [shift](const Found& found) { return found.sortKey >> shift & 0xFF; };
    std::array<std::size_t, 256> places{};
    for (const Found& found : found_) ++places[byte(found)];
    if (places[byte(found_.front())] == found_.size()) continue;
    std::exclusive_scan(places.begin(), places.end(), places.begin(), std::size_t{0});
    for (const Found& found : found_) sorted[places[byte(found)]++] = found;
    found_.swap(sorted);
  }
}

// Packs the names in sorted order, so that a consumer reads memory sequentially.
void FolderLister::pack(int level, FolderListing& listing) const {
  bool holdsFiles = false;
  listing.entries.reserve(found_.size());
  listing.names.resize(items_.namesSize());
  char* nameAt = listing.names.data();
  for (const Found& found : found_) {
    if (isCancelled()) break;
    const ListedItem& item = items_.item(found.index);
    const bool isLeftOut = item.isPackage() || (item.isHidden() && options_.hidden == HiddenItems::skip);
    const bool enters = reads(level) && item.type() == FileType::directory && !isLeftOut;
    if (enters) listing.folders.push_back(static_cast<std::uint32_t>(listing.entries.size()));
    holdsFiles = holdsFiles || item.type() == FileType::regular;
    listing.entries.push_back({.item = item.movedTo(static_cast<std::size_t>(nameAt - listing.names.data()))});
    nameAt = std::copy_n(items_.name(found.index).data(), item.nameLength() + 1, nameAt);
  }
  listing.wantsSizes = wantsSizes_ && holdsFiles;
}

void FolderLister::takeSizes(FolderListing& listing) const {
  bool isSizeMissing = false;
  for (std::size_t i = 0; i < listing.entries.size(); ++i) {
    FolderListing::Entry& entry = listing.entries[i];
    entry.sizes = items_.sizes(found_[i].index);
    isSizeMissing = isSizeMissing || (entry.item.type() == FileType::regular && !entry.hasSizes());
  }
  listing.wantsSizes = isSizeMissing;
}

void FolderLister::dropScratch() {
  items_.clear();
  sizesCameWithNames_ = false;
  found_.clear();
  if (found_.capacity() > kScratchEntries) found_ = std::vector<Found>();
}

void FolderLister::readSizes(int folder, FolderListing& listing, std::size_t from, std::size_t to) const {
  for (std::size_t i = from; i < to && !isCancelled(); ++i) {
    FolderListing::Entry& entry = listing.entries[i];
    if (entry.item.type() != FileType::regular || entry.hasSizes()) continue;
    ByteCounts sizes;
    if (DirectoryReader::readSizes(folder, listing.name(entry).data(), sizes)) {
      entry.sizes = sizes;
    } else {
      entry.sizesError = errno;
    }
  }
}

}  // namespace quarn

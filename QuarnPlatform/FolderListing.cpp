#include "QuarnPlatform/FolderListing.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <numeric>

#include "QuarnPlatform/Packages.h"

namespace quarn {
namespace {

constexpr std::size_t kKeyBytes = sizeof(std::uint64_t);
constexpr std::size_t kBigFolder = 64;
constexpr std::size_t kHugeFolder = 4096;
constexpr std::size_t kScratchEntries = 4096;
constexpr std::size_t kScratchNames = 128u << 10;

std::size_t commonPrefix(std::string_view left, std::string_view right) {
  const auto differing = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  return static_cast<std::size_t>(differing.first - left.begin());
}

// The first bytes as a number that compares as they do; a name that ends earlier sorts first, for no name holds a NUL.
std::uint64_t sortKey(std::string_view text) {
  std::uint64_t key = 0;
  if (text.size() >= kKeyBytes) {
    std::memcpy(&key, text.data(), kKeyBytes);
  } else {
    std::memcpy(&key, text.data(), text.size());
  }
  return std::endian::native == std::endian::little ? __builtin_bswap64(key) : key;
}

// Room for four times as much when there is none: a page that nothing is written to costs nothing, and copying does.
template <class Buffer>
void makeRoom(Buffer& buffer, std::size_t count) {
  if (buffer.capacity() - buffer.size() < count) buffer.reserve(4 * (buffer.size() + count));
}

}  // namespace

void FolderLister::list(int folder, int level, const std::atomic<bool>& isAbandoned, FolderListing& listing) {
  found_.clear();
  names_.clear();
  reader_.start(folder);
  while (!isAbandoned.load(std::memory_order_relaxed) && reader_.readMore()) {
    while (const DirectoryReader::Entry* entry = reader_.next()) keep(*entry);
  }
  listing.error = reader_.error();
  sort();
  pack(level, listing);
}

void FolderLister::keep(const DirectoryReader::Entry& entry) {
  if (entry.hidden && options_.hidden == HiddenItems::skip) return;
  const bool isPackage =
      options_.packages == PackageContents::skip && entry.type == FileType::directory && isPackageName(entry.name);
  makeRoom(found_, 1);
  makeRoom(names_, entry.name.size() + 1);
  found_.push_back({.sortKey = 0, .item = ListedItem(names_.size(), entry.name.size(), entry.type, isPackage)});
  names_.append(entry.name) += '\0';
}

// Eight bytes nearly always decide. In big folders the names often begin alike, and it is those behind that do.
void FolderLister::sort() {
  if (found_.size() < 2) return;
  std::size_t shared = 0;
  if (found_.size() >= kBigFolder) {
    std::string_view prefix = name(found_.front());
    for (const Found& found : found_) prefix = prefix.substr(0, commonPrefix(prefix, name(found)));
    shared = prefix.size();
  }
  for (Found& found : found_) found.sortKey = sortKey(name(found).substr(shared));
  const auto comesFirst = [this](const Found& left, const Found& right) {
    return left.sortKey != right.sortKey ? left.sortKey < right.sortKey : name(left) < name(right);
  };
  if (found_.size() < kHugeFolder) return std::sort(found_.begin(), found_.end(), comesFirst);
  sortByKeys();
  for (auto run = found_.begin(); run != found_.end();) {
    const auto isOther = [&](const Found& found) { return found.sortKey != run->sortKey; };
    const auto end = std::find_if(run, found_.end(), isOther);
    std::sort(run, end, comesFirst);
    run = end;
  }
}

// A radix sort from the last byte on, over the bytes in which the keys differ: names of one huge folder are much alike.
void FolderLister::sortByKeys() {
  std::vector<Found> sorted = found_;
  for (int shift = 0; shift < 64; shift += 8) {
    const auto byte = [shift](const Found& found) { return found.sortKey >> shift & 0xFF; };
    std::array<std::size_t, 256> places{};
    for (const Found& found : found_) ++places[byte(found)];
    if (places[byte(found_.front())] == found_.size()) continue;
    std::exclusive_scan(places.begin(), places.end(), places.begin(), std::size_t{0});
    for (const Found& found : found_) sorted[places[byte(found)]++] = found;
    found_.swap(sorted);
  }
}

// Names are packed in their order too: whoever goes through a big folder then reads memory forwards.
void FolderLister::pack(int level, FolderListing& listing) {
  const bool reads = level <= options_.maximumLevel;
  bool holdsFiles = false;
  listing.entries.reserve(found_.size());
  listing.names.reserve(names_.size());
  for (const Found& found : found_) {
    const ListedItem& item = found.item;
    const bool enters = reads && item.type() == FileType::directory && !item.isPackage();
    if (enters) listing.folders.push_back(static_cast<std::uint32_t>(listing.entries.size()));
    holdsFiles = holdsFiles || item.type() == FileType::regular;
    listing.entries.push_back({ListedItem(listing.names.size(), item.nameLength(), item.type(), item.isPackage())});
    listing.names.append(name(found).data(), item.nameLength() + 1);
  }
  listing.wantsSizes = reads && holdsFiles && options_.facts == EnumeratedFacts::sizes;
  if (found_.capacity() > kScratchEntries) found_ = std::vector<Found>();
  if (names_.capacity() > kScratchNames) names_ = std::string();
}

void FolderLister::readSizes(int folder, FolderListing& listing, std::size_t from, std::size_t to) {
  for (std::size_t i = from; i < to; ++i) {
    FolderListing::Entry& entry = listing.entries[i];
    if (entry.item.type() != FileType::regular) continue;
    ByteCounts sizes;
    if (DirectoryReader::readSizes(folder, listing.name(entry).data(), sizes)) {
      entry.allocatedBytes = sizes.allocatedBytes;
      entry.logicalBytes = sizes.logicalBytes;
    } else {
      entry.logicalBytes = errno;
    }
  }
}

void FolderListing::clear() {
  entries.clear();
  names.clear();
  folders.clear();
  wantsSizes = false;
  isPackage = false;
  error = 0;
}

}  // namespace quarn

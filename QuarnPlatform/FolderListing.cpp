#include "QuarnPlatform/FolderListing.h"

#include <algorithm>
#include <cerrno>

#include "QuarnPlatform/Packages.h"

namespace quarn {
namespace {

constexpr std::size_t kKeyBytes = sizeof(std::uint64_t);
constexpr std::size_t kScratchEntries = 4096;
constexpr std::size_t kScratchNames = 128 * 1024;

std::size_t commonPrefix(std::string_view left, std::string_view right) {
  const auto differing = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
  return static_cast<std::size_t>(differing.first - left.begin());
}

// The first bytes as a number that compares as they do; a name that ends earlier sorts first, for no name holds a NUL.
std::uint64_t sortKey(std::string_view text) {
  std::uint64_t key = 0;
  for (std::size_t i = 0; i < kKeyBytes; ++i)
    key = key << 8 | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0U);
  return key;
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
  found_.push_back({.sortKey = 0,
                    .entry = {.nameAt = names_.size(),
                              .nameLength = static_cast<std::uint16_t>(entry.name.size()),
                              .type = entry.type,
                              .isPackage = isPackage}});
  names_.append(entry.name) += '\0';
}

// Names in one folder often begin alike; behind what all share, eight bytes nearly always decide.
void FolderLister::sort() {
  if (found_.size() < 2) return;
  const auto name = [this](const Found& found) {
    return std::string_view(names_).substr(found.entry.nameAt, found.entry.nameLength);
  };
  std::string_view shared = name(found_.front());
  for (const Found& found : found_) shared = shared.substr(0, commonPrefix(shared, name(found)));
  for (Found& found : found_) found.sortKey = sortKey(name(found).substr(shared.size()));
  std::sort(found_.begin(), found_.end(), [&](const Found& left, const Found& right) {
    return left.sortKey != right.sortKey ? left.sortKey < right.sortKey : name(left) < name(right);
  });
}

void FolderLister::pack(int level, FolderListing& listing) {
  const bool reads = level <= options_.maximumLevel;
  listing.entries.reserve(found_.size());
  for (const Found& found : found_) {
    const bool enters = reads && found.entry.type == FileType::directory && !found.entry.isPackage;
    if (enters) listing.folders.push_back(static_cast<std::uint32_t>(listing.entries.size()));
    listing.entries.push_back(found.entry);
  }
  if (found_.capacity() > kScratchEntries) found_ = {};
  if (names_.capacity() > kScratchNames) {
    listing.names = std::move(names_);
    names_ = {};
  } else {
    listing.names = names_;
  }
  const auto isFile = [](const FolderListing::Entry& entry) { return entry.type == FileType::regular; };
  const bool readsSizes = reads && options_.facts == EnumeratedFacts::sizes;
  if (readsSizes && std::any_of(listing.entries.begin(), listing.entries.end(), isFile))
    listing.sizes.resize(listing.entries.size());
}

void FolderLister::readSizes(int folder, FolderListing& listing, std::size_t from, std::size_t to) {
  for (std::size_t i = from; i < to; ++i) {
    const FolderListing::Entry& entry = listing.entries[i];
    if (entry.type != FileType::regular) continue;
    ByteCounts sizes;
    if (DirectoryReader::readSizes(folder, listing.names.data() + entry.nameAt, sizes)) {
      listing.sizes[i] = {sizes.allocatedBytes, sizes.logicalBytes};
    } else {
      listing.sizes[i].logicalBytes = errno;
    }
  }
}

}  // namespace quarn

#include "QuarnCore/ownership/Leftovers.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>
#include <utility>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"

namespace quarn {
namespace {

Date modifiedAt(const ItemFacts& facts) { return Date(std::chrono::seconds(facts.modifiedSeconds)); }

std::optional<SizeInfo> sizeOf(const FileSizeCalculator& sizes, const FileURL& url, const Cancellation& cancellation) {
  try {
    return sizes.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/true, cancellation);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

std::string keyOf(const FormerOwner& owner) {
  return Text::lowercased(owner.bundleIdentifier.value_or("/" + owner.name));
}

std::int64_t allocated(const Leftover& leftover) { return leftover.size ? leftover.size->allocatedBytes : 0; }

LeftoverItem itemOf(const Ownership& entry) {
  return {.url = entry.url,
          .place = entry.place,
          .kind = entry.kind,
          .scope = entry.scope,
          .dataClass = entry.dataClass,
          .riskLevel = entry.riskLevel,
          .evidence = entry.evidence};
}

void add(Leftover& leftover, LeftoverItem item) {
  leftover.modified = std::max(leftover.modified, item.modified);
  if (item.size) {
    leftover.size = leftover.size.value_or(SizeInfo{});
    *leftover.size += *item.size;
  }
  leftover.items.push_back(std::move(item));
}

void sort(std::vector<Leftover>& leftovers) {
  std::stable_sort(leftovers.begin(), leftovers.end(), [](const Leftover& left, const Leftover& right) {
    if (allocated(left) != allocated(right)) return allocated(left) > allocated(right);
    return Text::localizedCaseInsensitiveCompare(left.owner.name, right.owner.name) < 0;
  });
}

/// Finds leftovers, and groups them by former owner.
class LeftoverSearch {
 public:
  LeftoverSearch(const LeftoverOptions& options, const FileManager& files, const FileSizeCalculator& sizes,
                 const Cancellation& cancellation, const NewestChange& newest)
      : options_(options),
        files_(files.cancelledBy(cancellation)),
        sizes_(sizes),
        cancellation_(cancellation),
        newest_(newest) {}

  /// Takes an entry if it is a leftover. False if cancelled.
  bool consider(const OwnershipMap& map, std::size_t position) {
    if (cancellation_.isCancelled()) return false;
    if (map.status(position) != OwnershipStatus::orphaned) return true;
    const Ownership entry = map.ownershipWithoutRivals(position);
    if (!options_.includeSystem && entry.scope == ArtifactScope::system) return true;
    LeftoverItem item = itemOf(entry);
    item.modified = newest_ ? newest_(entry.url) : newestChange(files_, entry.url);
    if (options_.computeSizes) item.size = sizeOf(sizes_, entry.url, cancellation_);
    add(of(*entry.formerOwner), std::move(item));
    return true;
  }

  std::vector<Leftover> take() {
    sort(leftovers_);
    return std::move(leftovers_);
  }

 private:
  Leftover& of(const FormerOwner& owner) {
    const auto [position, isNew] = positions_.try_emplace(keyOf(owner), leftovers_.size());
    if (isNew) leftovers_.push_back({.owner = owner});
    return leftovers_[position->second];
  }

  const LeftoverOptions& options_;
  const FileManager files_;
  const FileSizeCalculator& sizes_;
  const Cancellation& cancellation_;
  const NewestChange& newest_;
  std::vector<Leftover> leftovers_;
  std::unordered_map<std::string, std::size_t> positions_;
};

}  // namespace

std::optional<Date> newestChange(const FileManager& files, const FileURL& url) {
  const std::optional<ItemFacts> own = files.facts(url, Links::doNotFollow);
  if (!own) return std::nullopt;
  Date result = modifiedAt(*own);
  if (own->type != FileType::directory) return result;
  DirectoryEnumerator items(files, url, {.hidden = HiddenItems::include, .packages = PackageContents::enter});
  while (const DirectoryEnumerator::Item* item = items.next()) {
    const bool counts = item->type() == FileType::directory || item->type() == FileType::regular;
    const auto facts = counts ? files.facts(item->url(), Links::doNotFollow) : std::nullopt;
    if (facts) result = std::max(result, modifiedAt(*facts));
  }
  return result;
}

std::vector<Leftover> findLeftovers(const OwnershipMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes, const Cancellation& cancellation,
                                    const NewestChange& newest) {
  LeftoverSearch search(options, files, sizes, cancellation, newest);
  for (std::size_t i = 0; i < map.size(); ++i) {
    if (!search.consider(map, i)) break;
  }
  return search.take();
}

std::vector<Leftover> findLeftovers(const UsersMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes, const Cancellation& cancellation,
                                    const NewestChange& newest) {
  LeftoverSearch search(options, files, sizes, cancellation, newest);
  map.eachEntry([&](const OwnershipMap& ofHome, std::size_t i) { return search.consider(ofHome, i); });
  return search.take();
}

}  // namespace quarn

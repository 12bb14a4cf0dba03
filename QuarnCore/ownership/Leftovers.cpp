#include "QuarnCore/ownership/Leftovers.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>
#include <utility>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"

namespace quarn {
namespace {

std::optional<Date> modifiedAt(const FileManager& files, const FileURL& url) {
  const std::optional<ItemFacts> facts = files.facts(url, Links::doNotFollow);
  if (!facts) return std::nullopt;
  return Date(std::chrono::seconds(facts->modifiedSeconds));
}

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

/// Groups items by former owner.
class Groups {
 public:
  explicit Groups(std::vector<Leftover>& leftovers) : leftovers_(leftovers) {
    for (std::size_t i = 0; i < leftovers.size(); ++i) positions_.try_emplace(keyOf(leftovers[i].owner), i);
  }

  Leftover& of(const FormerOwner& owner) {
    const auto [position, isNew] = positions_.try_emplace(keyOf(owner), leftovers_.size());
    if (isNew) leftovers_.push_back({.owner = owner});
    return leftovers_[position->second];
  }

 private:
  std::vector<Leftover>& leftovers_;
  std::unordered_map<std::string, std::size_t> positions_;
};

}  // namespace

std::optional<Date> newestChange(const FileManager& files, const FileURL& url) {
  std::optional<Date> result = modifiedAt(files, url);
  if (!files.isDirectory(url)) return result;
  DirectoryEnumerator items(files, url, {.hidden = HiddenItems::include, .packages = PackageContents::enter});
  while (const DirectoryEnumerator::Item* item = items.next()) {
    const bool counts = item->type() == FileType::directory || item->type() == FileType::regular;
    if (counts) result = std::max(result, modifiedAt(files, item->url()));
  }
  return result;
}

std::vector<Leftover> findLeftovers(const OwnershipMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes, const Cancellation& cancellation,
                                    const NewestChange& newest) {
  const FileManager volume = files.cancelledBy(cancellation);
  std::vector<Leftover> leftovers;
  Groups groups(leftovers);
  for (std::size_t i = 0; i < map.size() && !cancellation.isCancelled(); ++i) {
    if (map.status(i) != OwnershipStatus::orphaned) continue;
    const Ownership entry = map.ownership(i);
    if (!options.includeSystem && entry.scope == ArtifactScope::system) continue;
    LeftoverItem item = itemOf(entry);
    item.modified = newest ? newest(entry.url) : newestChange(volume, entry.url);
    if (options.computeSizes) item.size = sizeOf(sizes, entry.url, cancellation);
    add(groups.of(*entry.formerOwner), std::move(item));
  }
  sort(leftovers);
  return leftovers;
}

void addLeftovers(std::vector<Leftover>& leftovers, std::vector<Leftover> more) {
  Groups groups(leftovers);
  for (Leftover& leftover : more) {
    for (LeftoverItem& item : leftover.items) add(groups.of(leftover.owner), std::move(item));
  }
  sort(leftovers);
}

}  // namespace quarn

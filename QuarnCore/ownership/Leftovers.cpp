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

std::optional<Date> newest(const FileManager& files, const FileURL& url, const Cancellation& cancellation) {
  std::optional<Date> result = modifiedAt(files, url);
  if (!files.isDirectory(url)) return result;
  DirectoryEnumerator items(files, url, {.hidden = HiddenItems::include, .packages = PackageContents::enter});
  while (const DirectoryEnumerator::Item* item = items.next()) {
    if (cancellation.isCancelled()) break;
    result = std::max(result, modifiedAt(files, item->url()));
  }
  return result;
}

std::optional<SizeInfo> sizeOf(const FileSizeCalculator& sizes, const FileURL& url) {
  try {
    return sizes.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/false);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

std::string keyOf(const FormerOwner& owner) {
  return Text::lowercased(owner.bundleIdentifier.value_or("/" + owner.name));
}

std::int64_t allocated(const Leftover& leftover) { return leftover.size ? leftover.size->allocatedBytes : 0; }

}  // namespace

std::vector<Leftover> findLeftovers(const OwnershipMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes, const Cancellation& cancellation) {
  std::vector<Leftover> leftovers;
  std::unordered_map<std::string, std::size_t> places;
  for (std::size_t i = 0; i < map.size() && !cancellation.isCancelled(); ++i) {
    if (map.status(i) != OwnershipStatus::orphaned) continue;
    const Ownership entry = map.ownership(i);
    if (!options.includeSystem && entry.scope == ArtifactScope::system) continue;
    const auto [place, isNew] = places.try_emplace(keyOf(*entry.formerOwner), leftovers.size());
    if (isNew) leftovers.push_back({.owner = *entry.formerOwner});
    Leftover& leftover = leftovers[place->second];
    LeftoverItem item{.url = entry.url,
                      .place = entry.place,
                      .kind = entry.kind,
                      .scope = entry.scope,
                      .dataClass = entry.dataClass,
                      .riskLevel = entry.riskLevel,
                      .evidence = entry.evidence,
                      .modified = newest(files, entry.url, cancellation)};
    if (options.computeSizes) {
      item.size = sizeOf(sizes, entry.url);
      leftover.size = leftover.size.value_or(SizeInfo{});
      if (item.size) *leftover.size += *item.size;
    }
    leftover.modified = std::max(leftover.modified, item.modified);
    leftover.items.push_back(std::move(item));
  }
  std::stable_sort(leftovers.begin(), leftovers.end(), [](const Leftover& left, const Leftover& right) {
    if (allocated(left) != allocated(right)) return allocated(left) > allocated(right);
    return Text::localizedCaseInsensitiveCompare(left.owner.name, right.owner.name) < 0;
  });
  return leftovers;
}

}  // namespace quarn

#include "quarn/commands/ReportPlaces.h"

#include <algorithm>
#include <optional>

#include "quarn/report/Share.h"

namespace quarn {
namespace {

constexpr std::size_t kPlacesOfCategory = 8;
constexpr std::size_t kItemsOfPlace = 6;
constexpr double kDominant = 0.5;

using Place = VolumeReport::Place;
using Roots = std::vector<StorageDashboardService::PartitionedRoot>;

void keepLargest(std::vector<TopItem>& items, std::size_t most) {
  std::stable_sort(items.begin(), items.end(), [](const TopItem& left, const TopItem& right) {
    return left.size.allocatedBytes > right.size.allocatedBytes;
  });
  items.resize(std::min(items.size(), most));
}

// Folders and large files directly in a folder of the record.
std::vector<TopItem> itemsIn(const FileURL& folder, const RecordedFolders& recorded) {
  std::vector<TopItem> items;
  const std::optional<std::size_t> position = recorded.find(folder.path());
  if (!position) return items;
  const std::size_t end = *position + recorded.at(*position).descendants + 1;
  for (std::size_t child = *position + 1; child < end; child += recorded.at(child).descendants + 1) {
    const RecordedFolders::Record record = recorded.at(child);
    const std::string name(record.name);
    items.push_back({.url = FileURL(folder.appending(name).path(), URLKind::directory), .name = name, .size = record.sizes});
  }
  const std::vector<RecordedFolders::LargeFile>& files = recorded.largeFiles();
  auto file = std::lower_bound(files.begin(), files.end(), *position,
                               [](const RecordedFolders::LargeFile& any, std::size_t at) { return any.folder < at; });
  for (; file != files.end() && file->folder == *position; ++file) {
    items.push_back({folder.appending(file->name), file->name, file->sizes});
  }
  std::erase_if(items, [](const TopItem& item) { return item.size.allocatedBytes == 0; });
  return items;
}

// Only where all bytes of a root count for one category, and the record has the same bytes: then no other root is in it,
// and each item in it is of that category.
bool mayDivide(const StorageDashboardService::PartitionedRoot& root, StorageCategoryID category,
               const RecordedFolders& recorded) {
  const std::optional<std::size_t> position = recorded.find(root.url.path());
  return position && recorded.at(*position).sizes == root.sizes.at(category);
}

Place placeOf(StorageCategoryID category, const TopItem& folder, bool isDivided, const RecordedFolders& recorded) {
  Place place{.category = category, .item = folder};
  if (isDivided) place.items = itemsIn(folder.url, recorded);
  keepLargest(place.items, kItemsOfPlace);
  return place;
}

std::vector<Place> placesOf(StorageCategoryID category, const Roots& roots, const RecordedFolders& recorded) {
  std::int64_t whole = 0;
  for (const auto& root : roots) whole = checkedAdd(whole, root.sizes.at(category).allocatedBytes);
  std::vector<Place> places;
  for (const auto& root : roots) {
    const SizeInfo size = root.sizes.at(category);
    if (size.allocatedBytes == 0) continue;
    const bool isDivided = mayDivide(root, category, recorded);
    const TopItem item{.url = root.url, .name = std::string(root.url.lastPathComponent()), .size = size};
    if (!isDivided || shareOf(size.allocatedBytes, whole) < kDominant) {
      places.push_back(placeOf(category, item, isDivided, recorded));
      continue;
    }
    for (const TopItem& child : itemsIn(root.url, recorded)) places.push_back(placeOf(category, child, true, recorded));
  }
  std::stable_sort(places.begin(), places.end(), [](const Place& left, const Place& right) {
    return left.item.size.allocatedBytes > right.item.size.allocatedBytes;
  });
  places.resize(std::min(places.size(), kPlacesOfCategory));
  return places;
}

}  // namespace

std::vector<Place> reportPlaces(const Roots& roots, const RecordedFolders& recorded) {
  std::vector<Place> all;
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (category == StorageCategoryID::free) continue;
    for (Place& place : placesOf(category, roots, recorded)) all.push_back(std::move(place));
  }
  return all;
}

}  // namespace quarn

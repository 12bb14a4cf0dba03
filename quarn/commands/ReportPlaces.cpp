#include "quarn/commands/ReportPlaces.h"

#include <algorithm>
#include <map>
#include <optional>

#include "QuarnPlatform/paths/Path.h"
#include "quarn/report/Share.h"

namespace quarn {
namespace {

using Place = VolumeReport::Place;

constexpr std::size_t kPlacesOfCategory = 12;
constexpr std::size_t kItemsOfPlace = 6;
constexpr std::size_t kMostDivisions = 64;    // in one category; bounds the work on very deep folders
constexpr double kLargePart = 1.0 / 4;        // of its category: a folder with it is divided
constexpr double kWorthShowing = 1.0 / 2;     // of a folder: what the largest items in it must have together
constexpr double kNearlyAll = 9.0 / 10;       // of a folder: what a single item in it must not have
constexpr double kMostForeign = 1.0 / 50;     // of a folder that may be divided: bytes that its category does not count
constexpr double kSmallestPlace = 1.0 / 500;  // of all categories

/// A folder or file, and its bytes in one category.
struct Cell {
  FileURL url{};
  SizeInfo size{};
  std::optional<TreeEntry> folder{};  ///< of the tree; absent for a file
  bool mayDivide = false;             ///< what is in it counts for the same category, but for a very small part
  bool isWhole = false;               ///< it is shown as it is
};

void keepLargestCells(std::vector<Cell>& cells, std::size_t most) {
  std::stable_sort(cells.begin(), cells.end(), [](const Cell& left, const Cell& right) {
    if (left.size.allocatedBytes != right.size.allocatedBytes) {
      return left.size.allocatedBytes > right.size.allocatedBytes;
    }
    return left.url.path() < right.url.path();
  });
  cells.resize(std::min(cells.size(), most));
}

bool isBelow(std::string_view path, std::string_view folder) {
  if (folder == "/") return path != "/";
  return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

/// The roots of a partitioned scan in the tree that it recorded. A root does not count what is in the roots below it.
class CountedRoots {
 public:
  CountedRoots(const std::vector<ScannedRoot>& roots, const FolderTree& tree) : tree_(tree) {
    for (const ScannedRoot& root : roots) {
      if (!root.isListed && root.size) add(root);
    }
    for (auto& [path, root] : roots_) root.outer = outerRoot(path);
  }

  /// Of all categories.
  [[nodiscard]] std::int64_t bytes() const {
    std::int64_t sum = 0;
    for (const auto& [path, root] : roots_) sum = checkedAdd(sum, root.counted.allocatedBytes);
    return sum;
  }

  [[nodiscard]] std::vector<Cell> cellsOf(StorageCategoryID category) const {
    std::vector<Cell> cells;
    for (const auto& [path, root] : roots_) {
      const auto size = root.sizes.find(category);
      if (size == root.sizes.end() || size->second.allocatedBytes == 0) continue;
      cells.push_back({.url = FileURL(path, root.folder ? URLKind::directory : URLKind::item),
                       .size = size->second,
                       .folder = root.folder,
                       .mayDivide = root.folder && isNearlyAll(size->second, own(*root.folder, path))});
    }
    return cells;
  }

  /// What is in a cell that may be divided. Small files are not in the tree, so the sum may be less.
  [[nodiscard]] std::vector<Cell> cellsIn(const Cell& cell) const {
    std::vector<Cell> cells;
    if (!cell.folder || !cell.mayDivide) return cells;
    for (TreeEntry& entry : tree_.entriesIn(*cell.folder)) {
      const FileURL url(cell.url.appending(entry.name).path(), entry.isFolder ? URLKind::directory : URLKind::item);
      if (roots_.contains(url.path())) continue;
      const SizeInfo size = entry.isFolder ? own(entry, url.path()) : entry.size;
      if (size.allocatedBytes <= 0) continue;
      cells.push_back({.url = url, .size = size, .mayDivide = true});
      if (entry.isFolder) cells.back().folder = std::move(entry);
    }
    return cells;
  }

 private:
  struct Root {
    std::map<StorageCategoryID, SizeInfo> sizes{};  // of its own, by category
    SizeInfo counted{};                             // their sum
    std::optional<TreeEntry> folder{};              // with everything in it
    std::string outer{};                            // path of the innermost root around it, or empty
  };

  // A root has its path as users know it; the tree has "/private/var" for "/var".
  void add(const ScannedRoot& root) {
    FileURL url = root.url;
    std::optional<TreeEntry> folder = tree_.find(url);
    if (!folder) {
      const FileURL moved("/private" + url.path());
      folder = tree_.find(moved);
      if (folder) url = moved;
    }
    Root& known = roots_[url.path()];
    known.folder = std::move(folder);
    if (*root.size == SizeInfo{}) return;
    known.sizes[root.category] += *root.size;
    known.counted += *root.size;
  }

  [[nodiscard]] std::string outerRoot(std::string_view path) const {
    while (path != "/") {
      path = path::parent(path);
      if (roots_.contains(path)) return std::string(path);
    }
    return "";
  }

  // The record does not say which byte counts for which category, so the rest must not matter.
  static bool isNearlyAll(const SizeInfo& counted, const SizeInfo& own) {
    const std::int64_t foreign = own.allocatedBytes - counted.allocatedBytes;
    return foreign >= 0 && shareOf(foreign, own.allocatedBytes) <= kMostForeign;
  }

  // What is in a folder without the roots in it.
  [[nodiscard]] SizeInfo own(const TreeEntry& folder, std::string_view path) const {
    const SizeInfo inside = insideRoots(path);
    return {.allocatedBytes = folder.size.allocatedBytes - inside.allocatedBytes,
            .logicalBytes = folder.size.logicalBytes - inside.logicalBytes};
  }

  // The bytes of the roots below a folder, with everything in them.
  [[nodiscard]] SizeInfo insideRoots(std::string_view folder) const {
    SizeInfo sum;
    const std::string prefix = folder == "/" ? "/" : std::string(folder) + "/";
    for (auto root = roots_.lower_bound(prefix); root != roots_.end() && root->first.starts_with(prefix); ++root) {
      if (isBelow(root->second.outer, folder) || root->first == folder) continue;
      sum += root->second.folder ? root->second.folder->size : root->second.counted;
    }
    return sum;
  }

  const FolderTree& tree_;
  std::map<std::string, Root, std::less<>> roots_;
};

/// Chooses the places of one category.
class PlaceChooser {
 public:
  /// `counted` are the bytes of all categories.
  PlaceChooser(const CountedRoots& roots, std::int64_t counted, const AppOfItem& appOf)
      : roots_(roots), counted_(counted), appOf_(appOf) {}

  [[nodiscard]] std::vector<Place> places(StorageCategoryID category) const {
    std::vector<Cell> cells = roots_.cellsOf(category);
    std::int64_t whole = 0;
    for (const Cell& cell : cells) whole = checkedAdd(whole, cell.size.allocatedBytes);
    for (std::size_t i = 0; i < kMostDivisions && divideOne(cells, whole); ++i) continue;
    keepLargestCells(cells, kPlacesOfCategory);
    std::vector<Place> places;
    for (const Cell& cell : cells) {
      const bool isDust = shareOf(cell.size.allocatedBytes, counted_) < kSmallestPlace;
      if (isDust && !places.empty()) break;
      places.push_back(placeOf(category, cell));
    }
    return places;
  }

 private:
  // Replaces the first folder that is too large for its category. False if there is none.
  bool divideOne(std::vector<Cell>& cells, std::int64_t whole) const {
    const auto cell = std::find_if(cells.begin(), cells.end(), [&](const Cell& any) {
      return !any.isWhole && any.mayDivide && any.folder && !any.folder->isPackage &&
             shareOf(any.size.allocatedBytes, whole) >= kLargePart;
    });
    if (cell == cells.end()) return false;
    std::vector<Cell> inside;
    if (appOf_(cell->url).empty()) inside = roots_.cellsIn(*cell);
    if (!areWorthShowing(inside, *cell)) {
      cell->isWhole = true;
      return true;
    }
    cells.erase(cell);
    cells.insert(cells.end(), std::make_move_iterator(inside.begin()), std::make_move_iterator(inside.end()));
    return true;
  }

  // A folder with many small items says more than any of them, and one with a single large item says whose that is.
  static bool areWorthShowing(std::vector<Cell> inside, const Cell& folder) {
    keepLargestCells(inside, kPlacesOfCategory);
    const std::int64_t whole = folder.size.allocatedBytes;
    if (inside.empty() || shareOf(inside.front().size.allocatedBytes, whole) > kNearlyAll) return false;
    std::int64_t shown = 0;
    for (const Cell& cell : inside) shown = checkedAdd(shown, cell.size.allocatedBytes);
    return shareOf(shown, whole) >= kWorthShowing;
  }

  [[nodiscard]] Place placeOf(StorageCategoryID category, const Cell& cell) const {
    Place place{.category = category, .item = itemOf(cell), .app = appOf_(cell.url)};
    std::vector<Cell> inside = roots_.cellsIn(cell);
    const bool isBundle = cell.folder && cell.folder->isPackage;  // with everything in "Contents"
    if (isBundle && inside.size() == 1 && inside.front().folder) inside = roots_.cellsIn(Cell(inside.front()));
    keepLargestCells(inside, kItemsOfPlace);
    for (const Cell& item : inside) {
      place.items.push_back({itemOf(item), place.app.empty() ? appOf_(item.url) : ""});
    }
    return place;
  }

  static TopItem itemOf(const Cell& cell) {
    return {.url = cell.url, .name = std::string(cell.url.lastPathComponent()), .size = cell.size};
  }

  const CountedRoots& roots_;
  std::int64_t counted_;
  const AppOfItem& appOf_;
};

}  // namespace

std::vector<Place> reportPlaces(const std::vector<ScannedRoot>& roots, const FolderTree& tree, const AppOfItem& appOf) {
  const CountedRoots counted(roots, tree);
  const PlaceChooser chooser(counted, counted.bytes(), appOf);
  std::vector<Place> all;
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (category == StorageCategoryID::free) continue;
    std::vector<Place> places = chooser.places(category);
    all.insert(all.end(), std::make_move_iterator(places.begin()), std::make_move_iterator(places.end()));
  }
  return all;
}

}  // namespace quarn

#include "QuarnCore/storage/UsersDashboard.h"

#include <algorithm>
#include <map>
#include <utility>

#include "QuarnCore/storage/ScanRoots.h"

namespace quarn {
namespace {

UsersDashboard::CategorySizes noSizes() {
  UsersDashboard::CategorySizes sizes;
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (category != StorageCategoryID::free) sizes[category];
  }
  return sizes;
}

// A vendor path belongs to at most one category, but the item does not say which.
std::optional<VendorPathHint> hintOfAnyCategory(const FileURL& url, const StorageDashboardService& dashboard) {
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (auto hint = dashboard.vendorHint(url, category)) return hint;
  }
  return std::nullopt;
}

}  // namespace

SizeInfo UsersDashboard::Part::size() const {
  SizeInfo sum;
  for (const auto& [category, size] : sizes) sum += size;
  return sum;
}

UsersDashboard::UsersDashboard(HomeFolders homes,
                               std::function<StorageDashboardService(const FileURL& home)> dashboardOf,
                               FileManager files)
    : homes_(std::move(homes)), dashboardOf_(std::move(dashboardOf)), files_(std::move(files)) {}

std::vector<UsersDashboard::PartitionedRoot> UsersDashboard::calculatePartitionedRoots(
    const std::function<void(const FileURL& home)>& onHome, const std::function<void(const CategorySizes&)>& onUpdate,
    const Cancellation& cancellation, RecordedFolders* recorded) const {
  ScanPlan all;
  const std::shared_ptr<KeptListings> kept = StorageDashboardService::keptUnless(recorded);
  for (std::size_t home = 0; home < homes_.urls().size() && !cancellation.isCancelled(); ++home) {
    if (onHome) onHome(homes_.urls()[home]);
    addPlanOfHome(all, dashboard(home).scanPlan(scopeOf(home), cancellation, kept), home, homes_);
  }
  all.kept = kept;
  excludeHomes(all, homes_);
  return dashboard(0).calculatePartitionedRoots(std::move(all), onUpdate, cancellation, recorded);
}

bool UsersDashboard::isReadable(std::size_t home) const {
  try {
    (void)files_.openDirectory(homes_.urls()[home], Links::follow);
    return true;
  } catch (const FileError&) {
    return false;
  }
}

void UsersDashboard::sort(std::vector<Part>& parts) {
  std::stable_sort(parts.begin(), parts.end(), [](const Part& left, const Part& right) {
    if (!left.home || !right.home) return left.home.has_value() && !right.home;
    return left.size().allocatedBytes > right.size().allocatedBytes;
  });
}

std::vector<UsersDashboard::Part> UsersDashboard::parts(const std::vector<PartitionedRoot>& roots) const {
  std::vector<Part> parts;
  for (std::size_t home = 0; home < homes_.urls().size(); ++home) {
    parts.push_back({.home = homes_.urls()[home], .sizes = noSizes(), .isRead = isReadable(home)});
  }
  parts.push_back({.sizes = noSizes()});
  for (const PartitionedRoot& root : roots) {
    CategorySizes& sizes = parts[root.home.value_or(homes_.urls().size())].sizes;
    for (const auto& [category, size] : root.sizes) sizes[category] += size;
  }
  sort(parts);
  return parts;
}

std::vector<FileURL> UsersDashboard::topItemRoots(StorageCategoryID category, bool includeDiscovered,
                                                  const Cancellation& cancellation) const {
  std::vector<FileURL> roots;
  for (std::size_t home = 0; home < homes_.urls().size() && !cancellation.isCancelled(); ++home) {
    for (FileURL& root : dashboard(home).topItemRoots(category, includeDiscovered, cancellation, scopeOf(home))) {
      if (homes_.isOf(home, files_.realPath(root).value_or(root.path()))) roots.push_back(std::move(root));
    }
  }
  return roots;
}

std::vector<std::optional<VendorPathHint>> UsersDashboard::hints(const std::vector<PartitionedRoot>& roots,
                                                                 StorageCategoryID category) const {
  std::vector<std::optional<VendorPathHint>> hints;
  std::optional<StorageDashboardService> service;
  std::size_t home = homes_.urls().size();
  for (const PartitionedRoot& root : roots) {
    const std::size_t wanted = root.home.value_or(0);
    // The roots of one home follow each other.
    if (wanted != std::exchange(home, wanted)) service.emplace(dashboard(wanted));
    hints.push_back(service->vendorHint(root.url, category));
  }
  return hints;
}

std::vector<std::optional<VendorPathHint>> UsersDashboard::hints(const std::vector<FileURL>& items) const {
  std::map<std::size_t, std::vector<std::size_t>> byHome;
  for (std::size_t i = 0; i < items.size(); ++i) byHome[homes_.homeOf(items[i]).value_or(0)].push_back(i);
  std::vector<std::optional<VendorPathHint>> hints(items.size());
  for (const auto& [home, positions] : byHome) {
    const StorageDashboardService service = dashboard(home);
    for (const std::size_t i : positions) hints[i] = hintOfAnyCategory(items[i], service);
  }
  return hints;
}

}  // namespace quarn

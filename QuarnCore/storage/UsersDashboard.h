#pragma once

#include <functional>
#include <string>
#include <vector>

#include "QuarnCore/storage/HomeFolders.h"
#include "QuarnCore/storage/StorageDashboardService.h"

namespace quarn {

/// The storage categories of a volume with the home folders of several users. Each user's folders count as in that
/// user's own scan, each byte at most once. Synchronous and read-only; operations poll `cancellation`.
class UsersDashboard {
 public:
  using CategorySizes = StorageDashboardService::CategorySizes;
  using PartitionedRoot = StorageDashboardService::PartitionedRoot;

  /// What one user has, or, without a home folder, what no user has.
  struct Part {
    std::optional<FileURL> home{};
    CategorySizes sizes{};
    bool isRead = true;  ///< false if the home folder cannot be listed

    /// What all categories hold.
    [[nodiscard]] SizeInfo size() const;
  };

  /// `dashboardOf` makes the service of a home folder; each is dropped after use, because there may be thousands.
  UsersDashboard(HomeFolders homes, std::function<StorageDashboardService(const FileURL& home)> dashboardOf,
                 FileManager files);

  [[nodiscard]] const HomeFolders& homes() const { return homes_; }
  /// What the service of a home folder is asked for: that of the first one knows the volume's own roots.
  static RootScope scopeOf(std::size_t home) { return home == 0 ? RootScope::volume : RootScope::home; }

  /// One pass over all homes, as `StorageDashboardService::calculatePartitionedRoots`. The roots know their homes.
  /// Calls `onHome`, if not null, before it looks for the roots of a home.
  [[nodiscard]] std::vector<PartitionedRoot> calculatePartitionedRoots(
      const std::function<void(const FileURL& home)>& onHome, const std::function<void(const CategorySizes&)>& onUpdate,
      const Cancellation& cancellation, RecordedFolders* recorded = nullptr) const;
  /// The roots added up: a part for each home, the one with the most space first, and at the end what is in none.
  [[nodiscard]] std::vector<Part> parts(const std::vector<PartitionedRoot>& roots) const;
  /// Sorts parts like that.
  static void sort(std::vector<Part>& parts);
  /// False if the home folder at this position cannot be listed.
  [[nodiscard]] bool isReadable(std::size_t home) const;

  /// The folders to search for the largest items of a category, of all users. Some may be inside others.
  [[nodiscard]] std::vector<FileURL> topItemRoots(StorageCategoryID category, bool includeDiscovered,
                                                  const Cancellation& cancellation) const;
  /// What vendors say about each root, in the order of the walk, as a folder of the category.
  [[nodiscard]] std::vector<std::optional<VendorPathHint>> hints(const std::vector<PartitionedRoot>& roots,
                                                                 StorageCategoryID category) const;
  /// What vendors say about each item, for any category.
  [[nodiscard]] std::vector<std::optional<VendorPathHint>> hints(const std::vector<FileURL>& items) const;

 private:
  [[nodiscard]] StorageDashboardService dashboard(std::size_t home) const { return dashboardOf_(homes_.urls()[home]); }

  HomeFolders homes_;
  std::function<StorageDashboardService(const FileURL& home)> dashboardOf_;
  FileManager files_;
};

}  // namespace quarn

#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "QuarnCore/storage/RootScope.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"
#include "QuarnSystem/VolumeClients.h"

namespace quarn {

class CategoryRoots;
class KeptListings;
class RecordedFolders;
struct CategoryLists;
struct ScanPlan;

/// The storage categories: their folders and their sizes. Synchronous and read-only. Finds the roots on every call,
/// unless `rememberRoots` was called.
/// Operations poll `cancellation`, also while they look for roots and inside one folder. When it is set, they return
/// their partial result.
class StorageDashboardService {
 public:
  using CategorySizes = std::map<StorageCategoryID, SizeInfo>;

  StorageDashboardService(VolumeInfoClient volumeInfoClient, FileSizeCalculator fileSizeCalculator,
                          StorageSignatureRegistry signatureRegistry, VolumeLocationChecker volumeLocationChecker,
                          VendorPathHintIndex vendorHints, QuarantineManager quarantineManager, FileManager files);

  /// From now on, this object and its copies find the roots of each category once: for an operation with several
  /// steps, which asks for the same roots again. They then belong to one thread.
  void rememberRoots();

  /// The folders that count for a category, existing or not. `includeDiscovered` only affects games: it adds the
  /// folders that contain markers.
  [[nodiscard]] std::vector<FileURL> categoryRoots(StorageCategoryID category, bool includeDiscovered,
                                                   const Cancellation& cancellation = Cancellation::never(),
                                                   RootScope scope = RootScope::volume) const;
  /// Folders below a category's roots that count for other categories; only `systemData` has any.
  [[nodiscard]] std::vector<FileURL> categoryExclusions(StorageCategoryID category,
                                                        const Cancellation& cancellation = Cancellation::never()) const;
  /// The folders to search for the largest items of a category.
  [[nodiscard]] std::vector<FileURL> topItemRoots(StorageCategoryID category, bool includeDiscovered,
                                                  const Cancellation& cancellation = Cancellation::never(),
                                                  RootScope scope = RootScope::volume) const;
  [[nodiscard]] std::vector<FileURL> vendorRoots(StorageCategoryID category) const;
  [[nodiscard]] std::optional<VendorPathHint> vendorHint(const FileURL& url, StorageCategoryID category) const;
  /// The existing paths of vendors; of equal paths of a category, the first one counts.
  [[nodiscard]] const VendorPathHintIndex::Entries& vendorPaths() const;

  /// True if a root of `documents` holds cloud files: iCloud Drive or the folder of a provider in CloudStorage.
  [[nodiscard]] bool isCloudRoot(const FileURL& root) const;

  /// The volume, and all categories with a size of 0. Throws the FileError of the volume client.
  [[nodiscard]] StorageOverview initialOverview() const;

  /// Sizes all categories in one pass; each byte counts for at most one. Calls `onUpdate`, if not null, with the
  /// totals so far at most once per 100 ms, and at the end with the final totals. If cancelled, returns the totals so
  /// far. If `recorded` is not null, the same pass covers the whole volume and records every folder; the caller
  /// finishes the record.
  [[nodiscard]] CategorySizes calculatePartitionedCategorySizes(
      const std::function<void(const CategorySizes&)>& onUpdate, const Cancellation& cancellation,
      RecordedFolders* recorded = nullptr) const;
  /// A folder or file that the pass walks separately, with its bytes in each category. It does not include the roots
  /// inside it.
  struct PartitionedRoot {
    FileURL url{};
    CategorySizes sizes{};
    std::optional<std::size_t> home{};  ///< of several home folders, the position of the one that has it
  };
  /// The same pass, root by root in walk order, without roots that have no bytes. The sum over all roots is what
  /// `calculatePartitionedCategorySizes` returns.
  [[nodiscard]] std::vector<PartitionedRoot> calculatePartitionedRoots(
      const std::function<void(const CategorySizes&)>& onUpdate, const Cancellation& cancellation,
      RecordedFolders* recorded = nullptr) const;
  /// The same for a plan that several services contribute to.
  [[nodiscard]] std::vector<PartitionedRoot> calculatePartitionedRoots(
      ScanPlan plan, const std::function<void(const CategorySizes&)>& onUpdate, const Cancellation& cancellation,
      RecordedFolders* recorded = nullptr) const;
  /// What the pass walks. With the scope `home`, only what belongs to the home folder. `kept`, which may be null, gets
  /// the folders that are listed for it, and becomes part of the plan.
  [[nodiscard]] ScanPlan scanPlan(RootScope scope, const Cancellation& cancellation,
                                  std::shared_ptr<KeptListings> kept = nullptr) const;
  /// For `scanPlan`: null if the pass records folders, which needs more than is kept.
  [[nodiscard]] static std::shared_ptr<KeptListings> keptUnless(const RecordedFolders* recorded);

  /// The size of the roots in `preciseRoots`, root by root; absent if there are none. Calls `onRoot`, if not null, with
  /// the sum so far after each root. Throws FileError.
  [[nodiscard]] std::optional<SizeInfo> calculatePreciseSize(
      StorageCategoryID category, const Cancellation& cancellation,
      const std::function<void(const SizeInfo& soFar)>& onRoot = nullptr) const;
  /// The category's roots, including discovered ones, that exist and are not on another volume.
  [[nodiscard]] std::vector<FileURL> preciseRoots(StorageCategoryID category,
                                                  const Cancellation& cancellation = Cancellation::never(),
                                                  RootScope scope = RootScope::volume) const;
  /// The size of one root within that category. With the scope `home`, the root must be in the home folder. Throws
  /// FileError.
  [[nodiscard]] SizeInfo preciseSize(const FileURL& root, StorageCategoryID category,
                                     const Cancellation& cancellation = Cancellation::never(),
                                     RootScope scope = RootScope::volume) const;

 private:
  [[nodiscard]] CategoryRoots categoriesOn(const FileManager& files, RootScope scope = RootScope::volume,
                                           std::shared_ptr<KeptListings> kept = nullptr) const;
  CategorySizes partition(ScanPlan plan, const std::function<void(const CategorySizes&)>& onUpdate,
                          const std::function<void(PartitionedRoot)>& onRoot, const Cancellation& cancellation,
                          RecordedFolders* recorded) const;

  VolumeInfoClient volumeInfoClient_;
  FileSizeCalculator fileSizeCalculator_;
  StorageSignatureRegistry signatureRegistry_;
  VolumeLocationChecker volumeLocationChecker_;
  VendorPathHintIndex vendorHints_;
  QuarantineManager quarantineManager_;
  FileManager files_;
  std::map<RootScope, std::shared_ptr<CategoryLists>> knownRoots_;
};

}  // namespace quarn

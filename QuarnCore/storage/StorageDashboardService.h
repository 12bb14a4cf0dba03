#pragma once

#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"
#include "QuarnSystem/VolumeClients.h"

namespace quarn {

/// Where the disk's space goes: the folders of each storage category, and what they take. A plain value; synchronous;
/// read-only. Roots are found anew on every call.
class StorageDashboardService {
 public:
  using CategorySizes = std::map<StorageCategoryID, SizeInfo>;

  StorageDashboardService(VolumeInfoClient volumeInfoClient, FileSizeCalculator fileSizeCalculator,
                          StorageSignatureRegistry signatureRegistry, VolumeLocationChecker volumeLocationChecker,
                          VendorPathHintIndex vendorHints, QuarantineManager quarantineManager, FileManager files);

  /// The folders whose contents count to a category, whether or not they exist. `includeDiscovered` matters for games
  /// alone: it adds the folders that marker files and folders give away.
  [[nodiscard]] std::vector<FileURL> categoryRoots(StorageCategoryID category, bool includeDiscovered) const;
  /// Folders below a category's roots that count elsewhere; only `systemData` has any.
  [[nodiscard]] std::vector<FileURL> categoryExclusions(StorageCategoryID category) const;
  /// The folders in which the largest items of a category are looked for.
  [[nodiscard]] std::vector<FileURL> topItemRoots(StorageCategoryID category, bool includeDiscovered) const;
  [[nodiscard]] std::vector<FileURL> vendorRoots(StorageCategoryID category) const;
  [[nodiscard]] std::optional<VendorPathHint> vendorHint(const FileURL& url, StorageCategoryID category) const;

  /// Whether a root of `documents` holds files of a cloud: iCloud Drive or a provider's folder in CloudStorage.
  [[nodiscard]] bool isCloudRoot(const FileURL& root) const;

  /// The volume and a row per category with nothing in it. Throws the volume client's FileError unchanged.
  [[nodiscard]] StorageOverview initialOverview() const;

  /// Sizes every category in one pass: each byte in at most one. `onUpdate`, when given, gets the totals so far, after
  /// every root and at most every 100 ms within one; the last call carries the final totals. Cancelled: the totals so
  /// far.
  [[nodiscard]] CategorySizes calculatePartitionedCategorySizes(
      const std::function<void(const CategorySizes&)>& onUpdate, const Cancellation& cancellation) const;

  /// The size of one category's roots that `preciseRoots` lists, root by root; absent when there are none. Throws
  /// FileError.
  [[nodiscard]] std::optional<SizeInfo> calculatePreciseSize(StorageCategoryID category,
                                                             const Cancellation& cancellation) const;
  /// The category's roots, discovered ones too, that exist and are not on another volume.
  [[nodiscard]] std::vector<FileURL> preciseRoots(StorageCategoryID category) const;
  /// The size that one root has in it. Throws FileError.
  [[nodiscard]] SizeInfo preciseSize(const FileURL& root, StorageCategoryID category) const;

 private:
  VolumeInfoClient volumeInfoClient_;
  FileSizeCalculator fileSizeCalculator_;
  StorageSignatureRegistry signatureRegistry_;
  VolumeLocationChecker volumeLocationChecker_;
  VendorPathHintIndex vendorHints_;
  QuarantineManager quarantineManager_;
  FileManager files_;
};

}  // namespace quarn

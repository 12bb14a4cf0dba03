#pragma once

#include "QuarnCore/storage/CategoryRoots.h"
#include "QuarnCore/storage/ScanRoots.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// A small volume and its dashboard; without signatures and vendors by default.
class DashboardVolume : public MacVolume {
 public:
  using MacVolume::MacVolume;

  std::vector<StorageSignatureRegistry::Signature> signatures;
  std::vector<VendorProfile> vendors;

  /// A profile with this id and one artifact with these folders.
  void vendor(std::string id, std::vector<std::string> paths) {
    vendors.push_back(
        {.id = std::move(id), .artifacts = {{.kind = ArtifactKind::applicationSupport, .paths = std::move(paths)}}});
  }
  void extension(std::string pattern, StorageCategoryID category) {
    signatures.push_back({.category = category, .pattern = std::move(pattern)});
  }
  void gameMarker(std::string pattern) {
    signatures.push_back({.category = StorageCategoryID::games,
                          .kind = StorageSignatureRegistry::Signature::Kind::markerFile,
                          .pattern = std::move(pattern)});
  }

  [[nodiscard]] StorageDashboardService dashboard(const FileManager& files) const {
    return {VolumeInfoClient::live(files),
            FileSizeCalculator::live(files),
            StorageSignatureRegistry(StorageSignatureTable{1, signatures}),
            VolumeLocationChecker::live(files),
            VendorPathHintIndex(VendorProfileRegistry(vendors), files.homeDirectory(), files),
            QuarantineManager::live(files),
            files};
  }
  [[nodiscard]] StorageDashboardService dashboard() const { return dashboard(files()); }

  /// The scan plan.
  [[nodiscard]] ScanPlan plan() const {
    const FileManager files = this->files();
    const StorageSignatureRegistry registry({1, signatures});
    const VendorPathHintIndex hints(VendorProfileRegistry(vendors), files.homeDirectory(), files);
    const FileURL quarantine = QuarantineManager::live(files).baseURL();
    return makeScanPlan(CategoryRoots(registry, hints, quarantine, files), quarantine,
                        VolumeLocationChecker::live(files), files);
  }
  /// The non-zero logical bytes of each category in a partitioned scan.
  [[nodiscard]] std::map<StorageCategoryID, std::int64_t> scanned() const {
    std::map<StorageCategoryID, std::int64_t> bytes;
    for (const auto& [category, size] : dashboard().calculatePartitionedCategorySizes({}, Cancellation::never())) {
      if (size.logicalBytes != 0) bytes[category] = size.logicalBytes;
    }
    return bytes;
  }

  /// The paths of a category's roots, with "~" for the home folder.
  [[nodiscard]] std::vector<std::string> roots(StorageCategoryID category, bool includeDiscovered = true) const {
    return shortened(dashboard().categoryRoots(category, includeDiscovered));
  }
  [[nodiscard]] std::vector<std::string> shortened(const std::vector<FileURL>& urls) const {
    std::vector<std::string> paths;
    for (const FileURL& url : urls) {
      const bool isInHome = url.path().starts_with(home() + "/");
      paths.push_back(isInHome ? "~" + url.path().substr(home().size()) : url.path());
    }
    return paths;
  }
};

}  // namespace quarn

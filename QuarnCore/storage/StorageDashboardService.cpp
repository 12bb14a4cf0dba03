#include "QuarnCore/storage/StorageDashboardService.h"

#include "QuarnCore/storage/CategoryRoots.h"
#include "QuarnCore/storage/PartitionedScan.h"
#include "QuarnCore/storage/ScanRoots.h"
#include "QuarnPlatform/walking/KeptListings.h"
#include "QuarnSystem/DiagnosticsLogger.h"

namespace quarn {
namespace {

StorageDashboardService::CategorySizes byCategory(const PartitionedScan::Totals& totals) {
  StorageDashboardService::CategorySizes sizes;
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (category != StorageCategoryID::free) sizes[category] = totals[bucketOf(category)];
  }
  return sizes;
}

// Roots on other volumes do not count, as in the partitioned scan.
std::vector<FileURL> sizedRoots(StorageCategoryID category, const CategoryRoots& categories,
                                const VolumeLocationChecker& locations, const FileManager& files) {
  std::vector<FileURL> roots = categories.roots(category, /*includeDiscovered=*/true);
  std::erase_if(roots, [&](const FileURL& root) { return !files.itemExists(root) || locations.isExternal(root); });
  return roots;
}

/// Sizes the roots of one category one after another.
class PreciseSizing {
 public:
  PreciseSizing(StorageCategoryID category, const CategoryRoots& categories, const FileSizeCalculator& calculator,
                const FileManager& files)
      : category_(category),
        categories_(categories),
        calculator_(calculator),
        files_(files),
        exclusions_(categories.exclusions(category)) {}

  [[nodiscard]] SizeInfo sizeOf(const FileURL& root) const {
    const bool isCloud = category_ == StorageCategoryID::documents && categories_.isCloudRoot(root);
    const SizeInfo size = isCloud ? cloudSize(root) : plainSize(root);
    log(root, size, isCloud);
    return size;
  }

 private:
  // Cloud files count the space that they take on this disk. If the root cannot be walked, falls back to estimates.
  [[nodiscard]] SizeInfo cloudSize(const FileURL& root) const {
    try {
      if (files_.isDirectory(root))
        return calculator_.enumeratingDirectorySize(root, /*includeHidden=*/true, files_.cancellation());
    } catch (const FileError&) {
      // Fall back to the estimates below.
    }
    if (const std::optional<SizeInfo> size = calculator_.resourceSize(root)) return *size;
    try {
      return calculator_.itemSize(root, /*allowSlow=*/false, /*includeHidden=*/true);
    } catch (const FileError&) {
      return plainSize(root);
    }
  }

  [[nodiscard]] SizeInfo plainSize(const FileURL& root) const {
    return calculator_.itemSizeExcluding(root, exclusions_, /*allowSlow=*/true, /*includeHidden=*/true,
                                         files_.cancellation());
  }

  void log(const FileURL& root, const SizeInfo& size, bool isCloud) const {
    DiagnosticsLogger& logger = DiagnosticsLogger::shared();
    if (!logger.isEnabled()) return;
    logger.log(DiagnosticsLevel::trace, "StorageScan", "Precise root size",
               {{"category", std::string(rawValue(category_))},
                {"root", root.path()},
                {"allocatedBytes", std::to_string(size.allocatedBytes)},
                {"logicalBytes", std::to_string(size.logicalBytes)},
                {"cloudRoot", isCloud ? "true" : "false"},
                {"exclusions", std::to_string(exclusions_.size())}});
  }

  StorageCategoryID category_;
  const CategoryRoots& categories_;
  const FileSizeCalculator& calculator_;
  const FileManager& files_;
  std::vector<FileURL> exclusions_;
};

}  // namespace

StorageDashboardService::StorageDashboardService(VolumeInfoClient volumeInfoClient,
                                                 FileSizeCalculator fileSizeCalculator,
                                                 StorageSignatureRegistry signatureRegistry,
                                                 VolumeLocationChecker volumeLocationChecker,
                                                 VendorPathHintIndex vendorHints, QuarantineManager quarantineManager,
                                                 FileManager files)
    : volumeInfoClient_(std::move(volumeInfoClient)),
      fileSizeCalculator_(std::move(fileSizeCalculator)),
      signatureRegistry_(std::move(signatureRegistry)),
      volumeLocationChecker_(std::move(volumeLocationChecker)),
      vendorHints_(std::move(vendorHints)),
      quarantineManager_(std::move(quarantineManager)),
      files_(std::move(files)) {}

void StorageDashboardService::rememberRoots() {
  for (const RootScope scope : {RootScope::volume, RootScope::home}) {
    knownRoots_[scope] = std::make_shared<CategoryLists>();
  }
}

CategoryRoots StorageDashboardService::categoriesOn(const FileManager& files, RootScope scope,
                                                    std::shared_ptr<KeptListings> kept) const {
  const auto known = knownRoots_.find(scope);
  return {signatureRegistry_,
          vendorHints_,
          quarantineManager_.baseURL(),
          files,
          scope,
          known == knownRoots_.end() ? nullptr : known->second,
          std::move(kept)};
}

std::vector<FileURL> StorageDashboardService::categoryRoots(StorageCategoryID category, bool includeDiscovered,
                                                            const Cancellation& cancellation, RootScope scope) const {
  const FileManager files = files_.cancelledBy(cancellation);
  return categoriesOn(files, scope).roots(category, includeDiscovered);
}

std::vector<FileURL> StorageDashboardService::categoryExclusions(StorageCategoryID category,
                                                                 const Cancellation& cancellation) const {
  const FileManager files = files_.cancelledBy(cancellation);
  return categoriesOn(files).exclusions(category);
}

std::vector<FileURL> StorageDashboardService::topItemRoots(StorageCategoryID category, bool includeDiscovered,
                                                           const Cancellation& cancellation, RootScope scope) const {
  const FileManager files = files_.cancelledBy(cancellation);
  return categoriesOn(files, scope).topItemRoots(category, includeDiscovered);
}

std::vector<FileURL> StorageDashboardService::vendorRoots(StorageCategoryID category) const {
  return vendorHints_.roots(category);
}

std::optional<VendorPathHint> StorageDashboardService::vendorHint(const FileURL& url,
                                                                  StorageCategoryID category) const {
  return vendorHints_.hint(url, category);
}

const VendorPathHintIndex::Entries& StorageDashboardService::vendorPaths() const {
  return vendorHints_.entriesByCategory();
}

bool StorageDashboardService::isCloudRoot(const FileURL& root) const { return categoriesOn(files_).isCloudRoot(root); }

StorageOverview StorageDashboardService::initialOverview() const {
  StorageOverview overview{.volume = volumeInfoClient_.systemVolume()};
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (category != StorageCategoryID::free) overview.categories.push_back({.id = category});
  }
  return overview;
}

StorageDashboardService::CategorySizes StorageDashboardService::calculatePartitionedCategorySizes(
    const std::function<void(const CategorySizes&)>& onUpdate, const Cancellation& cancellation,
    RecordedFolders* recorded) const {
  return partition(scanPlan(RootScope::volume, cancellation, keptUnless(recorded)), onUpdate, nullptr, cancellation,
                   recorded);
}

std::vector<StorageDashboardService::PartitionedRoot> StorageDashboardService::calculatePartitionedRoots(
    const std::function<void(const CategorySizes&)>& onUpdate, const Cancellation& cancellation,
    RecordedFolders* recorded) const {
  return calculatePartitionedRoots(scanPlan(RootScope::volume, cancellation, keptUnless(recorded)), onUpdate,
                                   cancellation, recorded);
}

std::vector<StorageDashboardService::PartitionedRoot> StorageDashboardService::calculatePartitionedRoots(
    ScanPlan plan, const std::function<void(const CategorySizes&)>& onUpdate, const Cancellation& cancellation,
    RecordedFolders* recorded) const {
  std::vector<PartitionedRoot> roots;
  const auto keep = [&](PartitionedRoot root) {
    const bool hasBytes = std::any_of(root.sizes.begin(), root.sizes.end(),
                                      [](const auto& ofCategory) { return ofCategory.second != SizeInfo{}; });
    if (hasBytes) roots.push_back(std::move(root));
  };
  (void)partition(std::move(plan), onUpdate, keep, cancellation, recorded);
  return roots;
}

ScanPlan StorageDashboardService::scanPlan(RootScope scope, const Cancellation& cancellation,
                                           std::shared_ptr<KeptListings> kept) const {
  const FileManager files = files_.cancelledBy(cancellation);
  ScanPlan plan =
      makeScanPlan(categoriesOn(files, scope, kept), quarantineManager_.baseURL(), volumeLocationChecker_, files);
  plan.kept = std::move(kept);
  return plan;
}

std::shared_ptr<KeptListings> StorageDashboardService::keptUnless(const RecordedFolders* recorded) {
  return recorded == nullptr ? std::make_shared<KeptListings>() : nullptr;
}

StorageDashboardService::CategorySizes StorageDashboardService::partition(
    ScanPlan plan, const std::function<void(const CategorySizes&)>& onUpdate,
    const std::function<void(PartitionedRoot)>& onRoot, const Cancellation& cancellation,
    RecordedFolders* recorded) const {
  const FileManager files = files_.cancelledBy(cancellation);
  PartitionedScan scan(std::move(plan), signatureRegistry_.packageCategoryByExtension(), files);
  PartitionedScan::Observers observers{.recorded = recorded};
  if (onUpdate) observers.onUpdate = [&](const PartitionedScan::Totals& totals) { onUpdate(byCategory(totals)); };
  if (onRoot) {
    observers.onRoot = [&](const ScanRoot& root, const PartitionedScan::Totals& totals) {
      onRoot({.url = FileURL(root.path), .sizes = byCategory(totals), .home = root.home});
    };
  }
  return byCategory(scan.run(observers, cancellation));
}

std::optional<SizeInfo> StorageDashboardService::calculatePreciseSize(
    StorageCategoryID category, const Cancellation& cancellation,
    const std::function<void(const SizeInfo& soFar)>& onRoot) const {
  if (category == StorageCategoryID::free) return std::nullopt;
  const FileManager files = files_.cancelledBy(cancellation);
  const CategoryRoots categories = categoriesOn(files);
  const PreciseSizing sizing(category, categories, fileSizeCalculator_, files);
  std::optional<SizeInfo> total;
  for (const FileURL& root : sizedRoots(category, categories, volumeLocationChecker_, files)) {
    if (cancellation.isCancelled()) break;
    total = total.value_or(SizeInfo{}) + sizing.sizeOf(root);
    if (onRoot) onRoot(*total);
  }
  return total;
}

std::vector<FileURL> StorageDashboardService::preciseRoots(StorageCategoryID category, const Cancellation& cancellation,
                                                           RootScope scope) const {
  const FileManager files = files_.cancelledBy(cancellation);
  const CategoryRoots categories = categoriesOn(files, scope);
  return sizedRoots(category, categories, volumeLocationChecker_, files);
}

SizeInfo StorageDashboardService::preciseSize(const FileURL& root, StorageCategoryID category,
                                              const Cancellation& cancellation, RootScope scope) const {
  const FileManager files = files_.cancelledBy(cancellation);
  const CategoryRoots categories = categoriesOn(files, scope);
  return PreciseSizing(category, categories, fileSizeCalculator_, files).sizeOf(root);
}

}  // namespace quarn

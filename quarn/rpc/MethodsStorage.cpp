#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Growth.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

StorageSignatureTable signatures(const Context& context) { return context.services.signatureRegistry().table(); }

std::vector<StorageSignatureRegistry::Signature> markerSignatures(const Context& context, StorageCategoryID category) {
  return context.services.signatureRegistry().markerSignatures(category);
}

std::map<std::string, StorageCategoryID, std::less<>> packageCategoryByExtension(const Context& context) {
  return context.services.signatureRegistry().packageCategoryByExtension();
}

std::vector<FileURL> categoryRoots(const Context& context, StorageCategoryID category, bool includeDiscovered) {
  return context.services.storageDashboard().categoryRoots(category, includeDiscovered, context.request.cancellation);
}

std::vector<FileURL> topItemRoots(const Context& context, StorageCategoryID category, bool includeDiscovered) {
  return context.services.storageDashboard().topItemRoots(category, includeDiscovered, context.request.cancellation);
}

std::vector<FileURL> categoryExclusions(const Context& context, StorageCategoryID category) {
  return context.services.storageDashboard().categoryExclusions(category, context.request.cancellation);
}

std::vector<FileURL> vendorRoots(const Context& context, StorageCategoryID category) {
  return context.services.storageDashboard().vendorRoots(category);
}

std::optional<VendorPathHint> vendorHint(const Context& context, const FileURL& url, StorageCategoryID category) {
  return context.services.storageDashboard().vendorHint(url, category);
}

std::optional<VendorPathHint> indexedHint(const Context& context, const FileURL& url, StorageCategoryID category) {
  return context.services.vendorHints().hint(url, category);
}

std::vector<FileURL> indexedRoots(const Context& context, StorageCategoryID category) {
  return context.services.vendorHints().roots(category);
}

StorageOverview initialOverview(const Context& context) {
  return context.services.storageDashboard().initialOverview();
}

StorageDashboardService::CategorySizes calculatePartitionedCategorySizes(const Context& context) {
  std::function<void(const StorageDashboardService::CategorySizes&)> report;
  if (context.request.report) {
    report = [&](const auto& totals) { context.request.report(toJSON(TotalsProgress{totals})); };
  }
  return context.services.storageDashboard().calculatePartitionedCategorySizes(report, context.request.cancellation);
}

std::optional<SizeInfo> calculatePreciseSize(const Context& context, StorageCategoryID category) {
  const Services& services = context.services;
  const Cancellation& cancellation = context.request.cancellation;
  SizeGrowth growth(context.request);
  const StorageDashboardService dashboard =
      services.storageDashboardWith(growth.watched(services.fileSizeCalculator, services.files));
  const auto onRoot = [&](const SizeInfo& soFar) { growth.continueAt(soFar); };
  const std::optional<SizeInfo> size = dashboard.calculatePreciseSize(category, cancellation, onRoot);
  return size ? std::optional(growth.finish(*size)) : std::nullopt;
}

// clang-format off
constexpr std::array kStorageMethods{
    method<&signatures>("StorageSignatureRegistry.signatures"),
    method<&markerSignatures>("StorageSignatureRegistry.markerSignatures", "category"),
    method<&packageCategoryByExtension>("StorageSignatureRegistry.packageCategoryByExtension"),
    method<&categoryRoots>("StorageDashboardService.categoryRoots", "category", "includeDiscovered"),
    method<&topItemRoots>("StorageDashboardService.topItemRoots", "category", "includeDiscovered"),
    method<&categoryExclusions>("StorageDashboardService.categoryExclusions", "category"),
    method<&vendorRoots>("StorageDashboardService.vendorRoots", "category"),
    method<&vendorHint>("StorageDashboardService.vendorHint", "url", "category"),
    method<&indexedHint>("VendorPathHintIndex.hint", "url", "category"),
    method<&indexedRoots>("VendorPathHintIndex.roots", "category"),
    method<&initialOverview>("StorageDashboardService.initialOverview"),
    methodWithProgress<&calculatePartitionedCategorySizes, TotalsProgress>("StorageDashboardService.calculatePartitionedCategorySizes"),
    methodWithProgress<&calculatePreciseSize, SizeProgress>("StorageDashboardService.calculatePreciseSize", "category"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> storageMethods() { return kStorageMethods; }

}  // namespace quarn

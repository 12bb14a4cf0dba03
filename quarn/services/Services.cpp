#include "quarn/services/Services.h"

#include <string>
#include <utility>

#include "QuarnPlatform/text/Text.h"
#include "quarn/services/Version.h"

namespace quarn {

Services::Services(FileManager volume, ResourceBundle shippedResources)
    : files(std::move(volume)),
      resources(std::move(shippedResources)),
      fileSizeCalculator(FileSizeCalculator::live(files)),
      appDiscovery(AppDiscoveryClient::live(files)),
      entitlementsReader(EntitlementsReader::live(files)),
      launchdScanner(LaunchdScanner::live(files)),
      receiptScanner(ReceiptScanner::live(files)),
      kernelExtensionService(KernelExtensionService::live(files, fileSizeCalculator)),
      volumeInfoClient(VolumeInfoClient::live(files)),
      volumeLocationChecker(VolumeLocationChecker::live(files)),
      quarantineManager(QuarantineManager::live(files)),
      appRemovalPlanner(files),
      uninstallerDiscovery(files),
      appsService([this] { return AppsService(appDiscovery, fileSizeCalculator); }),
      artifactScanner([this] { return ArtifactScanner(fileSizeCalculator, files); }),
      topItems([this] { return TopItemsService(fileSizeCalculator, files); }),
      vendorProfiles([this] { return VendorProfileRegistry::loadDefault(resources); }),
      signatureRegistry([this] { return StorageSignatureRegistry::loadDefault(resources); }),
      vendorHints([this] { return VendorPathHintIndex(vendorProfiles(), files.homeDirectory(), files); }),
      deepInspector([this] { return DeepInspectorService(vendorProfiles(), files); }),
      kernelExtensionAssociation([this] {
        return KernelExtensionAssociationService(vendorProfiles(), receiptScanner, kernelExtensionService,
                                                 files.homeDirectory(), files);
      }),
      storageDashboard([this] {
        return StorageDashboardService(volumeInfoClient, fileSizeCalculator, signatureRegistry(), volumeLocationChecker,
                                       vendorHints(), quarantineManager, files);
      }) {}

AppInspectionService Services::appInspection(const Cancellation& cancellation) const {
  return inspectionWith(fileSizeCalculator, cancellation);
}

AppInspectionService Services::inspectionWith(const FileSizeCalculator& sizes, const Cancellation& cancellation) const {
  const FileManager polled = files.cancelledBy(cancellation);
  const ReceiptScanner receipts = ReceiptScanner::answering(ReceiptSnapshot::of(polled));
  const KernelExtensionService extensions = KernelExtensionService::snapshot(polled, sizes);
  return AppInspectionService(
      ArtifactScanner(sizes, files), uninstallerDiscovery, EntitlementsReader::snapshot(polled),
      LaunchdScanner::snapshot(polled), receipts, deepInspector(),
      KernelExtensionAssociationService(vendorProfiles(), receipts, extensions, files.homeDirectory(), files), sizes,
      files);
}

ScanStore Services::scanStore() const {
  return {
      {.programVersion = std::string(kVersion),
       .vendorProfiles = static_cast<std::int64_t>(vendorProfiles().profiles().size()),
       .locale = Locale::current().identifier(),
       .appDiscovery = appDiscovery,
       .launchdScanner = launchdScanner,
       .receiptScanner = receiptScanner,
       .ownership = ownership(),
       .dashboard =
           [this](const FileSizeCalculator& sizes) {
             return StorageDashboardService(volumeInfoClient, sizes, signatureRegistry(), volumeLocationChecker,
                                            vendorHints(), quarantineManager, files);
           },
       .inspection = [this](const FileSizeCalculator& sizes,
                            const Cancellation& cancellation) { return inspectionWith(sizes, cancellation); },
       .extensions = [this](const FileSizeCalculator& sizes) { return KernelExtensionService::live(files, sizes); }},
      files};
}

OwnershipService Services::ownership() const {
  return OwnershipService(vendorProfiles(), entitlementsReader, LaunchdScanner::snapshot(files), receiptScanner, files);
}

}  // namespace quarn

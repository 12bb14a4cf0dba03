#include "quarn/services/Services.h"

#include <string>
#include <utility>

#include "QuarnPlatform/text/Text.h"
#include "quarn/services/Knowledge.h"
#include "quarn/services/Version.h"

namespace quarn {

Services::Services(FileManager volume, ResourceBundle shippedResources, std::vector<ResourceBundle> addedKnowledge)
    : Services(std::move(volume), std::move(shippedResources), std::move(addedKnowledge), nullptr) {}

Services::Services(FileManager volume, ResourceBundle shippedResources, std::vector<ResourceBundle> addedKnowledge,
                   const Services* shared)
    : files(std::move(volume)),
      resources(std::move(shippedResources)),
      knowledge(std::move(addedKnowledge)),
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
      vendorProfiles([this, shared] {
        return shared != nullptr ? shared->vendorProfiles()
                                 : VendorProfileRegistry::load(profilesOf(resources, knowledge));
      }),
      signatureRegistry([this, shared] {
        return shared != nullptr ? shared->signatureRegistry() : signaturesOf(resources, knowledge);
      }),
      vendorHints([this, shared] {
        if (shared != nullptr) return shared->vendorHints();
        return vendorProfiles.isMade()
                   ? VendorPathHintIndex(vendorProfiles(), files.homeDirectory(), files)
                   : VendorPathHintIndex(profilesOf(resources, knowledge), files.homeDirectory(), files);
      }),
      deepInspector([this] { return DeepInspectorService(vendorProfiles(), files); }),
      kernelExtensionAssociation([this] {
        return KernelExtensionAssociationService(vendorProfiles(), receiptScanner, kernelExtensionService,
                                                 files.homeDirectory(), files);
      }),
      storageDashboard([this] { return storageDashboardWith(fileSizeCalculator); }) {}

std::unique_ptr<Services> Services::forRequest(std::shared_ptr<ReadReport> report,
                                               const Cancellation& cancellation) const {
  const FileManager own = files.cancelledBy(cancellation);
  const FileManager& reporting = report ? own.reportingTo(std::move(report)) : own;
  return std::unique_ptr<Services>(new Services(reporting, resources, knowledge, this));
}

AppInspectionService Services::appInspection(const Cancellation& cancellation) const {
  return appInspection(fileSizeCalculator, cancellation);
}

AppInspectionService Services::appInspection(const FileSizeCalculator& sizes, const Cancellation& cancellation) const {
  const FileManager polled = files.cancelledBy(cancellation);
  const ReceiptScanner receipts = ReceiptScanner::answering(ReceiptSnapshot::of(polled));
  const KernelExtensionService extensions = KernelExtensionService::snapshot(polled, sizes);
  return AppInspectionService(
      ArtifactScanner(sizes, files), uninstallerDiscovery, EntitlementsReader::snapshot(polled),
      LaunchdScanner::snapshot(polled), receipts, deepInspector(),
      KernelExtensionAssociationService(vendorProfiles(), receipts, extensions, files.homeDirectory(), files), sizes,
      files);
}

StorageDashboardService Services::storageDashboardWith(const FileSizeCalculator& sizes) const {
  return StorageDashboardService(volumeInfoClient, sizes, signatureRegistry(), volumeLocationChecker, vendorHints(),
                                 quarantineManager, files);
}

StorageDashboardService Services::storageDashboardOf(const FileURL& home, const FileSizeCalculator& sizes) const {
  const FileManager ofHome = files.withHome(home);
  return StorageDashboardService(volumeInfoClient, sizes, signatureRegistry(), VolumeLocationChecker::live(ofHome),
                                 VendorPathHintIndex(vendorProfiles(), home, ofHome), QuarantineManager::live(ofHome),
                                 ofHome);
}

UsersDashboard Services::usersDashboard(const std::vector<FileURL>& homes) const {
  const auto dashboardOf = [this](const FileURL& home) {
    return home == files.homeDirectory() ? storageDashboard() : storageDashboardOf(home, fileSizeCalculator);
  };
  return {HomeFolders(homes, files), dashboardOf, files};
}

ScanStore Services::scanStore(const std::vector<FileURL>& homes) const {
  return {{.programVersion = std::string(kVersion),
           .vendorProfiles = static_cast<std::int64_t>(vendorProfiles().profiles().size()),
           .locale = Locale::current().identifier(),
           .appDiscovery = homes.empty() ? appDiscovery : AppDiscoveryClient::live(files, homes),
           .launchdScanner = homes.empty() ? launchdScanner : LaunchdScanner::live(files, homes),
           .receiptScanner = receiptScanner,
           .ownership = ownership(homes),
           .dashboard = [this](const FileSizeCalculator& sizes) { return storageDashboardWith(sizes); },
           .inspection = [this](const FileSizeCalculator& sizes,
                                const Cancellation& cancellation) { return appInspection(sizes, cancellation); },
           .extensions = [this](const FileSizeCalculator& sizes) { return KernelExtensionService::live(files, sizes); },
           .homes = homes,
           .dashboardOf = [this](const FileURL& home,
                                 const FileSizeCalculator& sizes) { return storageDashboardOf(home, sizes); }},
          files};
}

OwnershipService Services::ownership(const std::vector<FileURL>& homes) const {
  return OwnershipService(vendorProfiles(), entitlementsReader,
                          homes.empty() ? LaunchdScanner::snapshot(files) : LaunchdScanner::live(files, homes),
                          receiptScanner, files);
}

std::vector<AppEntity> Services::appsOf(const std::vector<FileURL>& homes) const {
  return AppDiscoveryClient::live(files, homes).discoverApplications();
}

}  // namespace quarn

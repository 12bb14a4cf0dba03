#pragma once

#include <memory>
#include <vector>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/discovery/KernelExtensionAssociationService.h"
#include "QuarnCore/folders/TopItemsService.h"
#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/inspection/AppsService.h"
#include "QuarnCore/ownership/OwnershipService.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnCore/scans/ScanStore.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/UsersDashboard.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnCore/vendors/DeepInspectorService.h"
#include "QuarnCore/vendors/UninstallerDiscoveryService.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "QuarnSystem/EntitlementsReader.h"
#include "QuarnSystem/FileSizeCalculator.h"
#include "QuarnSystem/KernelExtensionService.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"
#include "QuarnSystem/VolumeClients.h"
#include "quarn/services/Lazy.h"

namespace quarn {

/// All services of the library for one volume, for the lifetime of the process. Services that read resources or the
/// volume are created on first use, so that `quarn apps` does not load the vendor profiles. Thread-safe; not copyable
/// and not movable. Replace a client before the first use of a service that takes it; inspections and the services of
/// one request create their own clients.
struct Services {
  /// `addedKnowledge` has more profiles and signatures.
  Services(FileManager volume, ResourceBundle shippedResources, std::vector<ResourceBundle> addedKnowledge = {});
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  /// The same services for one request. They stop soon after `cancellation` is set, and add what they cannot read to
  /// `report`; if that is null, to the report of this object's volume. They share the profiles, the signatures and the
  /// index of vendor paths with this object, which must outlive them.
  [[nodiscard]] std::unique_ptr<Services> forRequest(std::shared_ptr<ReadReport> report,
                                                     const Cancellation& cancellation) const;

  /// An inspection service for one app or several. It caches the data that phases and apps share. Its system
  /// clients stop soon after `cancellation` is set; pass the same one to `inspect`.
  [[nodiscard]] AppInspectionService appInspection(const Cancellation& cancellation = Cancellation::never()) const;
  /// The same, but sizes artifacts with `sizes`.
  [[nodiscard]] AppInspectionService appInspection(const FileSizeCalculator& sizes,
                                                   const Cancellation& cancellation) const;
  /// A service for a map of the whole volume. It caches what the map asks of the system. With home folders, it is for
  /// maps of these users.
  [[nodiscard]] OwnershipService ownership(const std::vector<FileURL>& homes = {}) const;
  /// The apps of the volume and of these home folders.
  [[nodiscard]] std::vector<AppEntity> appsOf(const std::vector<FileURL>& homes) const;

  /// The storage categories, sized by another calculator.
  [[nodiscard]] StorageDashboardService storageDashboardWith(const FileSizeCalculator& sizes) const;
  /// The same for another home folder.
  [[nodiscard]] StorageDashboardService storageDashboardOf(const FileURL& home, const FileSizeCalculator& sizes) const;

  /// The storage categories of all these home folders together; the first one is that of `files`.
  [[nodiscard]] UsersDashboard usersDashboard(const std::vector<FileURL>& homes) const;

  /// The store of scans; reads the vendor profiles. With home folders, that of `files` first, its scans are of all
  /// these users.
  [[nodiscard]] ScanStore scanStore(const std::vector<FileURL>& homes = {}) const;

  FileManager files;
  ResourceBundle resources;
  std::vector<ResourceBundle> knowledge;  ///< adds to the resources

  FileSizeCalculator fileSizeCalculator;
  AppDiscoveryClient appDiscovery;
  EntitlementsReader entitlementsReader;
  LaunchdScanner launchdScanner;
  ReceiptScanner receiptScanner;
  KernelExtensionService kernelExtensionService;
  VolumeInfoClient volumeInfoClient;
  VolumeLocationChecker volumeLocationChecker;
  QuarantineManager quarantineManager;

  AppRemovalPlanner appRemovalPlanner;
  UninstallerDiscoveryService uninstallerDiscovery;

  Lazy<AppsService> appsService;
  Lazy<ArtifactScanner> artifactScanner;
  Lazy<TopItemsService> topItems;
  Lazy<VendorProfileRegistry> vendorProfiles;
  Lazy<StorageSignatureRegistry> signatureRegistry;
  Lazy<VendorPathHintIndex> vendorHints;
  Lazy<DeepInspectorService> deepInspector;
  Lazy<KernelExtensionAssociationService> kernelExtensionAssociation;
  Lazy<StorageDashboardService> storageDashboard;

 private:
  /// `shared` has the data of the resources, or is null: then they are loaded.
  Services(FileManager volume, ResourceBundle shippedResources, std::vector<ResourceBundle> addedKnowledge,
           const Services* shared);
};

}  // namespace quarn

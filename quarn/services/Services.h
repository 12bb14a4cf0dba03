#pragma once

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/discovery/KernelExtensionAssociationService.h"
#include "QuarnCore/folders/TopItemsService.h"
#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/inspection/AppsService.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnCore/vendors/DeepInspectorService.h"
#include "QuarnCore/vendors/UninstallerDiscoveryService.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnPlatform/files/FileManager.h"
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

/// Every service of the library for one volume, wired by hand once and kept for the life of the process. What reads
/// resources or looks through the volume is made when it is first asked for, so that `quarn apps` does not pay for
/// vendor knowledge. Safe to use from several threads; neither copied nor moved. A client may be replaced before the
/// first use of what is made from it; inspections make their own.
struct Services {
  Services(FileManager volume, ResourceBundle shippedResources);
  Services(const Services&) = delete;
  Services& operator=(const Services&) = delete;

  /// For the inspection of one app, or of several in one go: what phases and apps ask of the system is read once.
  [[nodiscard]] AppInspectionService appInspection() const;

  FileManager files;
  ResourceBundle resources;

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
};

}  // namespace quarn

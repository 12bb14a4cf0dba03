#pragma once

#include <string>

#include "QuarnCore/scans/ScanStore.h"
#include "QuarnCore/vendors/UninstallerDiscoveryService.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn {

/// A small volume and the store of its scans, with live clients and without vendor profiles.
class ScannedVolume : public DashboardVolume {
 public:
  using DashboardVolume::DashboardVolume;

  [[nodiscard]] AppInspectionService inspection(const FileManager& files, const FileSizeCalculator& sizes) const {
    const VendorProfileRegistry registry(vendors);
    const ReceiptScanner receipts = ReceiptScanner::answering(ReceiptSnapshot::of(files));
    return {ArtifactScanner(sizes, files),
            UninstallerDiscoveryService(files),
            EntitlementsReader::live(files),
            LaunchdScanner::live(files),
            receipts,
            DeepInspectorService(registry, files),
            KernelExtensionAssociationService(registry, receipts, KernelExtensionService::live(files, sizes),
                                              files.homeDirectory(), files),
            sizes,
            files};
  }

  [[nodiscard]] ScanStore store(const FileManager& files) const {
    const StorageSignatureRegistry registry({1, signatures});
    const VendorProfileRegistry profiles(vendors);
    return {{.programVersion = "1.2.3",
             .vendorProfiles = static_cast<std::int64_t>(vendors.size()),
             .locale = "en",
             .appDiscovery = AppDiscoveryClient::live(files),
             .launchdScanner = LaunchdScanner::live(files),
             .receiptScanner = ReceiptScanner::live(files),
             .ownership = {profiles, EntitlementsReader::live(files), LaunchdScanner::live(files),
                           ReceiptScanner::live(files), files},
             .dashboard =
                 [=](const FileSizeCalculator& sizes) {
                   return StorageDashboardService(VolumeInfoClient::live(files), sizes, registry,
                                                  VolumeLocationChecker::live(files),
                                                  VendorPathHintIndex(profiles, files.homeDirectory(), files),
                                                  QuarantineManager::live(files), files);
                 },
             .inspection = [this, files](const FileSizeCalculator& sizes,
                                         const Cancellation&) { return inspection(files, sizes); },
             .extensions = [=](const FileSizeCalculator& sizes) { return KernelExtensionService::live(files, sizes); }},
            files};
  }

  ScanStore::Written scanTo(const std::string& file) const {
    return store(files()).write(file, nullptr, Cancellation::never());
  }

  /// Fills the volume with an app and something of every kind that a scan holds.
  void fill() {
    app("/Applications/Example.app", {.bundleIdentifier = "com.example.App", .name = "Example", .version = "2.1"});
    app("/Applications/\xFFraw.app", {});
    file("~/Library/Caches/com.example.App/a", 3'000).file("~/Library/Caches/com.example.App/.b", 4'000);
    file("~/Library/Caches/com.gone.Sketcher/a", 5'000).file("~/Library/Preferences/com.gone.Sketcher.plist", 60);
    file("~/Pictures/\xFE\x80/\xFF", 9'000).file("~/Pictures/.hidden/a", 100).file("~/Documents/Doc.app/x", 7);
    file("~/notes.txt", 70'000).hardLink("~/again.txt", "~/notes.txt").file("/Elsewhere/big", 80'000);
    plist("~/Library/LaunchAgents/com.example.job.plist",
          {{"Label", "com.example.job"}, {"ProgramArguments", PlistArray{"/usr/bin/true", "-x"}}});
    plist("/Library/Extensions/Ext.kext/Contents/Info.plist",
          {{"CFBundleIdentifier", "com.example.ext"}, {"CFBundleName", "Ext"}});
    file("~/Library/Application Support/Example/Uninstall Example.app/x", 1);
  }
};

/// A folder for scans.
class ScanFolder {
 public:
  ScanFolder() { folder_.folder("/scans"); }
  [[nodiscard]] std::string at(const std::string& name) const { return folder_.host("/scans/" + name); }

 private:
  MacVolume folder_;
};

}  // namespace quarn

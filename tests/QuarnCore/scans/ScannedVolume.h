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

  /// With home folders, a store of scans of all these users.
  [[nodiscard]] ScanStore store(const FileManager& files, const std::vector<FileURL>& homes = {}) const {
    const std::vector<FileURL> all = homes.empty() ? std::vector{files.homeDirectory()} : homes;
    return {{.programVersion = "1.2.3",
             .vendorProfiles = static_cast<std::int64_t>(vendors.size()),
             .locale = "en",
             .appDiscovery = AppDiscoveryClient::live(files, all),
             .launchdScanner = LaunchdScanner::live(files, all),
             .receiptScanner = ReceiptScanner::live(files),
             .ownership = ownership(files, all),
             .dashboard = [this, files](const FileSizeCalculator& sizes) { return dashboard(files, sizes); },
             .inspection = [this, files](const FileSizeCalculator& sizes,
                                         const Cancellation&) { return inspection(files, sizes); },
             .extensions = [=](const FileSizeCalculator& sizes) { return KernelExtensionService::live(files, sizes); },
             .homes = homes,
             .dashboardOf = [this, files](
                                const FileURL& home,
                                const FileSizeCalculator& sizes) { return dashboard(files.withHome(home), sizes); }},
            files};
  }

  [[nodiscard]] OwnershipService ownership(const FileManager& files, const std::vector<FileURL>& homes) const {
    return {VendorProfileRegistry(vendors), EntitlementsReader::live(files), LaunchdScanner::live(files, homes),
            ReceiptScanner::live(files), files};
  }
  using DashboardVolume::dashboard;
  [[nodiscard]] StorageDashboardService dashboard(const FileManager& files, const FileSizeCalculator& sizes) const {
    return {VolumeInfoClient::live(files),
            sizes,
            StorageSignatureRegistry({1, signatures}),
            VolumeLocationChecker::live(files),
            VendorPathHintIndex(VendorProfileRegistry(vendors), files.homeDirectory(), files),
            QuarantineManager::live(files),
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

/// A folder for scans, in which an unprivileged user may write too.
class ScanFolder {
 public:
  ScanFolder() { folder_.folder("/scans").mode("/scans", 0777); }
  [[nodiscard]] std::string at(const std::string& name) const { return folder_.host("/scans/" + name); }

 private:
  MacVolume folder_;
};

}  // namespace quarn

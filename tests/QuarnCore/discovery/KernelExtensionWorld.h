#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "QuarnCore/discovery/KernelExtensionAssociationService.h"
#include "QuarnPlatform/paths/Path.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// Extensions, receipts and vendor profiles for one app, "com.example.App". A receipt of a package "com.example.…"
/// belongs to that app, one of "com.second.…" to `secondApp`.
class KernelExtensionWorld {
 public:
  VendorProfile& profile(const std::string& name, const std::vector<std::string>& paths,
                         const std::string& bundleID = "com.example.App") {
    profiles_.push_back({.id = name,
                         .displayName = name,
                         .match = {.bundleIDs = {bundleID}},
                         .artifacts = {{.kind = ArtifactKind::kernelExtension, .title = name, .paths = paths}}});
    return profiles_.back();
  }

  void carveOut(const std::string& name, const std::vector<std::string>& paths) {
    profiles_.push_back({.id = name,
                         .displayName = name,
                         .match = {.bundleIDs = {"com.example.App"}},
                         .carveOuts = {{.title = name, .paths = paths, .reason = "Shared."}}});
  }

  void receipt(const std::string& packageID, const std::string& path) { receipts_[path].push_back(packageID); }

  KernelExtensionInfo install(const std::string& path, std::optional<SizeInfo> size = std::nullopt) {
    const FileURL url(path);
    installed_.push_back({.name = std::string(path::stem(path)) + " name", .url = url, .size = size});
    return installed_.back();
  }

  void installSystems(const std::string& path) { systems_.push_back({.name = "System's", .url = FileURL(path)}); }

  [[nodiscard]] static AppEntity app() { return entity("Example", "com.example.App"); }
  [[nodiscard]] static AppEntity secondApp() { return entity("Second", "com.second.App"); }

  /// The number of times that the receipts were read.
  [[nodiscard]] int readings() const { return *readings_; }

  [[nodiscard]] KernelExtensionAssociationService service() const {
    return {VendorProfileRegistry(profiles_), receiptScanner(), extensionService(), FileURL(volume_.home()),
            volume_.files()};
  }

 private:
  static AppEntity entity(const std::string& name, const std::string& bundleID) {
    return {.name = name,
            .bundleIdentifier = bundleID,
            .bundleURL = FileURL("/Applications/" + name + ".app"),
            .id = bundleID};
  }

  [[nodiscard]] ReceiptScanner receiptScanner() const {
    ReceiptSnapshot snapshot{.allReceipts = {},
                             .receiptsMatching = {},
                             .packageIDs =
                                 [receipts = receipts_](const std::string& path) {
                                   const auto found = receipts.find(path);
                                   return found == receipts.end() ? std::vector<std::string>() : found->second;
                                 },
                             .matches =
                                 [](const AppEntity& app, const std::string& packageID) {
                                   const std::size_t dot = app.bundleIdentifier->rfind('.');
                                   return packageID.starts_with(app.bundleIdentifier->substr(0, dot + 1));
                                 }};
    return {.snapshot = [snapshot = std::move(snapshot), readings = readings_] {
      ++*readings;
      return snapshot;
    }};
  }

  [[nodiscard]] KernelExtensionService extensionService() const {
    return {.installedKernelExtensions = [installed = installed_, systems = systems_](bool includeMacOS) {
      std::vector<KernelExtensionInfo> all = installed;
      if (includeMacOS) all.insert(all.end(), systems.begin(), systems.end());
      return all;
    }};
  }

  MacVolume volume_;
  std::shared_ptr<int> readings_ = std::make_shared<int>(0);
  std::vector<VendorProfile> profiles_;
  std::map<std::string, std::vector<std::string>> receipts_;
  std::vector<KernelExtensionInfo> installed_;
  std::vector<KernelExtensionInfo> systems_;
};

}  // namespace quarn

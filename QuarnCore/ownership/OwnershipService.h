#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "QuarnCore/ownership/UsersMap.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/EntitlementsReader.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

struct OwnershipSources;

/// Finds the owners of the entries in the app-data folders. It compares all apps at once; the app with the strongest
/// evidence gets the entry. A plain value; synchronous. Never throws for items that cannot be read: they are no
/// evidence.
class OwnershipService {
 public:
  /// The sources of a map. No field has a default: the caller chooses every value.
  struct Options {
    bool readBundles;      ///< entitlements, embedded bundles and helpers of every app
    bool includeReceipts;  ///< the paths in receipts
    bool includeLaunchd;   ///< the programs of launchd jobs
    bool includeProfiles;  ///< the paths of vendor profiles
    bool includeSystem;    ///< the places in /Library and /Users/Shared
  };
  /// All sources and places.
  static constexpr Options kEverything{.readBundles = true,
                                       .includeReceipts = true,
                                       .includeLaunchd = true,
                                       .includeProfiles = true,
                                       .includeSystem = true};

  /// Called on the calling thread with the name of the next place.
  using Progress = std::function<void(std::string_view place)>;

  OwnershipService(VendorProfileRegistry vendorProfiles, EntitlementsReader entitlementsReader,
                   LaunchdScanner launchdScanner, ReceiptScanner receiptScanner, FileManager files);

  /// The map of the volume for these installed apps. If cancelled, returns an incomplete map.
  [[nodiscard]] OwnershipMap map(const std::vector<AppEntity>& apps, const Options& options,
                                 const Progress& progress = nullptr,
                                 const Cancellation& cancellation = Cancellation::never()) const;
  /// A map for each of these home folders. The launchd scanner must know the jobs of all of them. Reads the apps, the
  /// receipts, the jobs and the folders of the volume once.
  [[nodiscard]] UsersMap mapOfUsers(const HomeFolders& homes, const std::vector<AppEntity>& apps,
                                    const Options& options, const Progress& progress = nullptr,
                                    const Cancellation& cancellation = Cancellation::never()) const;

 private:
  [[nodiscard]] std::shared_ptr<OwnershipSources> readSources(const std::vector<AppEntity>& apps,
                                                              const Options& options,
                                                              const Cancellation& cancellation) const;
  [[nodiscard]] OwnershipMap mapOf(const FileManager& files, const std::shared_ptr<OwnershipSources>& sources,
                                   const Options& options, const Progress& progress,
                                   const Cancellation& cancellation) const;

  VendorProfileRegistry vendorProfiles_;
  EntitlementsReader entitlementsReader_;
  LaunchdScanner launchdScanner_;
  ReceiptScanner receiptScanner_;
  FileManager files_;
};

}  // namespace quarn

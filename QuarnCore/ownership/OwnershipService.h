#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/EntitlementsReader.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

/// Says whose the entries of the app-data folders are, all apps at once: what an app has stronger evidence for, another
/// one does not get. A plain value; synchronous; does not fail: what cannot be read says nothing.
class OwnershipService {
 public:
  /// What a map is made from. No field has a default: the caller chooses every value.
  struct Options {
    bool readBundles;      ///< entitlements, embedded bundles and helpers of every app
    bool includeReceipts;  ///< what receipts list
    bool includeLaunchd;   ///< what launchd jobs run
    bool includeProfiles;  ///< what vendor profiles name
    bool includeSystem;    ///< the places in /Library and /Users/Shared
  };
  /// Everything on.
  static constexpr Options kEverything{.readBundles = true,
                                       .includeReceipts = true,
                                       .includeLaunchd = true,
                                       .includeProfiles = true,
                                       .includeSystem = true};

  /// Called on the calling thread with the name of the place that is looked at next.
  using Progress = std::function<void(std::string_view place)>;

  OwnershipService(VendorProfileRegistry vendorProfiles, EntitlementsReader entitlementsReader,
                   LaunchdScanner launchdScanner, ReceiptScanner receiptScanner, FileManager files);

  /// The map of the volume for these installed apps. Cancelled: what was found so far, incomplete.
  [[nodiscard]] OwnershipMap map(const std::vector<AppEntity>& apps, const Options& options,
                                 const Progress& progress = nullptr,
                                 const Cancellation& cancellation = Cancellation::never()) const;

 private:
  VendorProfileRegistry vendorProfiles_;
  EntitlementsReader entitlementsReader_;
  LaunchdScanner launchdScanner_;
  ReceiptScanner receiptScanner_;
  FileManager files_;
};

}  // namespace quarn

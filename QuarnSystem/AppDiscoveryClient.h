#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Lists the installed applications. A plain value; a test or a shell may replace the function.
struct AppDiscoveryClient {
  /// Every installed application, complete, ordered by localised case-insensitive name and then by path. Cannot fail.
  std::function<std::vector<AppEntity>()> discoverApplications;

  /// Looks in /Applications, /System/Applications, /System/Library/CoreServices/Applications and ~/Applications and up
  /// to three folders below each, hidden ones too, never inside a package. An app is a folder whose name ends in ".app"
  /// in any letter case. A link, to an app or to a folder of apps, stands for what it leads to; each app is listed
  /// once, by its resolved URL, and a link that dangles, loops or would leave the volume contributes nothing.
  ///
  /// Name: CFBundleDisplayName, else CFBundleName, else the bundle's stem. An app whose Info.plist is missing or broken
  /// (see `readBundleInfo`) has no identifier and no version.
  static AppDiscoveryClient live(FileManager files);
};

}  // namespace quarn

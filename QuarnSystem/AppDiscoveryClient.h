#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Lists the installed applications. Replaceable, for example in tests.
struct AppDiscoveryClient {
  /// All installed applications, sorted by localised case-insensitive name, then by path. Cannot fail.
  std::function<std::vector<AppEntity>()> discoverApplications;

  /// Searches /Applications, /System/Applications, /System/Library/CoreServices/Applications and ~/Applications, and
  /// up to three folder levels below each. Includes hidden folders, but does not enter packages. An app is a folder
  /// with a name that ends in ".app", in any case. A link to an app or to a folder of apps represents its target.
  /// Each app is listed once, by its resolved URL. Links that dangle, loop or would leave the volume are ignored.
  ///
  /// The name is CFBundleDisplayName, else CFBundleName, else the name of the bundle without extension. Without a
  /// valid Info.plist (see `readBundleInfo`), an app has no identifier and no version.
  static AppDiscoveryClient live(FileManager files);
  /// The same for several users: searches the folder `Applications` of each of these home folders, in this order.
  static AppDiscoveryClient live(FileManager files, std::vector<FileURL> homes);
};

}  // namespace quarn

#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnPlatform/FileManager.h"

namespace quarn {

/// Lists the installed applications. A plain value; a test or a shell may replace the function.
struct AppDiscoveryClient {
  /// Every installed application, complete, ordered by localised case-insensitive name and then by path. Cannot fail.
  std::function<std::vector<AppEntity>()> discoverApplications;

  /// Looks in /Applications, /System/Applications, /System/Library/CoreServices/Applications and ~/Applications and up
  /// to three folders below each, never inside a package; a link is resolved and each app listed once.
  static AppDiscoveryClient live(FileManager files);
};

}  // namespace quarn

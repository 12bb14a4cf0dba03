#pragma once

#include <functional>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Reads the entitlements in an app's code signature. Replaceable, for example in tests.
struct EntitlementsReader {
  /// The entitlements of the app with that bundle. Empty if it has no signature or no groups. Cannot fail.
  std::function<EntitlementsInfo(const FileURL& forAppAt)> readEntitlements;

  /// The identifier of the team that signed the app with that bundle; empty without one. Cannot fail.
  std::function<std::string(const FileURL& forAppAt)> readTeamIdentifier = {};

  /// Reads the main executable (CFBundleExecutable, else the name of the bundle without extension) in Contents/MacOS,
  /// Contents or the bundle itself: the first slice with entitlements in the order arm64, x86_64, others. Ignores an
  /// executable name with "/". Reads only headers and signatures, whatever the size of the program.
  static EntitlementsReader live(FileManager files);
};

}  // namespace quarn

#pragma once

#include <functional>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Reads what an app's code signature entitles it to. A plain value; a test or a shell may replace the function.
struct EntitlementsReader {
  /// The entitlements of the app whose bundle lies at the URL; empty without a signature or without groups. Cannot
  /// fail.
  std::function<EntitlementsInfo(const FileURL& forAppAt)> readEntitlements;

  /// From the main executable (CFBundleExecutable, else the bundle's stem) in Contents/MacOS, Contents or the bundle
  /// itself: the first slice with entitlements in the order arm64, x86_64, others. An executable that is named by a
  /// path is none. Reads the program's headers and signatures, whatever its size.
  static EntitlementsReader live(FileManager files);
  /// The same for the inspection of several apps: a program that many apps share by hard links is read once. Safe to
  /// use from several threads.
  static EntitlementsReader snapshot(FileManager files);
};

}  // namespace quarn

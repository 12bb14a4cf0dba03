#pragma once

#include <functional>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/FileManager.h"

namespace quarn {

/// Facts of the system volume. A plain value; a test or a shell may replace the function.
struct VolumeInfoClient {
  /// The inspected system volume. Throws FileError when it cannot be read.
  std::function<VolumeInfo()> systemVolume;
  static VolumeInfoClient live(FileManager files);
};

/// Tells other volumes from the system's. A plain value; a test or a shell may replace the function.
struct VolumeLocationChecker {
  /// Whether a URL, links resolved, lies in /Volumes and not on the system volume itself (whose entry there is a link
  /// to
  /// "/"). Cannot fail.
  std::function<bool(const FileURL& url)> isExternal;
  static VolumeLocationChecker live(FileManager files);
};

/// Where a shell moves what it quarantines. A plain value; a test or a shell may replace the function.
struct QuarantineManager {
  /// ~/Library/Application Support/Quarn/Quarantine; need not exist.
  std::function<FileURL()> baseURL;
  static QuarantineManager live(FileManager files);
};

}  // namespace quarn

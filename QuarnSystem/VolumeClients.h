#pragma once

#include <functional>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Facts of the system volume. A plain value; a test or a shell may replace the function.
struct VolumeInfoClient {
  /// The inspected system volume: URL "/", the space of the file system that holds it, and its name, which is that of
  /// the link to "/" in /Volumes, else of the host's folder, else "Macintosh HD". Throws FileError when it cannot be
  /// read.
  std::function<VolumeInfo()> systemVolume;

  static VolumeInfoClient live(FileManager files);
};

/// Tells other volumes from the system's. A plain value; a test or a shell may replace the function.
struct VolumeLocationChecker {
  /// Whether a URL, links resolved, lies in /Volumes (which itself does not) and not on the system volume itself, whose
  /// entry there is a link to "/". Cannot fail.
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

#pragma once

#include <functional>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Facts about the system volume. Replaceable, for example in tests.
struct VolumeInfoClient {
  /// The inspected system volume: the URL "/", the space of its file system, and its name. The name is that of the
  /// link to "/" in /Volumes, else that of the host folder, else "Macintosh HD". Throws FileError if it cannot be
  /// read.
  std::function<VolumeInfo()> systemVolume;

  static VolumeInfoClient live(FileManager files);
};

/// Distinguishes other volumes from the system volume. Replaceable, for example in tests.
struct VolumeLocationChecker {
  /// True if a URL, after resolving links, is below /Volumes but not on the system volume. (The system volume's entry
  /// in /Volumes is a link to "/".) Also true if it is in the home folder but on another device. Cannot fail.
  std::function<bool(const FileURL& url)> isExternal;
  static VolumeLocationChecker live(FileManager files);
};

/// The folder for quarantined items. Replaceable, for example in tests.
struct QuarantineManager {
  /// ~/Library/Application Support/Quarn/Quarantine; it need not exist.
  std::function<FileURL()> baseURL;
  static QuarantineManager live(FileManager files);
};

}  // namespace quarn

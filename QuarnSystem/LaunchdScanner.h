#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Lists launchd jobs. Replaceable, for example in tests.
struct LaunchdScanner {
  /// All jobs of the user and the system, folder by folder (~/Library/LaunchAgents, /Library/LaunchAgents,
  /// /Library/LaunchDaemons, /System/Library/LaunchAgents, /System/Library/LaunchDaemons), in ascending order of the
  /// file names. Cannot fail.
  std::function<std::vector<LaunchdEntry>()> scan;

  /// Reads the property lists in those folders (see `propertyListFiles`). Skips files without a Label string. Ignores
  /// ProgramArguments unless all of them are strings.
  static LaunchdScanner live(FileManager files);
  /// The same for several users: begins with the jobs of each of these home folders, in this order.
  static LaunchdScanner live(FileManager files, std::vector<FileURL> homes);
  /// The same, but reads the folders only once, on first use. Thread-safe.
  static LaunchdScanner snapshot(FileManager files);
};

}  // namespace quarn

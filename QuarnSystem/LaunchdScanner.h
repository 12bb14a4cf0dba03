#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Lists launchd jobs. A plain value; a test or a shell may replace the function.
struct LaunchdScanner {
  /// All jobs of the user and of the system: folder by folder (~/Library/LaunchAgents, /Library/LaunchAgents,
  /// /Library/LaunchDaemons, /System/Library/LaunchAgents, /System/Library/LaunchDaemons), names ascending. Cannot
  /// fail.
  std::function<std::vector<LaunchdEntry>()> scan;

  /// From the property lists in those folders (see `propertyListFiles`); a file without a Label string is no job, and
  /// ProgramArguments count only when all of them are strings.
  static LaunchdScanner live(FileManager files);
  /// The same, read once, when it is first asked for. Safe to use from several threads.
  static LaunchdScanner snapshot(FileManager files);
};

}  // namespace quarn

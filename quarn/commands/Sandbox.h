#pragma once

#include <string>
#include <vector>

namespace quarn {

/// What a confined process may reach. Paths of the host; missing ones are ignored.
struct SandboxRules {
  /// Folders with everything in them, and files.
  std::vector<std::string> readable = {};
  /// Folders in which the process creates, renames and removes files, and files that it writes.
  std::vector<std::string> writable = {};
};

/// Which confinements are active.
struct SandboxState {
  /// The process can open no other file. It can list other folders where the system can seal memory.
  bool filesAreConfined = false;
  /// No other programs, no network, no mounts, no changes of owners, times, attributes and modes. A process that writes
  /// files can change the modes of files that it has open.
  bool callsAreConfined = false;
};

/// Confines the calling thread and the threads that it starts, for the life of the process, as far as the system can.
/// Open descriptors stay usable. A refused call fails with EACCES or EPERM, an ioctl with ENOTTY.
SandboxState enterSandbox(const SandboxRules& rules);

}  // namespace quarn

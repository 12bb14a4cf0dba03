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
  bool filesAreConfined = false;  ///< the process can read and write nothing else
  bool callsAreConfined = false;  ///< no other programs, no network, no changes of modes, owners, times or attributes
};

/// Confines the calling thread and the threads that it starts, for the life of the process, as far as the system can.
/// Open descriptors stay usable. A refused call fails with EACCES or EPERM.
SandboxState enterSandbox(const SandboxRules& rules);

}  // namespace quarn

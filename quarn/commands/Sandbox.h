#pragma once

#include <string>
#include <vector>

namespace quarn {

/// What the process may still reach once it is confined. Paths of the host; what does not exist is left out.
struct SandboxRules {
  std::vector<std::string> readable;  ///< folders and files, with all below them
  std::vector<std::string> writable;  ///< folders in which files are made, renamed and removed; files that are written
};

/// Which confinements hold.
struct SandboxState {
  bool filesAreConfined = false;  ///< nothing else can be read or written
  bool callsAreConfined = false;  ///< no programs, no network, no changes to files that the command does not make
};

/// Confines the calling thread and the threads that it starts, for the life of the process, as far as the system can.
/// Descriptors that are open stay usable. A call that is refused fails with EACCES or EPERM.
SandboxState enterSandbox(const SandboxRules& rules);

}  // namespace quarn

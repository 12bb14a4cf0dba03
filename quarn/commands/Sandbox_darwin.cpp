#include "quarn/commands/Sandbox.h"

namespace quarn {

// macOS has no public interface by which a program confines itself at run time.
SandboxState enterSandbox(const SandboxRules& /*rules*/) { return {}; }

}  // namespace quarn

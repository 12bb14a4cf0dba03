#pragma once

#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// Returns the flag that Ctrl-C sets. The first interrupt sets it; the second terminates the process.
Cancellation interruptedFlag();

}  // namespace quarn

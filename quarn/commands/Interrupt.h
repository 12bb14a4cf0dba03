#pragma once

#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// The flag that Ctrl-C sets: the first interrupt asks the work to end with what it has, the second ends the process.
Cancellation interruptedFlag();

}  // namespace quarn

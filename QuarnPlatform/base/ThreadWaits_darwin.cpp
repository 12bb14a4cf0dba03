#include "QuarnPlatform/base/ThreadWaits.h"

namespace quarn {

// The system counts the waits of processes, not of threads.
std::optional<std::int64_t> waitsOfThisThread() { return std::nullopt; }

}  // namespace quarn

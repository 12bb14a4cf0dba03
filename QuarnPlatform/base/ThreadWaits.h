#pragma once

#include <cstdint>
#include <optional>

namespace quarn {

/// How often the calling thread has given up its core so far because it had to wait, for example for a disk. A thread
/// that another one displaces from its core does not count. Absent if the system does not say.
std::optional<std::int64_t> waitsOfThisThread();

}  // namespace quarn

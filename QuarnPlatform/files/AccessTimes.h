#pragma once

#include <cstdint>

namespace quarn {

/// How openings treat the access times of what they open. Reading a link always changes its access time where the
/// system keeps one.
enum class AccessTimes : std::uint8_t {
  keepIfPermitted,  ///< keep them where the system lets this user
  keepOrFail,       ///< open nothing (EPERM) whose access time would change
};

}  // namespace quarn

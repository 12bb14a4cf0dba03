#pragma once

#include <cstdint>

namespace quarn {

/// How openings treat the access times of what they open. Reading a link always changes its access time where the
/// system keeps one. On Linux each opening asks to keep them; on macOS the process does, see `keepAccessTimes`.
enum class AccessTimes : std::uint8_t {
  keepIfPermitted,  ///< keep them where the system lets this user
  keepOrFail,       ///< open nothing whose access time would change (EPERM; on macOS EACCES)
};

}  // namespace quarn

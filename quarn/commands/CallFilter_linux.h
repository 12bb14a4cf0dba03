#pragma once

#include <cstdint>
#include <vector>

#include <linux/filter.h>

namespace quarn {

/// How far the filter confines the calls that open.
enum class OpeningCalls : std::uint8_t {
  unfiltered,
  cannotTruncate,  ///< openat2 only with `openHows()`, which must be sealed; the others without O_TRUNC
};

struct CallRules {
  OpeningCalls opening = OpeningCalls::unfiltered;
  bool writesFiles = false;  ///< if not, the mode of an open file cannot be changed either
};

/// The lines of a seccomp filter that refuses what the command never does: other programs, other processes, the
/// network, the system's settings, and changes to files but those that its output takes. Empty if there is none for
/// this processor. A refused call fails with EPERM, an ioctl that is not about terminals with ENOTTY.
std::vector<sock_filter> callFilter(const CallRules& rules);

}  // namespace quarn

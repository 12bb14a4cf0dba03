#pragma once

#include <cerrno>

#include <fcntl.h>

#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/AccessTimes.h"

namespace quarn {

/// Opens with O_NOATIME, which the system grants for the user's own items and to root, or without it where the policy
/// allows. `open` makes the call with the flags that it is given.
template <class Open>
int openKeepingAccessTimes(int flags, AccessTimes policy, Open open) {
  const int opened = againIfInterrupted([&] { return open(flags | O_NOATIME); });
  if (opened >= 0 || errno != EPERM || policy == AccessTimes::keepOrFail) return opened;
  return againIfInterrupted([&] { return open(flags); });
}

}  // namespace quarn

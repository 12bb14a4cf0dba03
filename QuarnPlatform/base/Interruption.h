#pragma once

#include <cerrno>

namespace quarn {

/// Makes a system call, and makes it again as long as a signal interrupts it. `call` returns a negative number and sets
/// errno when it fails, as system calls do.
template <class Call>
auto againIfInterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace quarn

#pragma once

#include <cstdint>
#include <span>

#include <linux/openat2.h>

namespace quarn {

/// Every argument with which this library calls openat2, in one read-only object. A filter of system calls sees only
/// where an argument lies, not what it says, so a program that confines itself can allow openat2 for these places and
/// nothing else, once it has sealed their memory (`sealOpenHows`). None of them writes, creates or truncates.
std::span<const open_how> openHows();

/// Makes the memory of `openHows()` read-only until the process ends, whatever it calls. False if the system cannot:
/// Linux can since 6.10.
bool sealOpenHows();

/// Calls openat2 with the element of `openHows()` that has these flags and rules. Returns a descriptor, or -1 with
/// errno set. If no element has them, it calls nothing, and errno is EINVAL.
int openWithHow(int folder, const char* path, int flags, std::uint64_t rules);

}  // namespace quarn

#pragma once

namespace quarn {

/// True in a build with the address or thread sanitizer. They read the process from another one and replace its
/// allocator, so the command does not confine itself then.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

}  // namespace quarn

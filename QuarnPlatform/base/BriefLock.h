#pragma once

#include <mutex>

namespace quarn {

/// Locks a mutex that nobody holds for long: tries for a while before the thread falls asleep, because falling asleep
/// and being woken take longer than waiting does.
inline void lockBriefly(std::unique_lock<std::mutex>& lock) {
  constexpr int kAttempts = 200;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (lock.try_lock()) return;
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
  }
  lock.lock();
}

[[nodiscard]] inline std::unique_lock<std::mutex> lockBriefly(std::mutex& mutex) {
  std::unique_lock<std::mutex> lock(mutex, std::defer_lock);
  lockBriefly(lock);
  return lock;
}

}  // namespace quarn

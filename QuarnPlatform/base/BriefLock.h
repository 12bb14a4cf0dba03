#pragma once

#include <mutex>

namespace quarn {

/// Locks a mutex that is only held briefly. Spins before it blocks, because blocking and waking up take longer than
/// the wait.
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

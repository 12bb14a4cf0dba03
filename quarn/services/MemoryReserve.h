#pragma once

#include <cstddef>

namespace quarn {

/// Memory that the program sets aside, so that it can end an operation in order when there is no more. Installs a
/// handler for operator new; one reserve lives at a time, from `main`.
///
/// Destructors must not throw, and those of the JSON library allocate. So a failing allocation first gets the small
/// part of the reserve and is tried again. The next one throws std::bad_alloc. While that exception unwinds the stack,
/// allocations get the large part. Thread-safe.
class MemoryReserve {
 public:
  static constexpr std::size_t kSmallBytes = std::size_t{1} << 20;
  static constexpr std::size_t kLargeBytes = std::size_t{4} << 20;

  MemoryReserve();
  MemoryReserve(const MemoryReserve&) = delete;
  MemoryReserve& operator=(const MemoryReserve&) = delete;
  ~MemoryReserve();

  /// Sets memory aside again after an operation has ended, as far as there is some. Cheap if nothing is missing.
  static void refill();
};

}  // namespace quarn

#include "quarn/services/MemoryReserve.h"

#include <atomic>
#include <cstdlib>
#include <exception>
#include <new>

namespace quarn {
namespace {

/// A block that one thread can take. Memory from malloc that is never written costs address space alone.
class Part {
 public:
  void refill(std::size_t bytes) {
    if (block_.load() != nullptr) return;
    void* const fresh = std::malloc(bytes);  // NOLINT(cppcoreguidelines-no-malloc): operator new calls the handler
    void* missing = nullptr;
    if (!block_.compare_exchange_strong(missing, fresh)) std::free(fresh);  // NOLINT(cppcoreguidelines-no-malloc)
  }
  /// True if there was memory to give back.
  bool release() {
    void* const block = block_.exchange(nullptr);
    std::free(block);  // NOLINT(cppcoreguidelines-no-malloc)
    return block != nullptr;
  }

 private:
  std::atomic<void*> block_ = nullptr;
};

Part smallPart;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): the handler has no context
Part largePart;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

void makeRoom() {
  if (smallPart.release()) return;
  if (std::uncaught_exceptions() > 0 && largePart.release()) return;
  throw std::bad_alloc();
}

}  // namespace

MemoryReserve::MemoryReserve() {
  refill();
  std::set_new_handler(makeRoom);
}

MemoryReserve::~MemoryReserve() {
  std::set_new_handler(nullptr);
  smallPart.release();
  largePart.release();
}

void MemoryReserve::refill() {
  smallPart.refill(kSmallBytes);
  largePart.refill(kLargeBytes);
}

}  // namespace quarn

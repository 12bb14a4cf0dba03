#include "QuarnPlatform/base/Parallel.h"

#include <atomic>
#include <future>
#include <system_error>

#include "QuarnPlatform/base/HelperThread.h"

namespace quarn {
namespace {

constexpr std::size_t kFew = 8;

}  // namespace

void inParallel(std::size_t count, const std::function<void(std::size_t index)>& work) {
  std::atomic<std::size_t> next = 0;
  const auto takeTurns = [&] {
    try {
      for (std::size_t index = next++; index < count; index = next++) work(index);
    } catch (...) {
      next = count;
      throw;
    }
  };
  std::future<void> helper;
  try {
    if (count >= kFew) {
      helper = std::async(std::launch::async, [&] {
        becomeHelperThread();
        takeTurns();
      });
    }
  } catch (const std::system_error&) {
    // Could not start a thread; the calling thread does all the work.
  }
  takeTurns();
  if (helper.valid()) helper.get();
}

}  // namespace quarn

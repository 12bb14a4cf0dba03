#include <sys/resource.h>

#include "QuarnPlatform/base/ThreadWaits.h"

namespace quarn {

std::optional<std::int64_t> waitsOfThisThread() {
  rusage usage{};
  if (::getrusage(RUSAGE_THREAD, &usage) != 0) return std::nullopt;
  return usage.ru_nvcsw;
}

}  // namespace quarn

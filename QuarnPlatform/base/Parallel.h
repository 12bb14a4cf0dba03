#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace quarn {

/// Calls `work(index)` once for each index below `count`, on the calling thread and one more thread, and returns when
/// all calls are done. The order and the assignment to threads are unspecified, so `work` must be thread-safe. If a
/// call throws, rethrows the first exception after the running calls have ended. Without a second thread, the calling
/// thread does all the work.
void inParallel(std::size_t count, const std::function<void(std::size_t index)>& work);

/// Collects the results of `make(index)` for all indices below `count`, in order, without absent results. Calls
/// `make` like `inParallel`.
template <class Value>
std::vector<Value> collectInParallel(std::size_t count,
                                     const std::function<std::optional<Value>(std::size_t index)>& make) {
  std::vector<std::optional<Value>> made(count);
  inParallel(count, [&](std::size_t index) { made[index] = make(index); });
  std::vector<Value> values;
  values.reserve(count);
  for (std::optional<Value>& value : made) {
    if (value) values.push_back(std::move(*value));
  }
  return values;
}

}  // namespace quarn

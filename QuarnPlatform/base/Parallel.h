#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace quarn {

/// Calls `work(index)` once for each index below `count`, on the calling thread and on a further one, and returns when
/// all are done. Which thread takes which index, and in which order, is open: `work` must be safe to call from two
/// threads at once. Its first exception is thrown on, after the calls that had begun. Without a further thread to be
/// had, the calling one does everything.
void inParallel(std::size_t count, const std::function<void(std::size_t index)>& work);

/// What `make(index)` gives for the indices below `count`, in their order, those left out for which it gives nothing.
/// Called as `inParallel` calls.
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

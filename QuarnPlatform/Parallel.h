#pragma once

#include <cstddef>
#include <functional>

namespace quarn {

/// Calls `work(index)` once for each index below `count`, on the calling thread and on a further one, and returns when
/// all are done. Which thread takes which index, and in which order, is open: `work` must be safe to call from two
/// threads at once. Its first exception is thrown on, after the calls that had begun. Without a further thread to be
/// had, the calling one does everything.
void inParallel(std::size_t count, const std::function<void(std::size_t index)>& work);

}  // namespace quarn

#pragma once

#include <algorithm>

#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// Sorts as std::sort does, and gives up when cancelled: false then, and the elements are in no particular order. The
/// names of a folder with a million entries take longer to sort than a user who cancels wants to wait.
template <class Iterator, class Less>
bool sortUnlessCancelled(Iterator begin, Iterator end, Less less, const Cancellation& cancellation) {
  struct Cancelled {};
  try {
    std::sort(begin, end, [&](const auto& left, const auto& right) {
      if (cancellation.isCancelled()) throw Cancelled();
      return less(left, right);
    });
  } catch (const Cancelled&) {
    return false;
  }
  return !cancellation.isCancelled();
}

}  // namespace quarn

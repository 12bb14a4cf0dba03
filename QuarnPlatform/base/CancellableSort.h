#pragma once

#include <algorithm>

#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// std::sort with cancellation. If cancelled, returns false and leaves the elements in unspecified order. Sorting the
/// names of a folder with a million entries takes long enough to need this.
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

#pragma once

#include <utility>

#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// A calculator that only sizes items, with the given function. To ask it anything else is an error of the test and
/// throws std::bad_function_call.
inline FileSizeCalculator sizesBy(decltype(FileSizeCalculator::itemSizeExcluding) itemSizeExcluding) {
  return {.itemSizeExcluding = std::move(itemSizeExcluding), .enumeratingDirectorySize = {}, .resourceSize = {}};
}

}  // namespace quarn

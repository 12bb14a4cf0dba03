#pragma once

#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

/// Size of an item or a set of items: allocated bytes (space on the disk) and logical bytes (content length), in this
/// order.
using SizeInfo = ByteCounts;

}  // namespace quarn

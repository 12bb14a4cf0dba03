#pragma once

#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

/// The size of one or more items: allocated bytes (space on disk), then logical bytes (length of the content).
using SizeInfo = ByteCounts;

}  // namespace quarn

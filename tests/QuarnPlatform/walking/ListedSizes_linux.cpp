#include "tests/QuarnPlatform/walking/ListedSizes.h"

namespace quarn {

bool sizesComeWithNames() { return false; }

}  // namespace quarn

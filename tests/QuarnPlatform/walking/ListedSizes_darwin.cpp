#include "tests/QuarnPlatform/walking/ListedSizes.h"

namespace quarn {

bool sizesComeWithNames() { return true; }

}  // namespace quarn

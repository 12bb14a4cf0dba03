#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

void throwSizeOverflow() { throw SizeOverflow(); }

}  // namespace quarn

#include "QuarnPlatform/base/HelperThread.h"

namespace quarn {

void becomeHelperThread() {}

}  // namespace quarn

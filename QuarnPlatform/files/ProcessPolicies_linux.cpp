#include "QuarnPlatform/files/ProcessPolicies.h"

namespace quarn {

bool refuseCloudDownloads() { return true; }
bool keepAccessTimes() { return true; }

}  // namespace quarn

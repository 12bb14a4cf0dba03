#include "QuarnPlatform/files/CloudDownloads.h"

namespace quarn {

bool refuseCloudDownloads() { return true; }

}  // namespace quarn

#include <cstdio>

#include "QuarnPlatform/files/CloudDownloads.h"
#include "quarn/Process.h"

namespace quarn {

void settleProcess() {
  if (!refuseCloudDownloads()) std::perror("quarn: files that are only in the cloud may be downloaded");
}

}  // namespace quarn

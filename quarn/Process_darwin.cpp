#include <cstdio>

#include "QuarnPlatform/files/ProcessPolicies.h"
#include "quarn/Process.h"

namespace quarn {

void settleProcess() {
  if (!refuseCloudDownloads()) std::perror("quarn: warning: files that are only in the cloud may be downloaded");
  if (!keepAccessTimes()) std::perror("quarn: warning: reading may change access times");
}

}  // namespace quarn

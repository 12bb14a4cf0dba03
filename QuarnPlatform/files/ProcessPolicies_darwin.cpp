#include <sys/resource.h>

#include "QuarnPlatform/files/ProcessPolicies.h"

namespace quarn {

bool refuseCloudDownloads() {
  return ::setiopolicy_np(IOPOL_TYPE_VFS_MATERIALIZE_DATALESS_FILES, IOPOL_SCOPE_PROCESS,
                          IOPOL_MATERIALIZE_DATALESS_FILES_OFF) == 0;
}

bool keepAccessTimes() {
  return ::setiopolicy_np(IOPOL_TYPE_VFS_ATIME_UPDATES, IOPOL_SCOPE_PROCESS, IOPOL_ATIME_UPDATES_OFF) == 0;
}

}  // namespace quarn

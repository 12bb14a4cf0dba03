#include <sys/resource.h>

#include "QuarnPlatform/files/CloudDownloads.h"

namespace quarn {

bool refuseCloudDownloads() {
  return ::setiopolicy_np(IOPOL_TYPE_VFS_MATERIALIZE_DATALESS_FILES, IOPOL_SCOPE_PROCESS,
                          IOPOL_MATERIALIZE_DATALESS_FILES_OFF) == 0;
}

}  // namespace quarn

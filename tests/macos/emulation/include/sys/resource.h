#pragma once
#include_next <sys/resource.h>

#define IOPOL_TYPE_VFS_ATIME_UPDATES 2
#define IOPOL_TYPE_VFS_MATERIALIZE_DATALESS_FILES 3
#define IOPOL_SCOPE_PROCESS 0
#define IOPOL_ATIME_UPDATES_DEFAULT 0
#define IOPOL_ATIME_UPDATES_OFF 1
#define IOPOL_MATERIALIZE_DATALESS_FILES_DEFAULT 0
#define IOPOL_MATERIALIZE_DATALESS_FILES_OFF 1
#ifdef __cplusplus
extern "C" {
#endif
int setiopolicy_np(int type, int scope, int policy);
int getiopolicy_np(int type, int scope);
#ifdef __cplusplus
}
#endif

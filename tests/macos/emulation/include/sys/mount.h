#pragma once
// statfs(2); its fields that are used have the same names.
#include <sys/statfs.h>
#include <sys/statvfs.h>

#define MNT_RDONLY ST_RDONLY
#define MNT_NOATIME ST_NOATIME

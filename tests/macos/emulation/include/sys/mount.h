#pragma once
// statfs(2); its fields that are used have the same names.
#include <sys/statfs.h>

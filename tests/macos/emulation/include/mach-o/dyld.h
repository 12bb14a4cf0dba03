#pragma once
// _NSGetExecutablePath(3).
#include <stdint.h>

#ifdef __cplusplus
extern "C"
#endif
    int
    _NSGetExecutablePath(char* buffer, uint32_t* size);

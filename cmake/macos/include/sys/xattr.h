#pragma once
// Missing in the cross compiler's headers; from the manual pages setxattr(2) and getxattr(2).
#include <stdint.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif
int fsetxattr(int descriptor, const char* name, const void* value, size_t size, uint32_t position, int options);
ssize_t fgetxattr(int descriptor, const char* name, void* value, size_t size, uint32_t position, int options);
#ifdef __cplusplus
}
#endif

#pragma once
#include <stdint.h>
#include_next <unistd.h>

#ifdef __cplusplus
extern "C" {
#endif
int getattrlistbulk(int folder, void* wanted, void* buffer, size_t size, uint64_t options);
int fgetattrlist(int item, void* wanted, void* buffer, size_t size, unsigned int options);
#ifdef __cplusplus
}
#endif

#pragma once
#include_next <sys/xattr.h>

#ifdef __cplusplus
#include <cstdint>
#include <string>

// On Linux users' attributes have a name space of their own.
inline int fsetxattr(int item, const char* name, const void* value, size_t size, uint32_t /*position*/, int options) {
  return ::fsetxattr(item, ("user." + std::string(name)).c_str(), value, size, options);
}
#endif

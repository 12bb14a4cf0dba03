#include <sys/types.h>
#include <sys/xattr.h>

#include "QuarnBuilders/ExtendedAttribute.h"

namespace quarn::sample {

int setAttribute(int descriptor, const std::string& name, std::string_view bytes) {
  return ::fsetxattr(descriptor, name.c_str(), bytes.data(), bytes.size(), 0);
}

}  // namespace quarn::sample

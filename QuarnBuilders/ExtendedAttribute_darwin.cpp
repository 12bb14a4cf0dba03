#include <sys/types.h>
#include <sys/xattr.h>

#include "QuarnBuilders/ExtendedAttribute.h"

namespace quarn::sample {

// Names are the system's own here, without the name space that Linux puts before those of users.
int setAttribute(int descriptor, const std::string& name, std::string_view bytes) {
  constexpr std::string_view kNameSpace = "user.";
  const std::string own = name.starts_with(kNameSpace) ? name.substr(kNameSpace.size()) : name;
  return ::fsetxattr(descriptor, own.c_str(), bytes.data(), bytes.size(), 0, 0);
}

}  // namespace quarn::sample

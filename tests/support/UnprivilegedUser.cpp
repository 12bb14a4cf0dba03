#include "tests/support/UnprivilegedUser.h"

#include <cerrno>
#include <exception>
#include <system_error>

#include <unistd.h>

namespace quarn {
namespace {

constexpr uid_t kNobody = 65534;

}  // namespace

UnprivilegedUser::UnprivilegedUser() : before_(::geteuid()) {
  if (before_ == 0 && ::seteuid(kNobody) != 0) {
    throw std::system_error(errno, std::generic_category(), "become an unprivileged user");
  }
}

UnprivilegedUser::~UnprivilegedUser() {
  // With the wrong user, the results of all later tests would be meaningless.
  if (::seteuid(before_) != 0) std::terminate();
}

}  // namespace quarn

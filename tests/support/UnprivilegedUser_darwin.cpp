#include <cerrno>
#include <exception>
#include <system_error>

#include <unistd.h>

#include "tests/support/UnprivilegedUser.h"

namespace quarn {
namespace {

constexpr uid_t kNobody = 65534;

}  // namespace

UnprivilegedUser::UnprivilegedUser() : before_(static_cast<int>(::geteuid())) {
  if (before_ != 0) return;
  if (::seteuid(kNobody) != 0) throw std::system_error(errno, std::generic_category(), "become an unprivileged user");
  taken_ = 1;
}

// A failure terminates the process, because later tests would run with the wrong permissions.
UnprivilegedUser::~UnprivilegedUser() {
  if (taken_ != 0 && ::seteuid(static_cast<uid_t>(before_)) != 0) std::terminate();
}

}  // namespace quarn

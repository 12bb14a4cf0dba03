#include <array>
#include <cerrno>
#include <system_error>

#include <linux/capability.h>
#include <linux/securebits.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/UnprivilegedUser.h"

namespace quarn {
namespace {

// The capabilities that override permission bits and ownership. All are in the first of the two words.
constexpr unsigned kOverrides = (1U << CAP_DAC_OVERRIDE) | (1U << CAP_DAC_READ_SEARCH) | (1U << CAP_FOWNER);

/// The capabilities of the calling thread; glibc has no function for them.
class Capabilities {
 public:
  Capabilities() { check(static_cast<int>(::syscall(SYS_capget, &header_, words_.data()))); }
  [[nodiscard]] unsigned effective() const { return words_[0].effective; }
  void setEffective(unsigned capabilities) {
    words_[0].effective = capabilities;
    check(static_cast<int>(::syscall(SYS_capset, &header_, words_.data())));
  }
  static int check(int result) {
    if (result < 0) throw std::system_error(errno, std::generic_category(), "change the capabilities of a thread");
    return result;
  }

 private:
  __user_cap_header_struct header_{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
  std::array<__user_cap_data_struct, 2> words_{};
};

int securityBits() { return Capabilities::check(::prctl(PR_GET_SECUREBITS)); }
void setSecurityBits(int bits) { Capabilities::check(::prctl(PR_SET_SECUREBITS, static_cast<unsigned long>(bits))); }

}  // namespace

UnprivilegedUser::UnprivilegedUser() {
  Capabilities capabilities;
  taken_ = capabilities.effective() & kOverrides;
  if (taken_ == 0) return;
  before_ = securityBits();
  // Without this bit, a program that root starts gets all capabilities back.
  setSecurityBits(before_ | SECBIT_NOROOT);
  capabilities.setEffective(capabilities.effective() & ~kOverrides);
}

// A failure in the destructor terminates the process, because later tests would run with the wrong permissions.
UnprivilegedUser::~UnprivilegedUser() {
  if (taken_ == 0) return;
  Capabilities capabilities;
  capabilities.setEffective(capabilities.effective() | taken_);
  setSecurityBits(before_);
}

}  // namespace quarn

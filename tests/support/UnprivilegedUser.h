#pragma once

#include <sys/types.h>

namespace quarn {

/// For as long as it lives, the process is a user whom permission bits hold back: when it runs as root it becomes user
/// 65534, else nothing changes. For the whole process, threads included; one at a time. Make the test's files before
/// it, and let it end before they are removed.
class UnprivilegedUser {
 public:
  UnprivilegedUser();
  ~UnprivilegedUser();
  UnprivilegedUser(const UnprivilegedUser&) = delete;
  UnprivilegedUser& operator=(const UnprivilegedUser&) = delete;

 private:
  uid_t before_;
};

}  // namespace quarn

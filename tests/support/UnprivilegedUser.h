#pragma once

#include <sys/types.h>

namespace quarn {

/// During its lifetime, the process is a user that permission bits apply to: user 65534 if it runs as root, else
/// unchanged. Applies to all threads; create one at a time. Create the files of the test first, and destroy this
/// before the files are removed.
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

#pragma once

namespace quarn {

/// While it lives, permission bits hold back the calling thread, the threads that it starts and the programs that it
/// runs, even when the tests run as root. The user stays the same, so everything the user can reach stays within reach:
/// a build in a home folder of mode 0700, for instance. (On macOS, which has no capabilities, root becomes another user
/// for the whole process.) For any other user nothing changes. One at a time. Make the test's files before it, and let
/// it end before they are removed.
class UnprivilegedUser {
 public:
  UnprivilegedUser();
  ~UnprivilegedUser();
  UnprivilegedUser(const UnprivilegedUser&) = delete;
  UnprivilegedUser& operator=(const UnprivilegedUser&) = delete;

 private:
  unsigned taken_ = 0;  ///< the capabilities that it took away, one bit each
  int before_ = 0;      ///< what the destructor restores beside them
};

}  // namespace quarn

#pragma once

namespace quarn {

/// During its lifetime, permission bits and ownership apply to the calling thread, to the threads that it starts and to
/// the programs that it runs, even if the tests run as root. The user stays the same, so a build in a home folder of
/// mode 0700 stays reachable. macOS has no capabilities: there, root becomes another user for the whole process.
/// Nothing changes for other users. Create one at a time. Create the files of the test first, and destroy this before
/// the files are removed.
class UnprivilegedUser {
 public:
  UnprivilegedUser();
  ~UnprivilegedUser();
  UnprivilegedUser(const UnprivilegedUser&) = delete;
  UnprivilegedUser& operator=(const UnprivilegedUser&) = delete;

 private:
  unsigned taken_ = 0;  ///< the removed capabilities, one bit each
  int before_ = 0;      ///< restored by the destructor too
};

}  // namespace quarn

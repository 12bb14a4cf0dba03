#include <cerrno>

#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

UnreadableCause unreadableCause(int error) {
  switch (error) {
    case EACCES:
    case EPERM: return UnreadableCause::permission;
    case ENOENT:
    case ENOTDIR:
    case ESTALE: return UnreadableCause::vanished;
    case EXDEV: return UnreadableCause::otherDevice;
    case ELOOP: return UnreadableCause::loop;
    default: return UnreadableCause::other;
  }
}

}  // namespace quarn

#include <cerrno>

#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

UnreadableCause unreadableCause(int error) {
  switch (error) {
    case EACCES:
    case EPERM: return UnreadableCause::permission;
    case ENOENT:
    case ENOTDIR: return UnreadableCause::vanished;
    case EXDEV: return UnreadableCause::otherDevice;
    case ELOOP: return UnreadableCause::loop;
    case EFBIG: return UnreadableCause::limit;
    default: return UnreadableCause::other;
  }
}

std::string_view remedyFor(UnreadableCause cause) { return cause == UnreadableCause::permission ? "run as root" : ""; }

}  // namespace quarn

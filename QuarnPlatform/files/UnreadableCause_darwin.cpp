#include <cerrno>

#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

// Privacy protection answers EPERM where the items' own permissions would answer EACCES.
UnreadableCause unreadableCause(int error) {
  switch (error) {
    case EACCES: return UnreadableCause::permission;
    case EPERM: return UnreadableCause::privacy;
    case EDEADLK: return UnreadableCause::onlyInCloud;
    case ENOENT:
    case ENOTDIR: return UnreadableCause::vanished;
    case EXDEV: return UnreadableCause::otherDevice;
    case ELOOP: return UnreadableCause::loop;
    case EFBIG: return UnreadableCause::limit;
    default: return UnreadableCause::other;
  }
}

std::string_view remedyFor(UnreadableCause cause) {
  switch (cause) {
    case UnreadableCause::permission: return "run as root, or grant Full Disk Access";
    case UnreadableCause::privacy: return "grant Full Disk Access";
    default: return "";
  }
}

}  // namespace quarn

#include <cerrno>
#include <cstdint>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/FolderOpener.h"

namespace quarn {
namespace {

constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr int kSearchOnly = O_SEARCH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr ino_t kRootOfVolume = 2;

struct Identity {
  std::uint64_t device = 0;
  ino_t inode = 0;
};

Identity identityOf(int folder) {
  struct stat status {};
  if (::fstat(folder, &status) != 0) return {};
  return {static_cast<std::uint64_t>(status.st_dev), status.st_ino};
}

// The volumes of one group report one device; this asks for each volume's own.
std::optional<dev_t> realDeviceOf(int folder) {
  struct stat status {};
  if (::fstatat(folder, "", &status, AT_FDONLY | AT_REALDEV) != 0) return std::nullopt;
  return status.st_dev;
}

// The sealed system volume and the data volume are such a group, joined twice: by firmlinks (/Users, /Applications and
// others), and at /System/Volumes/Data, which would show the same files a second time. The first are folders somewhere
// in the data volume; the second is the root of the data volume, so a walk does not enter it.
bool isRootOfVolumeInGroup(int parent, int folder, ino_t inode) {
  return inode == kRootOfVolume && realDeviceOf(parent) != realDeviceOf(folder);
}

}  // namespace

FolderOpener::FolderOpener(int root, AccessTimes accessTimes)
    : FolderOpener(root, DeviceCheck::byNumber, accessTimes) {}

// macOS has no check while it opens. Access times are a matter of the process; `Volume` checks it.
FolderOpener::FolderOpener(int root, DeviceCheck /*check*/, AccessTimes accessTimes)
    : check_(DeviceCheck::byNumber), accessTimes_(accessTimes), device_(identityOf(root).device) {}

OpenedFolder FolderOpener::open(int parent, const char* name) const {
  FileDescriptor folder(againIfInterrupted([&] { return ::openat(parent, name, kFlags); }));
  if (!folder.isOpen()) return {FileDescriptor(), errno};
  const Identity found = identityOf(folder.get());
  if (found.device != device_ || isRootOfVolumeInGroup(parent, folder.get(), found.inode))
    return {FileDescriptor(), EXDEV};
  return {std::move(folder), 0};
}

FileDescriptor openForSearch(int parent, const char* name) {
  return FileDescriptor(againIfInterrupted([&] { return ::openat(parent, name, kSearchOnly); }));
}

}  // namespace quarn

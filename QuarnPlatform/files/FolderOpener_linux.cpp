#include <cerrno>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/FolderOpener.h"
#include "QuarnPlatform/files/KeepingAccessTimes_linux.h"
#include "QuarnPlatform/files/OpenHow_linux.h"

namespace quarn {
namespace {

constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr int kSearchOnly = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

int openOnSameMount(int parent, const char* name, AccessTimes accessTimes) {
  return openKeepingAccessTimes(kFlags, accessTimes, [&](int flags) {
    return openWithHow(parent, name, flags, RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS);
  });
}

std::uint64_t deviceOf(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? status.st_dev : 0;
}

// A btrfs subvolume is a separate device inside one mount, so the kernel's mount check does not detect it.
bool holdsSeveralDevices(int root) {
  struct statfs status {};
  return ::fstatfs(root, &status) == 0 && status.f_type == BTRFS_SUPER_MAGIC;
}

// openat2 is missing in older kernels and blocked by some container filters.
bool systemCanCheck(int root) {
  return FileDescriptor(openOnSameMount(root, ".", AccessTimes::keepIfPermitted)).isOpen();
}

OpenedFolder opened(int descriptor) {
  const int error = descriptor < 0 ? errno : 0;
  return {FileDescriptor(descriptor), error};
}

}  // namespace

FolderOpener::FolderOpener(int root, AccessTimes accessTimes)
    : FolderOpener(root,
                   systemCanCheck(root) && !holdsSeveralDevices(root) ? DeviceCheck::bySystem : DeviceCheck::byNumber,
                   accessTimes) {}

FolderOpener::FolderOpener(int root, DeviceCheck check, AccessTimes accessTimes)
    : check_(check), accessTimes_(accessTimes), device_(deviceOf(root)) {}

OpenedFolder FolderOpener::open(int parent, const char* name) const {
  if (check_ == DeviceCheck::bySystem) return opened(openOnSameMount(parent, name, accessTimes_));
  OpenedFolder folder =
      opened(openKeepingAccessTimes(kFlags, accessTimes_, [&](int flags) { return ::openat(parent, name, flags); }));
  if (folder.descriptor.isOpen() && deviceOf(folder.descriptor.get()) != device_) return {FileDescriptor(), EXDEV};
  return folder;
}

FileDescriptor openForSearch(int parent, const char* name) {
  return FileDescriptor(againIfInterrupted([&] { return ::openat(parent, name, kSearchOnly); }));
}

}  // namespace quarn

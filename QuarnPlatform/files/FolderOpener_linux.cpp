#include <cerrno>

#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "QuarnPlatform/files/FolderOpener.h"

namespace quarn {
namespace {

constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
constexpr int kSearchOnly = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

int openOnSameMount(int parent, const char* name) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(kFlags);
  how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS;
  return static_cast<int>(::syscall(SYS_openat2, parent, name, &how, sizeof how));
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
bool systemCanCheck(int root) { return FileDescriptor(openOnSameMount(root, ".")).isOpen(); }

OpenedFolder opened(int descriptor) {
  const int error = descriptor < 0 ? errno : 0;
  return {FileDescriptor(descriptor), error};
}

}  // namespace

FolderOpener::FolderOpener(int root)
    : FolderOpener(
          root, systemCanCheck(root) && !holdsSeveralDevices(root) ? DeviceCheck::bySystem : DeviceCheck::byNumber) {}

FolderOpener::FolderOpener(int root, DeviceCheck check) : check_(check), device_(deviceOf(root)) {}

OpenedFolder FolderOpener::open(int parent, const char* name) const {
  if (check_ == DeviceCheck::bySystem) return opened(openOnSameMount(parent, name));
  OpenedFolder folder = opened(::openat(parent, name, kFlags));
  if (folder.descriptor.isOpen() && deviceOf(folder.descriptor.get()) != device_) return {FileDescriptor(), EXDEV};
  return folder;
}

FileDescriptor openForSearch(int parent, const char* name) {
  return FileDescriptor(::openat(parent, name, kSearchOnly));
}

}  // namespace quarn

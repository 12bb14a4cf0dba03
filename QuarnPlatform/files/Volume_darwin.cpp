#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include <fcntl.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/BlockBytes.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/ItemStatus.h"
#include "QuarnPlatform/files/PathWalk.h"
#include "QuarnPlatform/files/Volume.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::size_t kLongestSystemPath = 1023;
constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

std::optional<ItemFacts> factsOnMac(const struct stat& status) {
  return factsOf(status, (status.st_flags & SF_DATALESS) != 0);
}

// Whether one call on the whole path stays inside the root: the flags below make the system refuse every link, and a
// plain path has no "..".
bool isForTheSystem(std::string_view path) { return path.size() < kLongestSystemPath && path::isPlain(path); }

std::string fromRoot(std::string_view path) { return "." + std::string(path); }

const char* nameOf(const WalkedPlace& place) { return place.names.empty() ? "." : place.names.back().c_str(); }

// 0, or the errno: ELOOP when a link is on the way.
int statWithoutLinks(int root, std::string_view path, struct stat& status) {
  constexpr int kFlags = AT_SYMLINK_NOFOLLOW | AT_SYMLINK_NOFOLLOW_ANY;
  const std::string relative = fromRoot(path);
  return againIfInterrupted([&] { return ::fstatat(root, relative.c_str(), &status, kFlags); }) == 0 ? 0 : errno;
}

bool processKeepsAccessTimes() {
  return ::getiopolicy_np(IOPOL_TYPE_VFS_ATIME_UPDATES, IOPOL_SCOPE_PROCESS) == IOPOL_ATIME_UPDATES_OFF;
}

const passwd* currentAccount() {
  const char* caller = ::geteuid() == 0 ? std::getenv("SUDO_UID") : nullptr;
  if (caller != nullptr) {
    char* end = nullptr;
    const unsigned long user = std::strtoul(caller, &end, 10);
    if (end != caller && *end == '\0') return ::getpwuid(static_cast<uid_t>(user));
  }
  return ::getpwuid(::getuid());
}

}  // namespace

bool Volume::exists(std::string_view path) const { return facts(path, Links::follow).has_value(); }

FileDescriptor Volume::openWith(int flags, std::string_view path, Links links) const {
  if (accessTimes_ == AccessTimes::keepOrFail && !processKeepsAccessTimes()) {
    errno = EACCES;
    return {};
  }
  if (holdsNul(path)) {
    errno = ENOENT;
    return {};
  }
  if (isForTheSystem(path)) {
    const std::string relative = fromRoot(path);
    FileDescriptor opened(
        againIfInterrupted([&] { return ::openat(root_.get(), relative.c_str(), flags | O_NOFOLLOW_ANY); }));
    if (opened.isOpen() || errno != ELOOP) return opened;
  }
  return openByWalking(path, flags, links);
}

FileDescriptor Volume::openByWalking(std::string_view path, int flags, Links links) const {
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, links);
  if (!place) return {};
  return FileDescriptor(
      againIfInterrupted([&] { return ::openat(place->folder.get(), nameOf(*place), flags | O_NOFOLLOW); }));
}

// There is no descriptor for an item that is only looked at. Another item that took the place of the one that was
// checked is refused; a device has been opened then.
FileDescriptor Volume::openAgain(std::string_view path, const ItemFacts& expected) const {
  FileDescriptor file = openWith(kReadFlags, path, Links::follow);
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0) return {};
  if (static_cast<std::uint64_t>(status.st_dev) == expected.device && status.st_ino == expected.inode) return file;
  errno = ESTALE;
  return {};
}

OpenedFile Volume::openFile(std::string_view path) const {
  const std::optional<ItemFacts> found = facts(path, Links::follow);
  if (!found) return {.descriptor = {}, .error = errno};
  if (found->type == FileType::directory) return {.descriptor = {}, .error = EISDIR};
  if (found->type != FileType::regular) return {.descriptor = {}, .error = EINVAL};
  FileDescriptor file = openAgain(path, *found);
  if (!file.isOpen()) return {.descriptor = {}, .error = errno};
  return {.descriptor = std::move(file), .size = static_cast<std::uint64_t>(found->sizes.logicalBytes)};
}

// By the path alone: macOS has no descriptor for an item that cannot be read.
std::optional<ItemFacts> Volume::facts(std::string_view path, Links links) const {
  if (holdsNul(path)) {
    errno = ENOENT;
    return std::nullopt;
  }
  struct stat status {};
  if (isForTheSystem(path)) {
    const int error = statWithoutLinks(root_.get(), path, status);
    if (error == 0 && (!S_ISLNK(status.st_mode) || links == Links::doNotFollow)) return factsOnMac(status);
    if (error != 0 && error != ELOOP) return std::nullopt;
  }
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, links);
  if (!place) return std::nullopt;
  const int result =
      againIfInterrupted([&] { return ::fstatat(place->folder.get(), nameOf(*place), &status, AT_SYMLINK_NOFOLLOW); });
  if (result != 0) return std::nullopt;
  return factsOnMac(status);
}

Volume::Resolution Volume::resolveAtOnce(std::string_view path) const {
  if (!isForTheSystem(path) || !path.starts_with('/')) return Resolution::takesAWalk;
  struct stat status {};
  const int error = statWithoutLinks(root_.get(), path, status);
  if (error != 0) return error == ELOOP ? Resolution::takesAWalk : Resolution::missing;
  return S_ISLNK(status.st_mode) ? Resolution::takesAWalk : Resolution::isThePath;
}

// `statvfs` counts blocks in 32 bits. The Finder adds what the system would purge for something important; only
// Foundation can tell how much that is.
VolumeSpace Volume::space() const {
  struct statfs status {};
  if (::fstatfs(root_.get(), &status) != 0) throwFileError("statfs", "/");
  const auto blockSize = static_cast<std::uint64_t>(status.f_bsize);
  const std::optional<std::int64_t> total = bytesInBlocks(status.f_blocks, blockSize);
  const std::optional<std::int64_t> free = bytesInBlocks(status.f_bavail, blockSize);
  if (!total || !free) throwFileError(EOVERFLOW, "statfs", "/");
  return {.totalBytes = *total, .freeBytes = *free};
}

VolumeMount Volume::mount() const {
  struct statfs status {};
  struct stat root {};
  struct stat above {};
  if (::fstatfs(root_.get(), &status) != 0) throwFileError("statfs", "/");
  const bool isKnown = ::fstat(root_.get(), &root) == 0 && ::fstatat(root_.get(), "..", &above, 0) == 0;
  const bool isOwnParent = root.st_dev == above.st_dev && root.st_ino == above.st_ino;
  return {.isMountPoint = isKnown && (root.st_dev != above.st_dev || isOwnParent),
          .isReadOnly = (status.f_flags & MNT_RDONLY) != 0,
          .keepsAccessTimes = (status.f_flags & MNT_NOATIME) != 0,
          .mayKeepAccessTimes = processKeepsAccessTimes()};
}

// The account's home, as the system's own file manager answers; under sudo that of the account that called it.
std::string Volume::currentHome() {
  if (const passwd* account = currentAccount(); account != nullptr && account->pw_dir != nullptr)
    return account->pw_dir;
  const char* home = std::getenv("HOME");
  return home != nullptr && home[0] == '/' ? home : "/";
}

}  // namespace quarn

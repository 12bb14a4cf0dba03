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
#include "QuarnPlatform/files/PathWalk.h"
#include "QuarnPlatform/files/Volume.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::size_t kLongestSystemPath = 1023;
constexpr std::uint64_t kBlockSize = 512;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;
constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

FileType typeOf(mode_t mode) {
  if (S_ISREG(mode)) return FileType::regular;
  if (S_ISDIR(mode)) return FileType::directory;
  return S_ISLNK(mode) ? FileType::symbolicLink : FileType::other;
}

// What is only in the cloud occupies nothing here, whatever the file system answers. Absent when a damaged or hostile
// file system reports more than fits.
std::optional<ByteCounts> sizesOf(const struct stat& status, bool isOnlyInCloud) {
  const std::uint64_t blocks = isOnlyInCloud ? 0 : static_cast<std::uint64_t>(status.st_blocks);
  const std::optional<std::int64_t> allocated = bytesInBlocks(blocks, kBlockSize);
  if (!allocated || status.st_size < 0) return std::nullopt;
  return ByteCounts{.allocatedBytes = *allocated, .logicalBytes = status.st_size};
}

std::optional<ItemFacts> factsOf(const struct stat& status) {
  const FileType type = typeOf(status.st_mode);
  const bool isOnlyInCloud = (status.st_flags & SF_DATALESS) != 0;
  const std::optional<ByteCounts> sizes = type == FileType::regular ? sizesOf(status, isOnlyInCloud) : ByteCounts{};
  if (!sizes) {
    errno = EOVERFLOW;
    return std::nullopt;
  }
  return ItemFacts{.type = type,
                   .sizes = *sizes,
                   .anyExecuteBit = (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0,
                   .modifiedSeconds = status.st_mtime,
                   .device = static_cast<std::uint64_t>(status.st_dev),
                   .inode = status.st_ino,
                   .links = status.st_nlink,
                   .isOnlyInCloud = isOnlyInCloud};
}

// The system's calls end a path at a NUL and would find another item.
bool holdsNul(std::string_view path) { return path.find('\0') != std::string_view::npos; }

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

Volume::Volume(const std::string& hostFolder, AccessTimes accessTimes)
    : hostFolder_(hostFolder), accessTimes_(accessTimes) {
  root_ = FileDescriptor(
      againIfInterrupted([&] { return ::open(hostFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (!root_.isOpen()) throwFileError("open volume", hostFolder);
  // Where no access time can change there is nothing to refuse.
  if (accessTimes == AccessTimes::keepIfPermitted) return;
  const VolumeMount how = mount();
  if (how.isReadOnly || how.keepsAccessTimes) accessTimes_ = AccessTimes::keepIfPermitted;
}

FileDescriptor Volume::openFolder(std::string_view path, Links links) const {
  return openWith(kFolderFlags, path, links);
}

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
    if (error == 0 && (!S_ISLNK(status.st_mode) || links == Links::doNotFollow)) return factsOf(status);
    if (error != 0 && error != ELOOP) return std::nullopt;
  }
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, links);
  if (!place) return std::nullopt;
  const int result =
      againIfInterrupted([&] { return ::fstatat(place->folder.get(), nameOf(*place), &status, AT_SYMLINK_NOFOLLOW); });
  if (result != 0) return std::nullopt;
  return factsOf(status);
}

// One call finds out that the item is missing or that the path has no links; nearly all lookups end here.
std::optional<std::string> Volume::resolve(std::string_view path) const {
  if (holdsNul(path)) {
    errno = ENOENT;
    return std::nullopt;
  }
  if (isForTheSystem(path) && path.starts_with('/')) {
    struct stat status {};
    const int error = statWithoutLinks(root_.get(), path, status);
    if (error == 0 && !S_ISLNK(status.st_mode)) return std::string(path);
    if (error != 0 && error != ELOOP) return std::nullopt;
  }
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, Links::follow);
  if (!place) return std::nullopt;
  std::string resolved;
  for (const std::string& name : place->names) (resolved += '/') += name;
  return resolved.empty() ? "/" : resolved;
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

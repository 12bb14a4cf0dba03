#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "QuarnPlatform/base/BlockBytes.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/ItemStatus.h"
#include "QuarnPlatform/files/KeepingAccessTimes_linux.h"
#include "QuarnPlatform/files/OpenHow_linux.h"
#include "QuarnPlatform/files/PathWalk.h"
#include "QuarnPlatform/files/Volume.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::size_t kLongestSystemPath = 4095;
constexpr int kAttemptsWhileRenamed = 8;
constexpr int kLookOnly = O_PATH | O_CLOEXEC;
constexpr int kReadFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// The facts of an open item. Absent, and errno, on failure.
std::optional<ItemFacts> factsOfOpenItem(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return std::nullopt;
  return factsOf(status);
}

int openInRootOnce(int root, const std::string& relativePath, int flags, std::uint64_t furtherRules) {
  const std::uint64_t rules = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS | furtherRules;
  int result = -1;
  for (int attempt = 0; attempt < kAttemptsWhileRenamed; ++attempt) {
    result = againIfInterrupted([&] { return openWithHow(root, relativePath.c_str(), flags, rules); });
    if (result >= 0 || errno != EAGAIN) break;
  }
  return result;
}

// Looking alone changes no access time.
int openInRoot(int root, const std::string& relativePath, int flags, AccessTimes accessTimes,
               std::uint64_t furtherRules = 0) {
  if ((flags & O_PATH) != 0) return openInRootOnce(root, relativePath, flags, furtherRules);
  return openKeepingAccessTimes(flags, accessTimes, [&](int keepingFlags) {
    return openInRootOnce(root, relativePath, keepingFlags, furtherRules);
  });
}

// True if the kernel could not perform the lookup, as opposed to a negative result.
bool needsWalking(int error) {
  return error == ENOSYS || error == EPERM || error == EAGAIN || error == E2BIG || error == EINVAL;
}

// The very item that the descriptor holds, wherever it is by now.
FileDescriptor openForReading(int item, AccessTimes accessTimes) {
  const std::string path = "/proc/self/fd/" + std::to_string(item);
  return FileDescriptor(
      openKeepingAccessTimes(kReadFlags, accessTimes, [&](int flags) { return ::open(path.c_str(), flags); }));
}

}  // namespace

std::optional<ItemFacts> Volume::facts(std::string_view path, Links links) const {
  const FileDescriptor item = openWith(kLookOnly, path, links);
  return item.isOpen() ? factsOfOpenItem(item.get()) : std::nullopt;
}

bool Volume::exists(std::string_view path) const { return openWith(kLookOnly, path, Links::follow).isOpen(); }

FileDescriptor Volume::openWith(int purposeFlags, std::string_view path, Links links) const {
  if (holdsNul(path)) {
    errno = ENOENT;
    return {};
  }
  const int flags = purposeFlags | (links == Links::doNotFollow ? O_NOFOLLOW : 0);
  if (path.size() < kLongestSystemPath) {
    FileDescriptor opened(openInRoot(root_.get(), "." + std::string(path), flags, accessTimes_));
    if (opened.isOpen() || !needsWalking(errno)) return opened;
  }
  return openByWalking(path, flags, links);
}

FileDescriptor Volume::openByWalking(std::string_view path, int flags, Links links) const {
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, links);
  if (!place) return {};
  const char* name = place->names.empty() ? "." : place->names.back().c_str();
  const auto openThere = [&](int howFlags) { return ::openat(place->folder.get(), name, howFlags | O_NOFOLLOW); };
  if ((flags & O_PATH) != 0) return FileDescriptor(againIfInterrupted([&] { return openThere(flags); }));
  return FileDescriptor(openKeepingAccessTimes(flags, accessTimes_, openThere));
}

// Where /proc is not mounted. Another item that took the place of the one that was looked at is refused; a device has
// been opened then.
FileDescriptor Volume::openAgain(std::string_view path, const ItemFacts& expected) const {
  FileDescriptor file = openWith(kReadFlags, path, Links::follow);
  const std::optional<ItemFacts> found = file.isOpen() ? factsOfOpenItem(file.get()) : std::nullopt;
  if (!found) return {};
  if (found->device == expected.device && found->inode == expected.inode) return file;
  errno = ESTALE;
  return {};
}

OpenedFile Volume::openFile(std::string_view path) const {
  const FileDescriptor item = openWith(kLookOnly, path, Links::follow);
  const std::optional<ItemFacts> found = item.isOpen() ? factsOfOpenItem(item.get()) : std::nullopt;
  if (!found) return {.descriptor = {}, .error = errno};
  if (found->type == FileType::directory) return {.descriptor = {}, .error = EISDIR};
  if (found->type != FileType::regular) return {.descriptor = {}, .error = EINVAL};
  FileDescriptor file = openForReading(item.get(), accessTimes_);
  if (!file.isOpen() && errno == ENOENT) file = openAgain(path, *found);
  if (!file.isOpen()) return {.descriptor = {}, .error = errno};
  return {.descriptor = std::move(file), .size = static_cast<std::uint64_t>(found->sizes.logicalBytes)};
}

Volume::Resolution Volume::resolveAtOnce(std::string_view path) const {
  if (path.size() >= kLongestSystemPath) return Resolution::takesAWalk;
  const FileDescriptor item(openInRootOnce(root_.get(), "." + std::string(path), kLookOnly, RESOLVE_NO_SYMLINKS));
  if (!item.isOpen()) return errno == ELOOP || needsWalking(errno) ? Resolution::takesAWalk : Resolution::missing;
  return path.starts_with('/') && path::isPlain(path) ? Resolution::isThePath : Resolution::takesAWalk;
}

VolumeSpace Volume::space() const {
  struct statvfs status {};
  if (::fstatvfs(root_.get(), &status) != 0) throwFileError("statfs", "/");
  const std::optional<std::int64_t> total = bytesInBlocks(status.f_blocks, status.f_frsize);
  const std::optional<std::int64_t> free = bytesInBlocks(status.f_bavail, status.f_frsize);
  if (!total || !free) throwFileError(EOVERFLOW, "statfs", "/");
  return {.totalBytes = *total, .freeBytes = *free};
}

VolumeMount Volume::mount() const {
  struct statvfs status {};
  struct statx root {};
  if (::fstatvfs(root_.get(), &status) != 0) throwFileError("statfs", "/");
  const bool isKnown = ::statx(root_.get(), "", AT_EMPTY_PATH, STATX_TYPE, &root) == 0;
  const FileDescriptor keeping(::openat(root_.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOATIME));
  return {.isMountPoint = isKnown && (root.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0,
          .isReadOnly = (status.f_flag & ST_RDONLY) != 0,
          .keepsAccessTimes = (status.f_flag & ST_NOATIME) != 0,
          .mayKeepAccessTimes = keeping.isOpen()};
}

std::string Volume::currentHome() {
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') return home;
  const passwd* user = ::getpwuid(::getuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/";
}

}  // namespace quarn

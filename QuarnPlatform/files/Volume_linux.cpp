#include <cerrno>
#include <cstdlib>

#include <fcntl.h>
#include <linux/openat2.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "QuarnPlatform/base/BlockBytes.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/PathWalk.h"
#include "QuarnPlatform/files/Volume.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::size_t kLongestSystemPath = 4095;
constexpr int kAttemptsWhileRenamed = 8;

int flagsFor(OpenFor purpose) {
  switch (purpose) {
    case OpenFor::facts: return O_PATH | O_CLOEXEC;
    case OpenFor::folder: return O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;
    case OpenFor::file: return O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  }
  return O_PATH | O_CLOEXEC;
}

FileType typeOf(mode_t mode) {
  if (S_ISREG(mode)) return FileType::regular;
  if (S_ISDIR(mode)) return FileType::directory;
  return S_ISLNK(mode) ? FileType::symbolicLink : FileType::other;
}

// Absent if the numbers overflow, which a damaged or hostile file system can cause.
std::optional<ByteCounts> sizesOf(const struct stat& status) {
  constexpr std::uint64_t kBlockSize = 512;
  const std::optional<std::int64_t> allocated = bytesInBlocks(static_cast<std::uint64_t>(status.st_blocks), kBlockSize);
  if (!allocated || status.st_size < 0) return std::nullopt;
  return ByteCounts{.allocatedBytes = *allocated, .logicalBytes = status.st_size};
}

int openInRoot(int root, const std::string& relativePath, int flags, std::uint64_t furtherRules = 0) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags);
  how.resolve = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS | furtherRules;
  long result = -1;
  for (int attempt = 0; attempt < kAttemptsWhileRenamed; ++attempt) {
    result = ::syscall(SYS_openat2, root, relativePath.c_str(), &how, sizeof how);
    if (result >= 0 || errno != EAGAIN) break;
  }
  return static_cast<int>(result);
}

// True if the kernel could not perform the lookup, as opposed to a negative result.
bool needsWalking(int error) {
  return error == ENOSYS || error == EPERM || error == EAGAIN || error == E2BIG || error == EINVAL;
}

// A NUL would end the path in the kernel and select another item.
bool holdsNul(std::string_view path) { return path.find('\0') != std::string_view::npos; }

}  // namespace

Volume::Volume(const std::string& hostFolder) : hostFolder_(hostFolder) {
  root_ = FileDescriptor(::open(hostFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!root_.isOpen()) throwFileError("open volume", hostFolder);
}

FileDescriptor Volume::open(std::string_view path, OpenFor purpose, Links links) const {
  if (holdsNul(path)) {
    errno = ENOENT;
    return {};
  }
  const int flags = flagsFor(purpose) | (links == Links::doNotFollow ? O_NOFOLLOW : 0);
  if (path.size() < kLongestSystemPath) {
    FileDescriptor opened(openInRoot(root_.get(), "." + std::string(path), flags));
    if (opened.isOpen() || !needsWalking(errno)) return opened;
  }
  return openByWalking(path, flags, links);
}

FileDescriptor Volume::openByWalking(std::string_view path, int flags, Links links) const {
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, links);
  if (!place) return {};
  const char* name = place->names.empty() ? "." : place->names.back().c_str();
  return FileDescriptor(::openat(place->folder.get(), name, flags | O_NOFOLLOW));
}

// One call finds out that the item is missing or that the path has no links; nearly all lookups end here.
std::optional<std::string> Volume::resolve(std::string_view path) const {
  if (holdsNul(path)) return std::nullopt;
  if (path.size() < kLongestSystemPath) {
    const int flags = flagsFor(OpenFor::facts);
    const FileDescriptor item(openInRoot(root_.get(), "." + std::string(path), flags, RESOLVE_NO_SYMLINKS));
    if (item.isOpen() && path.starts_with('/') && path::isPlain(path)) return std::string(path);
    if (!item.isOpen() && errno != ELOOP && !needsWalking(errno)) return std::nullopt;
  }
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, Links::follow);
  if (!place) return std::nullopt;
  std::string resolved;
  for (const std::string& name : place->names) (resolved += '/') += name;
  return resolved.empty() ? "/" : resolved;
}

std::optional<ItemFacts> Volume::facts(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return std::nullopt;
  const FileType type = typeOf(status.st_mode);
  const std::optional<ByteCounts> sizes = type == FileType::regular ? sizesOf(status) : ByteCounts{};
  if (!sizes) {
    errno = EOVERFLOW;
    return std::nullopt;
  }
  return ItemFacts{.type = type,
                   .sizes = *sizes,
                   .anyExecuteBit = (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0,
                   .modifiedSeconds = status.st_mtim.tv_sec,
                   .device = status.st_dev,
                   .inode = status.st_ino};
}

VolumeSpace Volume::space() const {
  struct statvfs status {};
  if (::fstatvfs(root_.get(), &status) != 0) throwFileError("statfs", "/");
  const std::optional<std::int64_t> total = bytesInBlocks(status.f_blocks, status.f_frsize);
  const std::optional<std::int64_t> free = bytesInBlocks(status.f_bavail, status.f_frsize);
  if (!total || !free) throwFileError(EOVERFLOW, "statfs", "/");
  return {.totalBytes = *total, .freeBytes = *free};
}

std::string Volume::currentHome() {
  if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') return home;
  const passwd* user = ::getpwuid(::getuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/";
}

}  // namespace quarn

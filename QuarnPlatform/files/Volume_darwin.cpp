#include <cerrno>
#include <cstdint>
#include <cstdlib>

#include <fcntl.h>
#include <pwd.h>
#include <sys/mount.h>
#include <sys/param.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/BlockBytes.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/PathWalk.h"
#include "QuarnPlatform/files/Volume.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::size_t kLongestSystemPath = 1023;
constexpr std::uint64_t kBlockSize = 512;

int flagsFor(OpenFor purpose) {
  switch (purpose) {
    case OpenFor::folder: return O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;
    case OpenFor::file: return O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  }
  return O_RDONLY | O_CLOEXEC;
}

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
                   .device = static_cast<std::uint64_t>(status.st_dev),
                   .inode = status.st_ino,
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
  return ::fstatat(root, fromRoot(path).c_str(), &status, kFlags) == 0 ? 0 : errno;
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

Volume::Volume(const std::string& hostFolder) : hostFolder_(hostFolder) {
  root_ = FileDescriptor(::open(hostFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!root_.isOpen()) throwFileError("open volume", hostFolder);
}

FileDescriptor Volume::open(std::string_view path, OpenFor purpose, Links links) const {
  return openWithFlags(path, flagsFor(purpose), links);
}

FileDescriptor Volume::openWithFlags(std::string_view path, int flags, Links links) const {
  if (holdsNul(path)) {
    errno = ENOENT;
    return {};
  }
  if (isForTheSystem(path)) {
    FileDescriptor opened(::openat(root_.get(), fromRoot(path).c_str(), flags | O_NOFOLLOW_ANY));
    if (opened.isOpen() || errno != ELOOP) return opened;
  }
  return openByWalking(path, flags, links);
}

FileDescriptor Volume::openByWalking(std::string_view path, int flags, Links links) const {
  const std::optional<WalkedPlace> place = walkBelow(root_.get(), path, links);
  if (!place) return {};
  return FileDescriptor(::openat(place->folder.get(), nameOf(*place), flags | O_NOFOLLOW));
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
  if (::fstatat(place->folder.get(), nameOf(*place), &status, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return factsOf(status);
}

// One call tells that nothing is there, or that no link is on the way, which is what nearly all look-ups find.
std::optional<std::string> Volume::resolve(std::string_view path) const {
  if (holdsNul(path)) return std::nullopt;
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

std::optional<ItemFacts> Volume::facts(int descriptor) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return std::nullopt;
  return factsOf(status);
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

// The account's home, as the system's own file manager answers; under sudo that of the account that called it.
std::string Volume::currentHome() {
  if (const passwd* account = currentAccount(); account != nullptr && account->pw_dir != nullptr)
    return account->pw_dir;
  const char* home = std::getenv("HOME");
  return home != nullptr && home[0] == '/' ? home : "/";
}

}  // namespace quarn

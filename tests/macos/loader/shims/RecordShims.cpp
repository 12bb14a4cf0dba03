// Calls that fill records: macOS's have other fields in other places.
#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/attr.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "tests/macos/loader/Shims.h"

namespace quarn::loader {
namespace {

constexpr int kDarwinCurrentFolder = -2;
constexpr int kDarwinNoFollow = 0x20;
constexpr int kDarwinNoFollowAny = 0x800;
constexpr int kDarwinDescriptorOnly = 0x400;
constexpr int kDarwinRealDevice = 0x200;
constexpr std::uint32_t kDarwinReadOnly = 1;
constexpr std::uint32_t kDarwinNoAccessTimes = 0x10000000;

struct DarwinStatus {
  std::int32_t device;
  std::uint16_t mode, linkCount;
  std::uint64_t inode;
  std::uint32_t user, group;
  std::int32_t specialDevice;
  timespec accessed, modified, changed, created;
  std::int64_t size, blocks;
  std::int32_t blockSize;
  std::uint32_t flags, generation;
  std::int32_t spare;
  std::int64_t more[2];
};
static_assert(sizeof(DarwinStatus) == 144);

int give(int result, const struct stat& from, DarwinStatus* to) {
  if (result != 0) return result;
  *to = {.device = static_cast<std::int32_t>(from.st_dev),
         .mode = static_cast<std::uint16_t>(from.st_mode),
         .linkCount = static_cast<std::uint16_t>(from.st_nlink),
         .inode = from.st_ino,
         .user = from.st_uid,
         .group = from.st_gid,
         .specialDevice = static_cast<std::int32_t>(from.st_rdev),
         .accessed = from.st_atim,
         .modified = from.st_mtim,
         .changed = from.st_ctim,
         .created = from.st_ctim,
         .size = from.st_size,
         .blocks = from.st_blocks,
         .blockSize = static_cast<std::int32_t>(from.st_blksize),
         .flags = static_cast<std::uint32_t>(from.st_flags),
         .generation = 0,
         .spare = 0,
         .more = {}};
  return 0;
}

int statusAt(int folder, const char* path, DarwinStatus* to, int flags) {
  const int here = ((flags & kDarwinNoFollow) != 0 ? AT_SYMLINK_NOFOLLOW : 0) |
                   ((flags & kDarwinNoFollowAny) != 0 ? AT_SYMLINK_NOFOLLOW_ANY : 0) |
                   ((flags & kDarwinDescriptorOnly) != 0 ? AT_FDONLY : 0) |
                   ((flags & kDarwinRealDevice) != 0 ? AT_REALDEV : 0);
  struct stat status {};
  return give(::fstatat(folder == kDarwinCurrentFolder ? AT_FDCWD : folder, path, &status, here), status, to);
}
int statusOfPath(const char* path, DarwinStatus* to) { return statusAt(kDarwinCurrentFolder, path, to, 0); }
int statusOfLink(const char* path, DarwinStatus* to) {
  return statusAt(kDarwinCurrentFolder, path, to, kDarwinNoFollow);
}
int statusOfOpen(int descriptor, DarwinStatus* to) {
  struct stat status {};
  return give(::fstat(descriptor, &status), status, to);
}

struct DarwinFileSystem {
  std::uint32_t blockSize;
  std::int32_t transferSize;
  std::uint64_t blocks, freeBlocks, availableBlocks, files, freeFiles;
  std::int32_t id[2];
  std::uint32_t owner, kind, flags, variant;
  char typeName[16], mountedOn[1024], mountedFrom[1024];
  std::uint32_t more[8];
};
static_assert(sizeof(DarwinFileSystem) == 2168);

// A test's attribute (Emulation.h) has macOS's own bit.
constexpr long kAnyNoAccessTimes = ST_NOATIME | kDarwinNoAccessTimes;

int fileSystemOfOpen(int descriptor, DarwinFileSystem* to) {
  struct statfs status {};
  if (::fstatfs(descriptor, &status) != 0) return -1;
  *to = {};
  to->blockSize = static_cast<std::uint32_t>(status.f_bsize);
  to->transferSize = 1 << 20;
  to->blocks = status.f_blocks;
  to->freeBlocks = status.f_bfree;
  to->availableBlocks = status.f_bavail;
  to->files = status.f_files;
  to->flags = ((status.f_flags & ST_RDONLY) != 0 ? kDarwinReadOnly : 0) |
              ((status.f_flags & kAnyNoAccessTimes) != 0 ? kDarwinNoAccessTimes : 0);
  return 0;
}

// libc++'s std::filesystem::space alone asks for this one.
struct DarwinSpace {
  unsigned long blockSize, fragmentSize;
  std::uint32_t blocks, freeBlocks, availableBlocks, files, freeFiles, availableFiles;
  unsigned long id, flags, longestName;
};

int spaceOfPath(const char* path, DarwinSpace* to) {
  struct statvfs status {};
  if (::statvfs(path, &status) != 0) return -1;
  *to = {};
  to->blockSize = status.f_bsize;
  to->fragmentSize = status.f_frsize;
  to->blocks = static_cast<std::uint32_t>(status.f_blocks);
  to->freeBlocks = static_cast<std::uint32_t>(status.f_bfree);
  to->availableBlocks = static_cast<std::uint32_t>(status.f_bavail);
  to->longestName = 255;
  return 0;
}

struct DarwinEntry {
  std::uint64_t inode, seekOffset;
  std::uint16_t recordLength, nameLength;
  std::uint8_t type;
  char name[1024];
};

DarwinEntry* readEntry(DIR* folder) {
  thread_local DarwinEntry entry;
  const dirent* found = ::readdir(folder);
  if (found == nullptr) return nullptr;
  entry = {};
  entry.inode = found->d_ino;
  entry.type = found->d_type;
  entry.nameLength = static_cast<std::uint16_t>(std::strlen(found->d_name));
  entry.recordLength = sizeof entry;
  std::memcpy(entry.name, found->d_name, entry.nameLength + 1u);
  return &entry;
}

struct DarwinAccount {
  char *name, *password;
  std::uint32_t user, group;
  long change;
  char *accessClass, *realName, *home, *shell;
  long expire;
};

DarwinAccount* accountOf(uid_t user) {
  thread_local DarwinAccount account;
  const passwd* found = ::getpwuid(user);
  if (found == nullptr) return nullptr;
  account = {found->pw_name,  found->pw_passwd, found->pw_uid, found->pw_gid,   0,
             found->pw_gecos, found->pw_gecos,  found->pw_dir, found->pw_shell, 0};
  return &account;
}

// The emulation keeps macOS's attributes in the users' name space.
int setAttribute(int item, const char* name, const void* value, std::size_t size, std::uint32_t position, int flags) {
  return ::fsetxattr(item, name, value, size, position, flags);
}

}  // namespace

std::span<const Shim> recordShims() {
  static const std::array shims{shim("fstatat", statusAt),           shim("stat", statusOfPath),
                                shim("lstat", statusOfLink),         shim("fstat", statusOfOpen),
                                shim("fstatfs", fileSystemOfOpen),   shim("statvfs", spaceOfPath),
                                shim("readdir", readEntry),          shim("getpwuid", accountOf),
                                shim("fsetxattr", setAttribute),     shim("getattrlistbulk", ::getattrlistbulk),
                                shim("fgetattrlist", ::fgetattrlist)};
  return shims;
}

}  // namespace quarn::loader

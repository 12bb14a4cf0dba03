#include "tests/macos/emulation/Emulation.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <optional>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <mach-o/dyld.h>
#include <pthread/qos.h>
#include <sys/attr.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vnode.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace quarn::darwin {
namespace {

constexpr std::size_t kLongestPath = 1024;  // with its NUL
constexpr int kOwnFlags = O_SEARCH | O_NOFOLLOW_ANY;
constexpr int kLookOnly = O_PATH | O_NOFOLLOW | O_CLOEXEC;
constexpr std::size_t kFinderInfoSize = 32;

// What getattrlistbulk emulates. It refuses all else, as the kernel refuses what it does not know.
constexpr attrgroup_t kRequired = ATTR_CMN_NAME | ATTR_CMN_RETURNED_ATTRS;
constexpr attrgroup_t kTakesListingOnly = kRequired | ATTR_CMN_OBJTYPE | ATTR_CMN_ERROR;
constexpr attrgroup_t kKnown = kTakesListingOnly | ATTR_CMN_FLAGS;
constexpr attrgroup_t kKnownOfFiles = ATTR_FILE_ALLOCSIZE | ATTR_FILE_DATALENGTH;

// By the type of the policy.
std::array<std::atomic<int>, 4> policies;

bool isKnownPolicy(int type, int scope) {
  const bool isKnown = type == IOPOL_TYPE_VFS_ATIME_UPDATES || type == IOPOL_TYPE_VFS_MATERIALIZE_DATALESS_FILES;
  return isKnown && scope == IOPOL_SCOPE_PROCESS;
}

int fails(int error) {
  errno = error;
  return -1;
}

bool isTooLong(const char* path) { return ::strlen(path) >= kLongestPath; }

// A descriptor that is closed when it goes out of scope.
class Item {
 public:
  Item(int folder, const char* path, std::uint64_t flags, std::uint64_t rules = 0) {
    open_how how{};
    how.flags = flags;
    how.resolve = rules;
    descriptor_ = static_cast<int>(::syscall(SYS_openat2, folder, path, &how, sizeof how));
  }
  ~Item() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  Item(const Item&) = delete;
  Item& operator=(const Item&) = delete;
  [[nodiscard]] int get() const { return descriptor_; }

 private:
  int descriptor_;
};

// Through /proc, which also serves descriptors that cannot be read from. It leaves errno alone.
template <class Value>
std::optional<Value> attributeOf(int item, const char* name) {
  const int before = errno;
  Value value{};
  const std::string path = "/proc/self/fd/" + std::to_string(item);
  const ssize_t size = ::getxattr(path.c_str(), name, &value, sizeof value);
  errno = before;
  return size == static_cast<ssize_t>(sizeof value) ? std::optional(value) : std::nullopt;
}

bool hasAttribute(int item, const char* name) {
  const int before = errno;
  const std::string path = "/proc/self/fd/" + std::to_string(item);
  const bool has = ::getxattr(path.c_str(), name, nullptr, 0) >= 0;
  errno = before;
  return has;
}

std::uint32_t flagsOf(int item) { return attributeOf<std::uint32_t>(item, kFlagsAttribute).value_or(0); }

// Fetching makes an item an ordinary one, which tests can see.
bool download(int item) {
  if (policies[IOPOL_TYPE_VFS_MATERIALIZE_DATALESS_FILES] == IOPOL_MATERIALIZE_DATALESS_FILES_OFF) return false;
  const std::string path = "/proc/self/fd/" + std::to_string(item);
  const std::uint32_t flags = flagsOf(item) & ~static_cast<std::uint32_t>(SF_DATALESS);
  ::setxattr(path.c_str(), kFlagsAttribute, &flags, sizeof flags, 0);
  return true;
}

// 0, or why macOS would not open the item for reading.
int refusalOf(int item) {
  if (hasAttribute(item, kPrivateAttribute)) return EPERM;
  if ((flagsOf(item) & SF_DATALESS) != 0 && !download(item)) return EDEADLK;
  return 0;
}

bool maySearch(int folder) { return ::faccessat(folder, ".", X_OK, AT_EACCESS) == 0; }

void addDarwinFacts(int item, struct stat& status, bool wantsRealDevice) {
  status.st_flags = 0;
  if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return;
  status.st_flags = flagsOf(item);
  if (!S_ISDIR(status.st_mode)) return;
  if (const auto other = attributeOf<ItemOfOtherVolume>(item, kVolumeAttribute)) {
    if (wantsRealDevice) status.st_dev = other->realDevice;
    if (other->inode != 0) status.st_ino = other->inode;
  }
}

int readStatus(int item, struct stat* status, bool wantsRealDevice) {
  if (::syscall(SYS_newfstatat, item, "", status, AT_EMPTY_PATH) != 0) return -1;
  addDarwinFacts(item, *status, wantsRealDevice);
  return 0;
}

class Record {
 public:
  template <class Value>
  void put(const Value& value) {
    bytes_.resize(bytes_.size() + sizeof value);
    putAt(bytes_.size() - sizeof value, value);
  }
  template <class Value>
  void putAt(std::size_t at, const Value& value) {
    std::memcpy(bytes_.data() + at, &value, sizeof value);
  }
  void append(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }
  void padTo(std::size_t multiple) { bytes_.resize((bytes_.size() + multiple - 1) / multiple * multiple); }
  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] const char* data() const { return bytes_.data(); }

 private:
  std::vector<char> bytes_;
};

fsobj_type_t objectType(unsigned mode) {
  switch (mode & S_IFMT) {
    case S_IFREG: return VREG;
    case S_IFDIR: return VDIR;
    case S_IFLNK: return VLNK;
    case S_IFBLK: return VBLK;
    case S_IFCHR: return VCHR;
    case S_IFSOCK: return VSOCK;
    default: return VFIFO;
  }
}

bool needsStatus(const attrlist& wanted) {
  return (wanted.commonattr & ~kTakesListingOnly) != 0 || wanted.fileattr != 0;
}

struct Listed {
  std::string name;
  unsigned char type = DT_UNKNOWN;
};

// One record; empty for an item that vanished.
Record recordOf(int folder, const attrlist& wanted, const Listed& listed) {
  struct stat status {};
  int error = 0;
  const bool isLookedUp = needsStatus(wanted) || listed.type == DT_UNKNOWN;
  if (isLookedUp) {
    const Item item(folder, listed.name.c_str(), kLookOnly);
    if (item.get() < 0 || readStatus(item.get(), &status, false) != 0) error = errno;
    if (error == ENOENT) return {};
  }
  const fsobj_type_t type = objectType(isLookedUp ? status.st_mode : static_cast<unsigned>(DTTOIF(listed.type)));
  attribute_set_t given{};
  given.commonattr = (error != 0 ? kRequired | ATTR_CMN_ERROR : ~ATTR_CMN_ERROR) & wanted.commonattr;
  given.fileattr = error != 0 || type == VDIR ? 0 : wanted.fileattr;
  const auto gives = [&](attrgroup_t attribute) { return (given.commonattr & attribute) != 0; };

  Record record;
  record.put(std::uint32_t{0});
  record.put(given);
  if (gives(ATTR_CMN_ERROR)) record.put(static_cast<std::uint32_t>(error));
  const std::size_t referenceAt = record.size();
  record.put(attrreference_t{});
  if (gives(ATTR_CMN_OBJTYPE)) record.put(type);
  if (gives(ATTR_CMN_FLAGS)) record.put(static_cast<std::uint32_t>(status.st_flags));
  if ((given.fileattr & ATTR_FILE_ALLOCSIZE) != 0) record.put(static_cast<off_t>(status.st_blocks * 512));
  if ((given.fileattr & ATTR_FILE_DATALENGTH) != 0) record.put(static_cast<off_t>(status.st_size));
  record.putAt(referenceAt, attrreference_t{.attr_dataoffset = static_cast<std::int32_t>(record.size() - referenceAt),
                                            .attr_length = static_cast<std::uint32_t>(listed.name.size() + 1)});
  record.append(listed.name);
  record.put('\0');
  record.padTo(8);
  record.putAt(0, static_cast<std::uint32_t>(record.size()));
  return record;
}

// The number of records in the buffer; what does not fit is listed by the next call, as the folder's offset says.
int listInBulk(int folder, const attrlist& wanted, char* buffer, std::size_t size) {
  std::array<char, 16 << 10> entries{};
  std::size_t used = 0;
  int count = 0;
  for (;;) {
    off_t resumeAt = ::lseek(folder, 0, SEEK_CUR);
    const ssize_t length = ::getdents64(folder, entries.data(), entries.size());
    if (length < 0) return count != 0 ? count : -1;
    if (length == 0) return count;
    for (const char* at = entries.data(); at != entries.data() + length;) {
      dirent64 entry{};
      std::memcpy(&entry, at, offsetof(dirent64, d_name));
      const Listed listed{.name = at + offsetof(dirent64, d_name), .type = entry.d_type};
      at += entry.d_reclen;
      if (listed.name != "." && listed.name != "..") {
        const Record record = recordOf(folder, wanted, listed);
        if (used + record.size() > size) {
          ::lseek(folder, resumeAt, SEEK_SET);
          return count != 0 ? count : fails(ERANGE);
        }
        if (record.size() != 0) ++count;
        std::memcpy(buffer + used, record.data(), record.size());
        used += record.size();
      }
      resumeAt = entry.d_off;
    }
    ::lseek(folder, resumeAt, SEEK_SET);
  }
}

std::size_t bulkLimit(std::size_t size) {
  const char* asked = ::getenv("QUARN_BULK_BYTES");
  const std::size_t limit = asked != nullptr ? std::strtoul(asked, nullptr, 10) : 0;
  return limit != 0 ? std::min(limit, size) : size;
}

}  // namespace
}  // namespace quarn::darwin

using namespace quarn::darwin;  // NOLINT(google-build-using-namespace): the functions below are C

extern "C" {

int openat(int folder, const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  if (isTooLong(path)) return fails(ENAMETOOLONG);
  const bool searches = (flags & O_SEARCH) != 0;
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags & ~kOwnFlags);
  if (searches) how.flags = (how.flags & (O_NOFOLLOW | O_CLOEXEC)) | O_PATH | O_DIRECTORY;
  how.mode = mode;
  how.resolve = (flags & O_NOFOLLOW_ANY) != 0 ? RESOLVE_NO_SYMLINKS : 0;
  const bool keepsAccessTime = !searches && policies[IOPOL_TYPE_VFS_ATIME_UPDATES] == IOPOL_ATIME_UPDATES_OFF;
  if (keepsAccessTime) how.flags |= O_NOATIME;
  int item = static_cast<int>(::syscall(SYS_openat2, folder, path, &how, sizeof how));
  if (item < 0 && errno == EPERM && keepsAccessTime) {
    how.flags &= ~static_cast<std::uint64_t>(O_NOATIME);
    item = static_cast<int>(::syscall(SYS_openat2, folder, path, &how, sizeof how));
  }
  if (item < 0) return item;
  const int error = searches ? (maySearch(item) ? 0 : EACCES) : refusalOf(item);
  if (error == 0) return item;
  ::close(item);
  return fails(error);
}

int fstat(int item, struct stat* status) { return readStatus(item, status, false); }

int fstatat(int folder, const char* path, struct stat* status, int flags) {
  if ((flags & AT_FDONLY) != 0) return readStatus(folder, status, (flags & AT_REALDEV) != 0);
  if (isTooLong(path)) return fails(ENAMETOOLONG);
  const std::uint64_t noFollow = (flags & AT_SYMLINK_NOFOLLOW) != 0 ? O_NOFOLLOW : 0;
  const std::uint64_t rules = (flags & AT_SYMLINK_NOFOLLOW_ANY) != 0 ? RESOLVE_NO_SYMLINKS : 0;
  const Item item(folder, path, O_PATH | O_CLOEXEC | noFollow, rules);
  return item.get() < 0 ? -1 : readStatus(item.get(), status, (flags & AT_REALDEV) != 0);
}

int fstatfs(int item, struct statfs* status) {
  if (::syscall(SYS_fstatfs, item, status) != 0) return -1;
  status->f_flags |= attributeOf<std::uint32_t>(item, kMountAttribute).value_or(0);
  return 0;
}

int getattrlistbulk(int folder, void* list, void* buffer, size_t size, uint64_t options) {
  const auto& wanted = *static_cast<const attrlist*>(list);
  const int flags = ::fcntl(folder, F_GETFL);
  if (flags < 0) return -1;
  if ((flags & O_PATH) != 0) return fails(EBADF);
  struct stat status {};
  if (readStatus(folder, &status, false) != 0) return -1;
  if (!S_ISDIR(status.st_mode)) return fails(ENOTDIR);
  const bool isKnown = (wanted.commonattr & ~kKnown) == 0 && (wanted.fileattr & ~kKnownOfFiles) == 0;
  const bool isWhole = (wanted.commonattr & kRequired) == kRequired && wanted.volattr == 0;
  if (!isKnown || !isWhole || options != 0 || wanted.bitmapcount != ATTR_BIT_MAP_COUNT) return fails(EINVAL);
  if (needsStatus(wanted) && !maySearch(folder)) return fails(EACCES);
  return listInBulk(folder, wanted, static_cast<char*>(buffer), bulkLimit(size));
}

int fgetattrlist(int item, void* list, void* buffer, size_t size, unsigned int /*options*/) {
  if (::fcntl(item, F_GETFD) < 0) return fails(EBADF);
  const auto& wanted = *static_cast<const attrlist*>(list);
  std::array<char, sizeof(std::uint32_t) + kFinderInfoSize> record{};
  if (wanted.commonattr != ATTR_CMN_FNDRINFO || size < record.size()) return fails(EINVAL);
  const auto length = static_cast<std::uint32_t>(record.size());
  std::memcpy(record.data(), &length, sizeof length);
  using FinderInfo = std::array<char, kFinderInfoSize>;
  const auto info = attributeOf<FinderInfo>(item, "user.com.apple.FinderInfo").value_or(FinderInfo{});
  std::memcpy(record.data() + sizeof length, info.data(), info.size());
  std::memcpy(buffer, record.data(), record.size());
  return 0;
}

int _NSGetExecutablePath(char* buffer, uint32_t* size) {
  std::array<char, 4096> path{};
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size() - 1);
  if (length < 0 || *size <= length) {
    *size = static_cast<uint32_t>(length + 1);
    return -1;
  }
  std::memcpy(buffer, path.data(), static_cast<std::size_t>(length) + 1);
  return 0;
}

int setiopolicy_np(int type, int scope, int policy) {
  if (!isKnownPolicy(type, scope)) return fails(EINVAL);
  policies[static_cast<std::size_t>(type)] = policy;
  return 0;
}

int getiopolicy_np(int type, int scope) {
  return isKnownPolicy(type, scope) ? policies[static_cast<std::size_t>(type)].load() : fails(EINVAL);
}

int pthread_set_qos_class_self_np(qos_class_t /*quality*/, int /*priority*/) { return 0; }

}  // extern "C"

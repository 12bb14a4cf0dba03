// Opening files and changing folders: the calls are the same, the flags and the descriptor of the current folder are
// not.
#include <array>
#include <cerrno>
#include <cstdarg>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/macos/loader/Shims.h"

namespace quarn::loader {
namespace {

struct FlagRow {
  int darwin, here;
};

// fcntl.h and unistd.h here are those of the emulation, which has macOS's own flags in bits of its choice.
constexpr std::array kOpenFlags = std::to_array<FlagRow>({{0x4, O_NONBLOCK},
                                                          {0x8, O_APPEND},
                                                          {0x100, O_NOFOLLOW},
                                                          {0x200, O_CREAT},
                                                          {0x400, O_TRUNC},
                                                          {0x800, O_EXCL},
                                                          {0x20000, O_NOCTTY},
                                                          {0x100000, O_DIRECTORY},
                                                          {0x1000000, O_CLOEXEC},
                                                          {0x20000000, O_NOFOLLOW_ANY},
                                                          {0x40000000, O_SEARCH}});
constexpr std::array kAtFlags = std::to_array<FlagRow>({{0x10, AT_EACCESS},
                                                        {0x20, AT_SYMLINK_NOFOLLOW},
                                                        {0x40, AT_SYMLINK_FOLLOW},
                                                        {0x80, AT_REMOVEDIR},
                                                        {0x200, AT_REALDEV},
                                                        {0x400, AT_FDONLY},
                                                        {0x800, AT_SYMLINK_NOFOLLOW_ANY}});
constexpr int kDarwinCreate = 0x200;
constexpr int kDarwinCurrentFolder = -2;

template <std::size_t Count>
int translated(const std::array<FlagRow, Count>& rows, int flags) {
  int result = 0;
  for (const FlagRow& row : rows) result |= (flags & row.darwin) != 0 ? row.here : 0;
  return result;
}

int openFlags(int flags) { return (flags & O_ACCMODE) | translated(kOpenFlags, flags); }
int atFlags(int flags) { return translated(kAtFlags, flags); }
int folderHere(int descriptor) { return descriptor == kDarwinCurrentFolder ? AT_FDCWD : descriptor; }

int openAt(int folder, const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const auto mode = static_cast<mode_t>((flags & kDarwinCreate) != 0 ? va_arg(rest, int) : 0);
  va_end(rest);
  return ::openat(folderHere(folder), path, openFlags(flags), mode);
}

int openPath(const char* path, int flags, ...) {
  std::va_list rest;
  va_start(rest, flags);
  const auto mode = static_cast<mode_t>((flags & kDarwinCreate) != 0 ? va_arg(rest, int) : 0);
  va_end(rest);
  return ::openat(AT_FDCWD, path, openFlags(flags), mode);
}

// macOS's numbers of the commands that programs here use.
int control(int descriptor, int command, ...) {
  std::va_list rest;
  va_start(rest, command);
  const long value = va_arg(rest, long);
  va_end(rest);
  switch (command) {
    case 0: return ::fcntl(descriptor, F_DUPFD, value);
    case 1: return ::fcntl(descriptor, F_GETFD);
    case 2: return ::fcntl(descriptor, F_SETFD, value);
    case 3: {
      const int flags = ::fcntl(descriptor, F_GETFL);
      if (flags < 0) return flags;
      return (flags & O_ACCMODE) | ((flags & O_NONBLOCK) != 0 ? 0x4 : 0) | ((flags & O_APPEND) != 0 ? 0x8 : 0);
    }
    case 4: return ::fcntl(descriptor, F_SETFL, openFlags(static_cast<int>(value)));
    case 67: return ::fcntl(descriptor, F_DUPFD_CLOEXEC, value);
    default: errno = EINVAL; return -1;
  }
}

int accessAt(int folder, const char* path, int mode, int flags) {
  return ::faccessat(folderHere(folder), path, mode, atFlags(flags));
}
int changeModeAt(int folder, const char* path, mode_t mode, int flags) {
  return ::fchmodat(folderHere(folder), path, mode, atFlags(flags));
}
int linkAt(int from, const char* path, int to, const char* newPath, int flags) {
  return ::linkat(folderHere(from), path, folderHere(to), newPath, atFlags(flags));
}
int unlinkAt(int folder, const char* path, int flags) { return ::unlinkat(folderHere(folder), path, atFlags(flags)); }
int symbolicLinkAt(const char* target, int folder, const char* path) {
  return ::symlinkat(target, folderHere(folder), path);
}
ssize_t readLinkAt(int folder, const char* path, char* buffer, std::size_t size) {
  return ::readlinkat(folderHere(folder), path, buffer, size);
}
int makeFolderAt(int folder, const char* path, mode_t mode) { return ::mkdirat(folderHere(folder), path, mode); }
int makePipeAt(int folder, const char* path, mode_t mode) { return ::mkfifoat(folderHere(folder), path, mode); }
int makeNodeAt(int folder, const char* path, mode_t mode, int device) {
  return ::mknodat(folderHere(folder), path, mode, static_cast<dev_t>(device));
}
int renameAt(int from, const char* path, int to, const char* newPath) {
  return ::renameat(folderHere(from), path, folderHere(to), newPath);
}
int setTimesAt(int folder, const char* path, const timespec* times, int flags) {
  return ::utimensat(folderHere(folder), path, times, atFlags(flags));
}
int makeTemporary(char* path, int flags) { return ::mkostemp(path, openFlags(flags)); }

// The first six bits of poll's events are the same, and programs here use no others.
int pollDescriptors(pollfd* descriptors, unsigned count, int timeout) { return ::poll(descriptors, count, timeout); }

}  // namespace

std::span<const Shim> fileShims() {
  static const std::array shims{shim("open", openPath),          shim("openat", openAt),
                                shim("fcntl", control),          shim("faccessat", accessAt),
                                shim("fchmodat", changeModeAt),  shim("linkat", linkAt),
                                shim("unlinkat", unlinkAt),      shim("symlinkat", symbolicLinkAt),
                                shim("readlinkat", readLinkAt),  shim("mkdirat", makeFolderAt),
                                shim("mkfifoat", makePipeAt),    shim("mknodat", makeNodeAt),
                                shim("renameat", renameAt),      shim("utimensat", setTimesAt),
                                shim("mkostemp", makeTemporary), shim("poll", pollDescriptors)};
  return shims;
}

}  // namespace quarn::loader

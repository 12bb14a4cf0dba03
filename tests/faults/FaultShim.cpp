// A library that tests preload into the command. It makes chosen calls fail, to show how the command reacts.
//
//   QUARN_FAULT=CALL:ERRNO:WHEN   CALL:  openat2, open, openat, getdents64, fstatat, fstat, pread, pwrite, fsync,
//                                        readlinkat, xattr, malloc, pthread_create
//                                 WHEN:  n7 only the seventh call; e1 every call, e2 every second call
//               CALL:interrupt:nN CALL never fails. Call number N sends SIGINT to the process, as Ctrl-C does
//   QUARN_FAULT_MARK=FILE         exists once the library is loaded; gets one byte for each call that failed, or for
//                                 each call after the interrupt; each of these waits 10 ms
//   QUARN_FAULT_CONFINEMENT       if set, the process writes "filter N" to its standard error at its end. N is 2 if a
//                                 filter of system calls confines it, else 0
//
// The library sees only calls through the functions of the C library. "xattr" stands for flistxattr and fgetxattr.
// "malloc" counts and fails only after main() began, and only for callers outside the C library and libplist: these two
// do not survive a failure (see docs/security.md).

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <iterator>

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

extern "C" void* __libc_malloc(size_t size);  // NOLINT(bugprone-reserved-identifier): the C library's own name

namespace {

enum class Call : std::uint8_t {
  none,
  openat2,
  open,
  openat,
  getdents64,
  fstatat,
  fstat,
  pread,
  pwrite,
  fsync,
  readlinkat,
  xattr,
  malloc,
  pthreadCreate
};

struct Row {
  const char* name;
  Call call;
};

constexpr Row kRows[] = {{"openat2:", Call::openat2},
                         {"open:", Call::open},
                         {"openat:", Call::openat},
                         {"getdents64:", Call::getdents64},
                         {"fstatat:", Call::fstatat},
                         {"fstat:", Call::fstat},
                         {"pread:", Call::pread},
                         {"pwrite:", Call::pwrite},
                         {"fsync:", Call::fsync},
                         {"readlinkat:", Call::readlinkat},
                         {"xattr:", Call::xattr},
                         {"malloc:", Call::malloc},
                         {"pthread_create:", Call::pthreadCreate}};

constexpr const char* kInterrupt = "interrupt";

Call chosen = Call::none;
int error = 0;
bool isEvery = false;
bool isInterrupt = false;
std::uint64_t number = 1;
int mark = -1;
std::atomic<std::uint64_t> calls = 0;
std::atomic<bool> isStarted = false;  // main() began

/// The code of a library that does not survive a failing malloc.
struct Code {
  std::uintptr_t begin;
  std::uintptr_t end;
};
constexpr const char* kFragileLibraries[] = {"/libc.so", "/libplist-2.0.so", "/ld-linux"};
Code fragile[8];
std::size_t fragileCount = 0;

int noteFragile(dl_phdr_info* object, std::size_t /*size*/, void* /*context*/) {
  for (const char* library : kFragileLibraries) {
    if (std::strstr(object->dlpi_name, library) == nullptr) continue;
    for (int i = 0; i < object->dlpi_phnum && fragileCount < std::size(fragile); ++i) {
      const ElfW(Phdr)& segment = object->dlpi_phdr[i];
      if (segment.p_type != PT_LOAD || (segment.p_flags & PF_X) == 0) continue;
      const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
      fragile[fragileCount++] = {begin, begin + segment.p_memsz};
    }
  }
  return 0;
}

bool mayFail(const void* caller) {
  if (!isStarted) return false;
  const auto address = reinterpret_cast<std::uintptr_t>(caller);
  for (std::size_t i = 0; i < fragileCount; ++i) {
    if (address >= fragile[i].begin && address < fragile[i].end) return false;
  }
  return true;
}

__attribute__((constructor)) void readEnvironment() {
  const char* fault = std::getenv("QUARN_FAULT");
  if (fault == nullptr) return;
  if (const char* file = std::getenv("QUARN_FAULT_MARK")) {
    mark = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    // Out of the way of the descriptors that the program counts on.
    const int high = ::fcntl(mark, F_DUPFD_CLOEXEC, 200);
    if (high >= 0) {
      ::close(mark);
      mark = high;
    }
  }
  char* rest = nullptr;
  for (const Row& row : kRows) {
    if (std::strncmp(fault, row.name, std::strlen(row.name)) != 0) continue;
    const char* what = fault + std::strlen(row.name);
    isInterrupt = std::strncmp(what, kInterrupt, std::strlen(kInterrupt)) == 0;
    error = static_cast<int>(std::strtol(what, &rest, 10));
    if (isInterrupt) rest += std::strlen(kInterrupt);
    isEvery = rest[1] == 'e';
    number = std::strtoull(rest + 2, nullptr, 10);
    chosen = row.call;
  }
  if (chosen == Call::none || number == 0) ::_exit(99);
  if (chosen == Call::malloc) ::dl_iterate_phdr(noteFragile, nullptr);
}

__attribute__((destructor)) void tellConfinement() {
  if (std::getenv("QUARN_FAULT_CONFINEMENT") == nullptr) return;
  char text[] = "filter 0\n";
  text[sizeof text - 3] = static_cast<char>('0' + ::prctl(PR_GET_SECCOMP));
  ::syscall(SYS_write, STDERR_FILENO, text, sizeof text - 1);
}

// The program receives signals on a thread of its own. From now on each call waits, so that this thread runs before
// many more calls, and a program that goes on takes very long.
void interrupt(std::uint64_t count) {
  constexpr timespec kPause{.tv_sec = 0, .tv_nsec = 10'000'000};
  if (count < number) return;
  if (count == number) ::kill(::getpid(), SIGINT);
  if (count > number && mark >= 0) ::syscall(SYS_write, mark, "x", 1);
  ::nanosleep(&kPause, nullptr);
}

bool fails(Call call) {
  if (call != chosen) return false;
  const std::uint64_t count = ++calls;
  if (isInterrupt) {
    interrupt(count);
    return false;
  }
  if (isEvery ? count % number != 0 : count != number) return false;
  if (mark >= 0) ::syscall(SYS_write, mark, "x", 1);
  errno = error;
  return true;
}

template <class Function>
Function real(const char* name) {
  return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

long syscall(long what, ...) {
  static const auto next = real<long (*)(long, ...)>("syscall");
  va_list list;
  va_start(list, what);
  long words[6];
  for (long& word : words) word = va_arg(list, long);
  va_end(list);
  if (what == SYS_openat2 && fails(Call::openat2)) return -1;
  return next(what, words[0], words[1], words[2], words[3], words[4], words[5]);
}

int open(const char* path, int flags, ...) {
  static const auto next = real<int (*)(const char*, int, ...)>("open");
  va_list list;
  va_start(list, flags);
  const int mode = va_arg(list, int);
  va_end(list);
  return fails(Call::open) ? -1 : next(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
  static const auto next = real<int (*)(const char*, int, ...)>("open64");
  va_list list;
  va_start(list, flags);
  const int mode = va_arg(list, int);
  va_end(list);
  return fails(Call::open) ? -1 : next(path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
  static const auto next = real<int (*)(int, const char*, int, ...)>("openat");
  va_list list;
  va_start(list, flags);
  const int mode = va_arg(list, int);
  va_end(list);
  return fails(Call::openat) ? -1 : next(folder, path, flags, mode);
}

ssize_t getdents64(int folder, void* buffer, size_t size) {
  static const auto next = real<ssize_t (*)(int, void*, size_t)>("getdents64");
  return fails(Call::getdents64) ? -1 : next(folder, buffer, size);
}

int fstatat(int folder, const char* path, struct stat* facts, int flags) {
  static const auto next = real<int (*)(int, const char*, struct stat*, int)>("fstatat");
  return fails(Call::fstatat) ? -1 : next(folder, path, facts, flags);
}

int fstat(int item, struct stat* facts) {
  static const auto next = real<int (*)(int, struct stat*)>("fstat");
  return fails(Call::fstat) ? -1 : next(item, facts);
}

ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
  static const auto next = real<ssize_t (*)(int, void*, size_t, off_t)>("pread");
  return fails(Call::pread) ? -1 : next(file, buffer, size, offset);
}

ssize_t pread64(int file, void* buffer, size_t size, off64_t offset) {
  static const auto next = real<ssize_t (*)(int, void*, size_t, off64_t)>("pread64");
  return fails(Call::pread) ? -1 : next(file, buffer, size, offset);
}

ssize_t pwrite(int file, const void* data, size_t size, off_t offset) {
  static const auto next = real<ssize_t (*)(int, const void*, size_t, off_t)>("pwrite");
  return fails(Call::pwrite) ? -1 : next(file, data, size, offset);
}

ssize_t pwrite64(int file, const void* data, size_t size, off64_t offset) {
  static const auto next = real<ssize_t (*)(int, const void*, size_t, off64_t)>("pwrite64");
  return fails(Call::pwrite) ? -1 : next(file, data, size, offset);
}

int fsync(int file) {
  static const auto next = real<int (*)(int)>("fsync");
  return fails(Call::fsync) ? -1 : next(file);
}

ssize_t readlinkat(int folder, const char* path, char* buffer, size_t size) {
  static const auto next = real<ssize_t (*)(int, const char*, char*, size_t)>("readlinkat");
  return fails(Call::readlinkat) ? -1 : next(folder, path, buffer, size);
}

ssize_t flistxattr(int item, char* list, size_t size) {
  static const auto next = real<ssize_t (*)(int, char*, size_t)>("flistxattr");
  return fails(Call::xattr) ? -1 : next(item, list, size);
}

ssize_t fgetxattr(int item, const char* name, void* value, size_t size) {
  static const auto next = real<ssize_t (*)(int, const char*, void*, size_t)>("fgetxattr");
  return fails(Call::xattr) ? -1 : next(item, name, value, size);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
void* malloc(size_t size) {
  const bool mayFailHere = chosen == Call::malloc && mayFail(__builtin_return_address(0));
  return mayFailHere && fails(Call::malloc) ? nullptr : __libc_malloc(size);
}
#endif

using Main = int (*)(int, char**, char**);
Main realMain = nullptr;

int startedMain(int count, char** words, char** environment) {
  isStarted = true;
  return realMain(count, words, environment);
}

// NOLINTNEXTLINE(bugprone-reserved-identifier): the C library's own name
int __libc_start_main(Main main, int count, char** words, void (*init)(), void (*fini)(), void (*atExit)(), void* end) {
  static const auto next =
      real<int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*)>("__libc_start_main");
  realMain = main;
  return next(startedMain, count, words, init, fini, atExit, end);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*work)(void*), void* what) {
  static const auto next = real<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
  return fails(Call::pthreadCreate) ? error : next(thread, how, work, what);
}
}

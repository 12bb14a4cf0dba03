// Clocks, limits, the terminal, and what macOS's dynamic linker and kernel say of a program.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <dirent.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include "tests/macos/loader/Shims.h"

// From libgcc: whole numbers of 128 bits.
extern "C" {
__extension__ __int128 __divti3(__int128 left, __int128 right);
__extension__ unsigned __int128 __udivti3(unsigned __int128 left, unsigned __int128 right);
__extension__ __int128 __modti3(__int128 left, __int128 right);
__extension__ unsigned __int128 __umodti3(unsigned __int128 left, unsigned __int128 right);
}

namespace quarn::loader {
namespace {

int readClock(int clock, timespec* time) {
  constexpr int kWallTime = 0;
  constexpr int kProcessTime = 12;
  constexpr int kThreadTime = 16;
  switch (clock) {
    case kWallTime: return ::clock_gettime(CLOCK_REALTIME, time);
    case kProcessTime: return ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, time);
    case kThreadTime: return ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, time);
    default: return ::clock_gettime(CLOCK_MONOTONIC, time);
  }
}

// macOS's numbers of the values that programs here ask for.
long configured(int name) {
  constexpr long kAccountBuffer = 4096;
  switch (name) {
    case 5: return ::sysconf(_SC_OPEN_MAX);
    case 29: return ::sysconf(_SC_PAGESIZE);
    case 57:
    case 58: return ::sysconf(_SC_NPROCESSORS_ONLN);
    case 71: return kAccountBuffer;
    default: return -1;
  }
}

int controlDevice(int descriptor, unsigned long request, void* record) {
  constexpr unsigned long kReadWindowSize = 0x40087468;
  if (request == kReadWindowSize) return ::ioctl(descriptor, TIOCGWINSZ, record);
  errno = ENOTTY;
  return -1;
}

constexpr int kDarwinOpenFiles = 8;
auto limitHere(int limit) { return static_cast<__rlimit_resource>(limit == kDarwinOpenFiles ? RLIMIT_NOFILE : limit); }
int readLimit(int limit, rlimit* record) { return ::getrlimit(limitHere(limit), record); }
int setLimit(int limit, const rlimit* record) { return ::setrlimit(limitHere(limit), record); }

int pathOfProgram(char* buffer, std::uint32_t* size) {
  const std::string& path = runningProgram().path;
  if (*size <= path.size()) {
    *size = static_cast<std::uint32_t>(path.size() + 1);
    return -1;
  }
  std::memcpy(buffer, path.c_str(), path.size() + 1);
  return 0;
}
int* wordCount() { return &runningProgram().wordCount; }
char*** words() { return &runningProgram().words; }

// What the unwinder asks of the dynamic linker.
struct UnwindSections {
  const void* header;
  const void* frames;
  std::uint64_t framesSize;
  const void* compact;
  std::uint64_t compactSize;
};
bool findUnwindSections(const void* address, UnwindSections* found) {
  const std::list<Image>& images = *runningProgram().images;
  const auto image = std::find_if(images.begin(), images.end(), [&](const Image& candidate) {
    return candidate.contains(reinterpret_cast<std::uint64_t>(address));
  });
  if (image == images.end()) return false;
  const Image::Bytes frames = image->section("__eh_frame");
  const Image::Bytes compact = image->section("__unwind_info");
  *found = {reinterpret_cast<const void*>(image->base()), frames.data, frames.size, compact.data, compact.size};
  return true;
}
void onRemovedImage(void*) {}
[[noreturn]] void bindLazily() {
  std::fputs("macho_run: a symbol was left to the lazy binder\n", stderr);
  std::abort();
}
void* nothing() { return nullptr; }
int unsupported() {
  errno = ENOTSUP;
  return -1;
}

unsigned ownTask = 0;
// Any number: the stack protector compares it with itself.
unsigned long stackGuard = 0x5155524e00ff0a0d;
// Google's test library counts the threads before it forks.
int threadsOfTask(unsigned, unsigned** threads, unsigned* count) {
  *count = 0;
  *threads = nullptr;
  DIR* tasks = ::opendir("/proc/self/task");
  if (tasks == nullptr) return -1;
  while (const dirent* task = ::readdir(tasks)) *count += task->d_name[0] != '.' ? 1 : 0;
  ::closedir(tasks);
  return 0;
}
int freeMemory(unsigned, unsigned long, unsigned long) { return 0; }

void fillWithPattern(char* to, const char* pattern, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) to[i] = pattern[i % 16];
}
char* copyChecked(char* to, const char* from, std::size_t size, std::size_t) { return std::strncpy(to, from, size); }

}  // namespace

std::span<const Shim> systemShims() {
  static const std::array shims{shim("clock_gettime", readClock),
                                shim("sysconf", configured),
                                shim("ioctl", controlDevice),
                                shim("getrlimit", readLimit),
                                shim("setrlimit", setLimit),
                                shim("_NSGetExecutablePath", pathOfProgram),
                                shim("_NSGetArgc", wordCount),
                                shim("_NSGetArgv", words),
                                shim("_dyld_find_unwind_sections", findUnwindSections),
                                shim("_dyld_register_func_for_remove_image", onRemovedImage),
                                shim("dyld_stub_binder", bindLazily),
                                shim("dlopen", nothing),
                                shim("dlsym", nothing),
                                shim("copyfile_state_alloc", nothing),
                                shim("copyfile_state_free", unsupported),
                                shim("fcopyfile", unsupported),
                                shim("mach_task_self_", &ownTask),
                                shim("__stack_chk_guard", &stackGuard),
                                shim("task_threads", threadsOfTask),
                                shim("vm_deallocate", freeMemory),
                                shim("memset_pattern16", fillWithPattern),
                                shim("__strncpy_chk", copyChecked),
                                shim("__stderrp", &stderr),
                                shim("__stdoutp", &stdout),
                                shim("__stdinp", &stdin),
                                shim("_Exit", ::_Exit),
                                shim("__divti3", __divti3),
                                shim("__udivti3", __udivti3),
                                shim("__modti3", __modti3),
                                shim("__umodti3", __umodti3)};
  return shims;
}

}  // namespace quarn::loader

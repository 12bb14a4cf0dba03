// A library for measurements, preloaded into a program. Each call that looks into the file system waits first, like one
// to a network or a spinning disk. QUARN_LATENCY_MICROSECONDS is the time.

#include <cstdarg>
#include <cstdlib>
#include <ctime>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

timespec latency{};

__attribute__((constructor)) void readEnvironment() {
  constexpr long kNanosecondsPerMicrosecond = 1000;
  const char* text = std::getenv("QUARN_LATENCY_MICROSECONDS");
  latency.tv_nsec = text != nullptr ? std::strtol(text, nullptr, 10) * kNanosecondsPerMicrosecond : 0;
}

// The system may round a wait up by 50 microseconds unless the thread asks for less.
void wait() {
  thread_local const int slack = ::prctl(PR_SET_TIMERSLACK, 1);
  (void)slack;
  ::clock_nanosleep(CLOCK_MONOTONIC, 0, &latency, nullptr);
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
  if (what == SYS_openat2) wait();
  return next(what, words[0], words[1], words[2], words[3], words[4], words[5]);
}

int openat(int folder, const char* path, int flags, ...) {
  static const auto next = real<int (*)(int, const char*, int, ...)>("openat");
  va_list list;
  va_start(list, flags);
  const int mode = va_arg(list, int);
  va_end(list);
  wait();
  return next(folder, path, flags, mode);
}

ssize_t getdents64(int folder, void* buffer, size_t size) {
  static const auto next = real<ssize_t (*)(int, void*, size_t)>("getdents64");
  wait();
  return next(folder, buffer, size);
}

int statx(int folder, const char* path, int flags, unsigned mask, struct statx* facts) {
  static const auto next = real<int (*)(int, const char*, int, unsigned, struct statx*)>("statx");
  wait();
  return next(folder, path, flags, mask, facts);
}

int fstatat(int folder, const char* path, struct stat* facts, int flags) {
  static const auto next = real<int (*)(int, const char*, struct stat*, int)>("fstatat");
  wait();
  return next(folder, path, facts, flags);
}

}  // extern "C"

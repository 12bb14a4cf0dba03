// measure REPORT PROGRAM [ARGUMENT…]: runs a program and writes "SECONDS PEAK_KIB STATUS" to the file REPORT.
//
// The kernel's figure for the peak memory of a child starts with the memory of its parent. This program is small and
// static, so that the figure is that of the measured program.

#include <cerrno>
#include <cstdio>
#include <ctime>

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

double now() {
  timespec time{};
  ::clock_gettime(CLOCK_MONOTONIC, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

int statusOf(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount < 3) {
    std::fputs("usage: measure REPORT PROGRAM [ARGUMENT...]\n", stderr);
    return 2;
  }
  std::FILE* report = std::fopen(arguments[1], "we");
  if (report == nullptr) return 2;
  pid_t child = 0;
  const double start = now();
  if (::posix_spawnp(&child, arguments[2], nullptr, nullptr, arguments + 2, environ) != 0) return 127;
  int status = 0;
  rusage usage{};
  while (::wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
  }
  std::fprintf(report, "%.6f %ld %d\n", now() - start, usage.ru_maxrss, statusOf(status));
  std::fclose(report);
  return statusOf(status);
}

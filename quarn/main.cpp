#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "quarn/commands/CommandLine.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

// A walk starts threads, and glibc would give many of them a heap of their own, most of it empty. Two are enough: what
// the threads of a walk allocate they keep and use again.
void keepHeapsFew() {
#ifdef __GLIBC__
  ::mallopt(M_ARENA_MAX, 2);
#endif
}

// A standard input or output that is closed would be the next file that is opened, and take or give its content. What
// stands in for it fails as it did.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
  }
}

}  // namespace

int main(int count, char** words) {
  occupyStandardDescriptors();
  keepHeapsFew();
  try {
    return quarn::runCommandLine({words + 1, words + count});
  } catch (...) {
    // Without memory even for a message that is made up.
    constexpr std::string_view kMessage = "quarn: not enough memory\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kMessage.data(), kMessage.size());
    return 1;
  }
}

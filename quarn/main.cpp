#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "quarn/Process.h"
#include "quarn/commands/CommandLine.h"
#include "quarn/services/MemoryReserve.h"

namespace {

// If a standard descriptor is closed, the next opened file would get its number and its content. /dev/null takes its
// place; reading or writing it fails, as before.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) continue;
    if (::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
  }
}

}  // namespace

int main(int count, char** words) {
  occupyStandardDescriptors();
  quarn::settleProcess();
  const quarn::MemoryReserve reserve;
  try {
    return quarn::runCommandLine({words + 1, words + count});
  } catch (...) {
    // There is no memory even for a message that has to be composed.
    constexpr std::string_view kMessage = "quarn: not enough memory\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kMessage.data(), kMessage.size());
    return 1;
  }
}

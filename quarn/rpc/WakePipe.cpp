#include "quarn/rpc/WakePipe.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace quarn {

WakePipe::WakePipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  reading_ = FileDescriptor(ends[0]);
  writing_ = FileDescriptor(ends[1]);
  for (const int end : ends) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(end, F_SETFL, O_NONBLOCK);
  }
}

void WakePipe::signal() const {
  // If the pipe is full, the signal is already pending.
  [[maybe_unused]] const ssize_t count = ::write(writing_.get(), "", 1);
}

void WakePipe::drain() const {
  std::array<char, 64> bytes{};
  while (::read(reading_.get(), bytes.data(), bytes.size()) > 0) {
  }
}

}  // namespace quarn

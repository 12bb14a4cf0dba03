#include "quarn/rpc/LineWriter.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace quarn {

bool LineWriter::write(std::string text) {
  text += '\n';
  const std::lock_guard lock(mutex_);
  return error_ == 0 && writeAll(text);
}

int LineWriter::error() const {
  const std::lock_guard lock(mutex_);
  return error_;
}

bool LineWriter::writeAll(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno == EAGAIN) {
      // The client may have passed a non-blocking descriptor.
      pollfd ready{descriptor_, POLLOUT, 0};
      ::poll(&ready, 1, -1);
    } else if (errno != EINTR) {
      error_ = errno;
      return false;
    }
  }
  return true;
}

}  // namespace quarn

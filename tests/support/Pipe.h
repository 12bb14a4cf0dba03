#pragma once

#include <array>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn {

struct Pipe {
  FileDescriptor reading;
  FileDescriptor writing;
};

/// A pipe that child programs do not inherit. Uses no pipe2, which macOS lacks. Throws if no descriptor is left.
inline Pipe makePipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("pipe");
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

}  // namespace quarn

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

/// A started program does not inherit the ends. macOS has no pipe2. Throws if there is no descriptor left.
inline Pipe makePipe() {
  std::array<int, 2> ends{};
  if (::pipe(ends.data()) != 0) throw std::runtime_error("pipe");
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

}  // namespace quarn

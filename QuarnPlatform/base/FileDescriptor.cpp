#include "QuarnPlatform/base/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

namespace quarn {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
  if (this != &other) {
    reset();
    descriptor_ = other.release();
  }
  return *this;
}

FileDescriptor FileDescriptor::duplicate() const { return FileDescriptor(::fcntl(descriptor_, F_DUPFD_CLOEXEC, 0)); }

void FileDescriptor::reset() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

}  // namespace quarn

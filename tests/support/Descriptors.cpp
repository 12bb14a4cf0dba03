#include "tests/support/Descriptors.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>

namespace quarn {
namespace {

constexpr int kHighestDescriptor = 4096;

int lastOpenDescriptor() {
  int descriptor = kHighestDescriptor;
  while (descriptor >= 0 && ::fcntl(descriptor, F_GETFD) < 0) --descriptor;
  return descriptor;
}

}  // namespace

std::size_t openDescriptors() {
  std::size_t count = 0;
  for (int descriptor = 0; descriptor <= kHighestDescriptor; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) ++count;
  }
  return count;
}

DescriptorLimit::DescriptorLimit(std::size_t more) {
  if (::getrlimit(RLIMIT_NOFILE, &before_) != 0) throw std::system_error(errno, std::generic_category(), "getrlimit");
  // The limit is one of numbers, so those that are free below the last one are taken.
  const int last = lastOpenDescriptor();
  for (;;) {
    FileDescriptor taken(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!taken.isOpen() || taken.get() > last) break;
    taken_.push_back(std::move(taken));
  }
  rlimit lowered = before_;
  lowered.rlim_cur = std::min(before_.rlim_cur, static_cast<rlim_t>(last) + 1 + more);
  if (::setrlimit(RLIMIT_NOFILE, &lowered) != 0) throw std::system_error(errno, std::generic_category(), "setrlimit");
}

DescriptorLimit::~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &before_); }

}  // namespace quarn

#pragma once

#include <cstddef>
#include <vector>

#include <sys/resource.h>

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn {

/// The number of open descriptors of the process.
std::size_t openDescriptors();

/// During its lifetime, the process may open at most `more` additional descriptors.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(std::size_t more);
  ~DescriptorLimit();
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

 private:
  rlimit before_{};
  std::vector<FileDescriptor> taken_;
};

}  // namespace quarn

#pragma once

#include <cstddef>

#include <sys/resource.h>

namespace quarn {

/// Descriptors that the process has open now.
std::size_t openDescriptors();

/// For as long as it lives, the process may open at most `more` descriptors besides those that are open.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(std::size_t more);
  ~DescriptorLimit();
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

 private:
  rlimit before_{};
};

}  // namespace quarn

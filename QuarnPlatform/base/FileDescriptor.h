#pragma once

#include <utility>

namespace quarn {

/// Owns an open file descriptor and closes it; movable, not copyable.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor() { reset(); }

  [[nodiscard]] int get() const { return descriptor_; }
  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  /// A second descriptor of the same opening; closed when the system has none left.
  [[nodiscard]] FileDescriptor duplicate() const;
  int release() { return std::exchange(descriptor_, -1); }
  void reset();

 private:
  int descriptor_ = -1;
};

}  // namespace quarn

#pragma once

#include <utility>

namespace quarn {

/// Owns an open file descriptor. Movable, not copyable.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept;
  ~FileDescriptor() { reset(); }

  [[nodiscard]] int get() const { return descriptor_; }
  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  /// A duplicate that refers to the same open file description; closed if the process has no descriptors left.
  [[nodiscard]] FileDescriptor duplicate() const;
  int release() { return std::exchange(descriptor_, -1); }
  void reset();

 private:
  int descriptor_ = -1;
};

}  // namespace quarn

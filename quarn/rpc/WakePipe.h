#pragma once

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn {

/// Wakes a thread that waits for descriptors: it waits for this one too. Never blocks; signals may merge into one.
/// Safe from any thread.
class WakePipe {
 public:
  /// Throws std::system_error when the process has no descriptors left.
  WakePipe();

  void signal() const;
  /// Takes all signals that have come.
  void drain() const;
  /// Becomes readable with a signal.
  [[nodiscard]] int descriptor() const { return reading_.get(); }

 private:
  FileDescriptor reading_;
  FileDescriptor writing_;
};

}  // namespace quarn

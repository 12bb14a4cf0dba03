#pragma once

#include "QuarnPlatform/base/FileDescriptor.h"

namespace quarn {

/// Wakes a thread that polls descriptors: it polls this one too. Never blocks; several signals may become one.
/// Thread-safe.
class WakePipe {
 public:
  /// Throws std::system_error if the process cannot open a descriptor.
  WakePipe();

  void signal() const;
  /// Consumes all pending signals.
  void drain() const;
  /// Readable while a signal is pending.
  [[nodiscard]] int descriptor() const { return reading_.get(); }

 private:
  FileDescriptor reading_;
  FileDescriptor writing_;
};

}  // namespace quarn

#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace quarn {

/// Writes whole lines to a descriptor. The caller owns the descriptor. Thread-safe: lines never interleave. After a
/// failed write it writes nothing more.
class LineWriter {
 public:
  explicit LineWriter(int descriptor) : descriptor_(descriptor) {}

  /// Writes the text and "\n"; blocks until the reader has taken it. Returns false if the write fails.
  bool write(std::string text);
  /// The errno of the failed write, or 0.
  [[nodiscard]] int error() const;

 private:
  bool writeAll(std::string_view bytes);

  int descriptor_;
  mutable std::mutex mutex_;
  int error_ = 0;
};

}  // namespace quarn

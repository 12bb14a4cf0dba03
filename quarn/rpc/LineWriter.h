#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace quarn {

/// Writes whole lines to a descriptor, which stays the caller's. Safe from any thread: lines never mix. Once a write
/// has failed nothing more is written.
class LineWriter {
 public:
  explicit LineWriter(int descriptor) : descriptor_(descriptor) {}

  /// Writes the text and "\n", waiting as long as the reader takes. False when the line cannot be written.
  bool write(std::string text);
  /// The errno of the write that failed; 0 as long as all went well.
  [[nodiscard]] int error() const;

 private:
  bool writeAll(std::string_view bytes);

  int descriptor_;
  mutable std::mutex mutex_;
  int error_ = 0;
};

}  // namespace quarn

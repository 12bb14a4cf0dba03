#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace quarn {

/// Splits the input of a descriptor into lines. Memory is bounded by the maximum line length: a longer line is
/// reported once and skipped to its end. The caller owns the descriptor. Not thread-safe.
class LineReader {
 public:
  enum class Status : std::uint8_t {
    line,      ///< a line without its "\n"; the last line may lack one
    tooLong,   ///< a line above the limit; it is skipped
    needMore,  ///< no complete line; call `readMore`
    end,       ///< end of the input
  };

  LineReader(int descriptor, std::size_t maximumBytes) : descriptor_(descriptor), maximumBytes_(maximumBytes) {}

  /// The next complete line of the data read so far.
  Status next(std::string& line);
  /// Reads once from the descriptor and blocks until data arrives. An error counts as the end of the input.
  void readMore();

 private:
  Status nextUnfinished(std::string& line);
  void forgetBuffer();

  int descriptor_;
  std::size_t maximumBytes_;
  std::unique_ptr<char[]> chunk_;  ///< what one call reads into; not zeroed, so that a short line touches few pages
  std::string buffer_;
  std::size_t start_ = 0;    ///< start of the next line in the buffer
  std::size_t scanned_ = 0;  ///< there is no "\n" between `start_` and here
  bool isDropping_ = false;  ///< the buffer begins inside a line that is too long
  bool isAtEnd_ = false;
};

}  // namespace quarn

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quarn {

/// Cuts what comes out of a descriptor into lines. Memory is bounded by the longest line allowed, whatever comes: a
/// longer one is reported once and dropped to its end. The descriptor stays the caller's. One thread.
class LineReader {
 public:
  enum class Status : std::uint8_t {
    line,      ///< a line, without its "\n"; the last one may have had none
    tooLong,   ///< a line longer than allowed, which is dropped
    needMore,  ///< nothing until `readMore` is called
    end,       ///< nothing will come any more
  };

  LineReader(int descriptor, std::size_t maximumBytes) : descriptor_(descriptor), maximumBytes_(maximumBytes) {}

  /// The next line of what was read so far.
  Status next(std::string& line);
  /// Reads once from the descriptor, waiting when nothing is there. An error counts as the end of the input.
  void readMore();

 private:
  Status nextUnfinished(std::string& line);
  void forgetBuffer();

  int descriptor_;
  std::size_t maximumBytes_;
  std::string buffer_;
  std::size_t start_ = 0;    ///< where the next line begins in the buffer
  std::size_t scanned_ = 0;  ///< no "\n" lies between `start_` and here
  bool isDropping_ = false;  ///< the buffer begins within a line that was too long
  bool isAtEnd_ = false;
};

}  // namespace quarn

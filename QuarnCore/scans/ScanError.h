#pragma once

#include <cstdint>
#include <string>

#include "QuarnPlatform/base/FileError.h"

namespace quarn {

/// A file that is not a scan, or a scan that cannot be used. `what()` names the file and what to do.
class ScanError : public FileError {
 public:
  enum class Problem : std::uint8_t {
    foreign,  ///< not written by this program
    newer,    ///< written by a newer version of this program
    damaged,  ///< truncated or changed
  };

  ScanError(Problem problem, const std::string& file);

  [[nodiscard]] Problem problem() const noexcept { return problem_; }
  [[nodiscard]] const char* what() const noexcept override { return text_.c_str(); }

 private:
  Problem problem_;
  std::string text_;
};

}  // namespace quarn

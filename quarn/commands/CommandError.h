#pragma once

#include <stdexcept>
#include <string>

#include "quarn/commands/ExitCode.h"

namespace quarn {

/// A command failed. `what()` is the message for the user; `code()` becomes the exit code.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitCode code, const std::string& problem) : std::runtime_error(problem), code_(code) {}
  [[nodiscard]] ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace quarn

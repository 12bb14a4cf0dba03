#pragma once

#include <stdexcept>
#include <string>

#include "quarn/commands/ExitCode.h"

namespace quarn {

/// Something that the user asked for could not be done. `what()` is one line for people; the code ends the command.
class CommandError : public std::runtime_error {
 public:
  CommandError(ExitCode code, const std::string& problem) : std::runtime_error(problem), code_(code) {}
  [[nodiscard]] ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace quarn

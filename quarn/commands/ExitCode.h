#pragma once

#include <array>
#include <string_view>

namespace quarn {

/// How the command ends.
enum class ExitCode : int {
  ok = 0,
  failure = 1,     ///< something was asked for that could not be done
  usage = 2,       ///< the command line is wrong
  notFound = 3,    ///< no such app, or more than one
  incomplete = 4,  ///< done, but something could not be read
  interrupted = 130,
};

struct ExitCodeRow {
  ExitCode code;
  std::string_view meaning;  ///< for people, a few words
};

// clang-format off
inline constexpr std::array kExitCodes{
    ExitCodeRow{.code = ExitCode::ok, .meaning = "ok"},
    ExitCodeRow{.code = ExitCode::failure, .meaning = "failure"},
    ExitCodeRow{.code = ExitCode::usage, .meaning = "usage"},
    ExitCodeRow{.code = ExitCode::notFound, .meaning = "not found or ambiguous"},
    ExitCodeRow{.code = ExitCode::incomplete, .meaning = "incomplete (something could not be read)"},
    ExitCodeRow{.code = ExitCode::interrupted, .meaning = "interrupted"},
};
// clang-format on

}  // namespace quarn

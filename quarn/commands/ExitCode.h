#pragma once

namespace quarn {

/// The exit code of a command. The table of exit codes describes them for users.
enum class ExitCode : int {
  ok = 0,
  failure = 1,     ///< something was asked for that could not be done
  usage = 2,       ///< the command line is wrong
  notFound = 3,    ///< no such app, file or folder, or more than one such app
  incomplete = 4,  ///< done, but something could not be read
  interrupted = 130,
};

}  // namespace quarn

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// What one run of the built command gave.
struct CommandRun {
  int exitCode = -1;  ///< 128 and the signal's number when a signal ended it
  std::string out;
  std::string err;
};

/// Runs the built command with these words, in an environment of its own ("LC_ALL=C", no colours asked for) to which
/// `environment` ("NO_COLOR=1") is added; outputs are pipes, `input` is its standard input.
CommandRun runQuarn(const std::vector<std::string>& words, std::string_view input = "",
                    const std::vector<std::string>& environment = {});

/// Runs any program of this machine in the same way.
CommandRun runProgram(const std::string& program, const std::vector<std::string>& words, std::string_view input = "",
                      const std::vector<std::string>& environment = {});

/// The path of the built command.
const std::string& quarnProgram();

/// The same as `runQuarn` on the sample volume, with ann's home.
CommandRun runOnSample(std::vector<std::string> words, std::string_view input = "");

/// Runs a program with both outputs on a terminal of that many columns; `out` holds what appears on it.
CommandRun runOnTerminal(const std::string& program, const std::vector<std::string>& words, unsigned short columns,
                         const std::vector<std::string>& environment = {});

/// The sample volume's folder on the host, for reading only. All tests of a ctest run share one, which is named by
/// QUARN_TEST_SAMPLE in the environment; without that, the process writes its own.
const std::string& sampleFolder();

}  // namespace quarn

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// The result of a run.
struct CommandRun {
  int exitCode = -1;  ///< 128 and the signal's number when a signal ended it
  std::string out;
  std::string err;
};

/// Runs the built command in a clean environment ("LC_ALL=C", no colours, no configuration file) plus `environment`
/// ("NO_COLOR=1"). The outputs are pipes; `input` is standard input.
CommandRun runQuarn(const std::vector<std::string>& words, std::string_view input = "",
                    const std::vector<std::string>& environment = {});

/// Runs any program of this machine in the same way.
CommandRun runProgram(const std::string& program, const std::vector<std::string>& words, std::string_view input = "",
                      const std::vector<std::string>& environment = {});

/// The path of the built command.
const std::string& quarnProgram();

/// `runQuarn` on the sample volume with the home folder of ann.
CommandRun runOnSample(std::vector<std::string> words, std::string_view input = "");

/// Runs a program with both outputs on a terminal of that many columns; `out` holds the terminal's output.
CommandRun runOnTerminal(const std::string& program, const std::vector<std::string>& words, unsigned short columns,
                         const std::vector<std::string>& environment = {});

/// The host folder of the sample volume, for reading only. All tests of a ctest run share the one that
/// QUARN_TEST_SAMPLE in the environment names; without that variable the process writes its own.
const std::string& sampleFolder();

}  // namespace quarn

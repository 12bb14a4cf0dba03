#include "tests/quarn/commands/CommandRun.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

// The header of forkpty.
#if __has_include(<pty.h>)
#include <pty.h>
#else
#include <util.h>
#endif

#include "quarn/sample/SampleVolume.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Pipe.h"

namespace quarn {
namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

// What is added takes the place of the usual value.
std::vector<std::string> environmentWith(const std::vector<std::string>& added) {
  std::vector<std::string> variables = added;
  for (const std::string usual : {"LC_ALL=C", "PATH=/usr/bin:/bin", "TERM=xterm", "HOME=/root", "QUARN_CONFIG="}) {
    const std::string name = usual.substr(0, usual.find('=') + 1);
    const auto sets = [&](const std::string& variable) { return variable.starts_with(name); };
    if (std::none_of(added.begin(), added.end(), sets)) variables.push_back(usual);
  }
  return variables;
}

// Writes the input and reads both outputs at the same time, so that no side blocks.
void exchange(Pipe& in, Pipe& out, Pipe& err, std::string_view input, CommandRun& run) {
  std::array<char, 65536> buffer{};
  while (out.reading.isOpen() || err.reading.isOpen()) {
    if (input.empty()) in.writing = FileDescriptor();
    std::array<pollfd, 3> waits{pollfd{in.writing.get(), POLLOUT, 0}, pollfd{out.reading.get(), POLLIN, 0},
                                pollfd{err.reading.get(), POLLIN, 0}};
    ::poll(waits.data(), waits.size(), -1);
    if ((waits[0].revents & (POLLOUT | POLLERR)) != 0) {
      const ssize_t written = ::write(in.writing.get(), input.data(), std::min<std::size_t>(input.size(), 4096));
      input.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : input.size());
    }
    const auto drain = [&](const pollfd& wait, Pipe& pipe, std::string& text) {
      if (wait.revents == 0) return;
      const ssize_t got = ::read(pipe.reading.get(), buffer.data(), buffer.size());
      if (got > 0) text.append(buffer.data(), static_cast<std::size_t>(got));
      if (got <= 0) pipe.reading = FileDescriptor();
    };
    drain(waits[1], out, run.out);
    drain(waits[2], err, run.err);
  }
}

}  // namespace

CommandRun runProgram(const std::string& program, const std::vector<std::string>& words, std::string_view input,
                      const std::vector<std::string>& environment) {
  std::vector<std::string> arguments{program};
  arguments.insert(arguments.end(), words.begin(), words.end());
  std::vector<std::string> variables = environmentWith(environment);
  Pipe in = makePipe();
  Pipe out = makePipe();
  Pipe err = makePipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.reading.get(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out.writing.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err.writing.get(), STDERR_FILENO);
  pid_t child = 0;
  const int failed =
      ::posix_spawn(&child, program.c_str(), &actions, nullptr, pointers(arguments).data(), pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error(program + " cannot be started");
  in.reading = FileDescriptor();
  out.writing = FileDescriptor();
  err.writing = FileDescriptor();
  CommandRun run;
  exchange(in, out, err, input, run);
  int status = 0;
  ::waitpid(child, &status, 0);
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return run;
}

CommandRun runOnTerminal(const std::string& program, const std::vector<std::string>& words, unsigned short columns,
                         const std::vector<std::string>& environment) {
  std::vector<std::string> arguments{program};
  arguments.insert(arguments.end(), words.begin(), words.end());
  std::vector<std::string> variables = environmentWith(environment);
  const std::vector<char*> argumentPointers = pointers(arguments);
  const std::vector<char*> variablePointers = pointers(variables);
  winsize size{.ws_row = 50, .ws_col = columns, .ws_xpixel = 0, .ws_ypixel = 0};
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, &size);
  if (child == 0) {
    ::execve(program.c_str(), argumentPointers.data(), variablePointers.data());
    ::_exit(127);
  }
  if (child < 0) throw std::runtime_error("no terminal for " + program);
  CommandRun run;
  std::array<char, 65536> buffer{};
  // After the last program has closed the terminal, reading fails.
  for (ssize_t got = 1; got > 0;) {
    got = ::read(terminal, buffer.data(), buffer.size());
    if (got > 0) run.out.append(buffer.data(), static_cast<std::size_t>(got));
  }
  ::close(terminal);
  int status = 0;
  ::waitpid(child, &status, 0);
  run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return run;
}

const std::string& quarnProgram() {
  static const std::string path = QUARN_PROGRAM;
  return path;
}

CommandRun runQuarn(const std::vector<std::string>& words, std::string_view input,
                    const std::vector<std::string>& environment) {
  return runProgram(quarnProgram(), words, input, environment);
}

const std::string& sampleFolder() {
  static std::unique_ptr<MacVolume> own;
  static const std::string folder = []() -> std::string {
    if (const char* shared = std::getenv("QUARN_TEST_SAMPLE"); shared != nullptr) return shared;
    own = std::make_unique<MacVolume>();
    writeSampleVolume(own->root() + "/sample");
    return own->root() + "/sample";
  }();
  return folder;
}

CommandRun runOnSample(std::vector<std::string> words, std::string_view input) {
  words.insert(words.begin(), {"--volume", sampleFolder(), "--home", "/Users/ann"});
  return runQuarn(words, input);
}

}  // namespace quarn

#include <gmock/gmock.h>

#include "quarn/commands/CommandTable.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

using Words = std::vector<std::string>;

/// A shell with the command's completion script. The words are those of a command line, the last one incomplete.
struct Shell {
  std::string_view name;
  Words (*complete)(const std::string& script, const Words& line);
};

Words lines(const std::string& text) {
  Words result;
  std::string line;
  for (const char character : text) {
    if (character != '\n') {
      line += character;
    } else if (!line.empty()) {
      result.push_back(line.substr(0, line.find('\t')));
      line.clear();
    }
  }
  return result;
}

Words run(const std::string& shell, Words words) {
  const CommandRun result = runProgram(shell, words, "", {"HOME=/nonexistent"});
  EXPECT_EQ(result.err, "") << shell;
  return lines(result.out);
}

Words completeInBash(const std::string& script, const Words& line) {
  Words words{"--norc", "-c",
              "source \"$0\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _quarn; printf '%s\\n' \"${COMPREPLY[@]}\"",
              script};
  words.insert(words.end(), line.begin(), line.end());
  return run("/bin/bash", words);
}

Words completeInZsh(const std::string& script, const Words& line) {
  // The shell's functions that display choices need a terminal. These replacements filter and print their arguments.
  Words words{"-f", "-c",
              "compadd() { shift; for w; do [[ $w == $PREFIX* ]] && print -r -- $w; done; return 0 }\n"
              "_describe() { local -a all; all=(${(P)2}); compadd -- ${all%%:*} }\n"
              "_files() { print -l -- ${PREFIX}*(N) }\n"
              "source $0; words=(\"$@\"); CURRENT=$#; PREFIX=${words[-1]}; _quarn",
              script};
  words.insert(words.end(), line.begin(), line.end());
  return run("/usr/bin/zsh", words);
}

Words completeInFish(const std::string& script, const Words& line) {
  std::string text;
  for (const std::string& word : line) text += (text.empty() ? "" : " ") + word;
  return run("/usr/bin/fish", {"--no-config", "-c", "source $argv[1]; complete -C $argv[2]", script, text});
}

class Completion : public testing::TestWithParam<Shell> {
 protected:
  Completion() { folder_.text("/script", runQuarn({"completions", std::string(GetParam().name)}).out); }
  [[nodiscard]] Words complete(const Words& line) const {
    return GetParam().complete(folder_.root() + "/script", line);
  }

  MacVolume folder_;
};

TEST_P(Completion, OffersCommandsAsTheFirstWord) {
  Words names;
  for (const CommandRow& command : commandTable()) names.emplace_back(command.name);
  EXPECT_THAT(complete({"quarn", ""}), IsSupersetOf(names));
  EXPECT_THAT(complete({"quarn", "ins"}), UnorderedElementsAre("inspect"));
  EXPECT_THAT(complete({"quarn", "--json", "sto"}), UnorderedElementsAre("storage"));
}

TEST_P(Completion, OffersTheOptionsOfACommandAndTheGlobalOnes) {
  for (const CommandRow& command : commandTable()) {
    Words expected;
    for (const OptionRow& option : command.options) expected.emplace_back(option.name);
    for (const OptionRow& option : globalOptions()) expected.emplace_back(option.name);
    EXPECT_THAT(complete({"quarn", std::string(command.name), "--"}), IsSupersetOf(expected)) << command.name;
  }
  EXPECT_THAT(complete({"quarn", "apps", "--"}), Not(testing::Contains("--mode")));
  EXPECT_THAT(complete({"quarn", "report", "-"}), IsSupersetOf(Words{"-o", "-q", "-v", "-h", "-V"}));
}

TEST_P(Completion, OffersTheChoicesOfAnOption) {
  EXPECT_THAT(complete({"quarn", "plan", "--mode", ""}),
              UnorderedElementsAre("cacheOnly", "associatedDataOnly", "removeApp", "aggressive"));
  EXPECT_THAT(complete({"quarn", "--color", "a"}), UnorderedElementsAre("auto", "always"));
  EXPECT_THAT(complete({"quarn", "top", "--category", "ga"}), UnorderedElementsAre("games"));
}

TEST_P(Completion, OffersTheChoicesOfAPositional) {
  EXPECT_THAT(complete({"quarn", "storage", "dev"}), UnorderedElementsAre("development"));
  EXPECT_THAT(complete({"quarn", "completions", ""}), IsSupersetOf(Words{"bash", "zsh", "fish"}));
  EXPECT_THAT(complete({"quarn", "help", "ins"}), UnorderedElementsAre("inspect"));
}

TEST_P(Completion, OffersFilesForHostPaths) {
  folder_.text("/page.html", "");
  const std::string begin = folder_.root() + "/pag";
  EXPECT_THAT(complete({"quarn", "report", "-o", begin}), UnorderedElementsAre(folder_.root() + "/page.html"));
  EXPECT_THAT(complete({"quarn", "--log", begin}), UnorderedElementsAre(folder_.root() + "/page.html"));
}

INSTANTIATE_TEST_SUITE_P(Shells, Completion,
                         testing::Values(Shell{"bash", completeInBash}, Shell{"zsh", completeInZsh},
                                         Shell{"fish", completeInFish}),
                         [](const auto& any) { return std::string(any.param.name); });

TEST(ManualPage, HoldsEveryCommandOptionAndExitCode) {
  const std::string page = runQuarn({"manual"}).out;
  EXPECT_THAT(page, StartsWith(".TH QUARN 1"));
  for (const CommandRow& command : commandTable()) {
    EXPECT_THAT(page, HasSubstr("\n.SS " + std::string(command.name) + "\n"));
  }
  const CommandRun shown = runProgram("/usr/bin/mandoc", {"-Tutf8"}, page);
  for (const ExitCodeRow& row : exitCodeTable()) EXPECT_THAT(shown.out, HasSubstr(std::string(row.meaning)));
  EXPECT_THAT(page, HasSubstr("\\fB\\-V, \\-\\-version\\fR\n"));
  EXPECT_THAT(page, HasSubstr("\\fB\\-o, \\-\\-output\\fR \\fIFILE\\fR"));
}

TEST(ManualPage, PassesTheLinter) {
  const CommandRun lint = runProgram("/usr/bin/mandoc", {"-Tlint"}, runQuarn({"manual"}).out);
  EXPECT_EQ(lint.out, "");
  EXPECT_EQ(lint.err, "");
  EXPECT_EQ(lint.exitCode, 0);
}

}  // namespace
}  // namespace quarn

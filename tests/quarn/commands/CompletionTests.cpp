#include <filesystem>

#include <gmock/gmock.h>

#include "quarn/commands/Arguments.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn::completion_tests {
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
              "_files() { if [[ $1 == -/ ]]; then print -rl -- ${PREFIX}*(N/); else print -rl -- ${PREFIX}*(N); fi }\n"
              "compset() { PREFIX=${PREFIX#*=} }\n"
              "source $0; words=(\"$@\"); CURRENT=$#; PREFIX=${words[-1]}; _quarn",
              script};
  words.insert(words.end(), line.begin(), line.end());
  return run("/usr/bin/zsh", words);
}

Words completeInFish(const std::string& script, const Words& line) {
  std::string text;
  for (const std::string& word : line) {
    const std::string quote = word.find(' ') != std::string::npos ? "'" : "";
    text += (text.empty() ? "" : " ") + quote + word + quote;
  }
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

// In bash a word ends at "=", and a name is quoted for the command line. The other shells quote it themselves.
Words afterEquals(std::string_view shell, const std::string& option, const std::string& begin) {
  if (shell == "bash") return {"quarn", option, "=", begin};
  return {"quarn", option + "=" + begin};
}

TEST_P(Completion, OffersFoldersAloneForAFolderAlsoAfterAnEqualsSign) {
  folder_.folder("/my mac").text("/my file", "");
  const std::string begin = folder_.root() + "/my";
  const bool isFish = GetParam().name == "fish";
  const std::string offered = folder_.root() + (isFish ? "/my mac/" : "/my mac");
  EXPECT_THAT(complete({"quarn", "--volume", begin}), UnorderedElementsAre(offered));
  EXPECT_THAT(complete(afterEquals(GetParam().name, "--volume", begin)),
              UnorderedElementsAre((isFish ? "--volume=" : "") + offered));
}

TEST_P(Completion, OffersFilesWithSpacesInTheirNames) {
  folder_.text("/my page.html", "");
  const std::string offered = folder_.root() + "/my page.html";
  EXPECT_THAT(complete({"quarn", "report", "-o", folder_.root() + "/my"}), UnorderedElementsAre(offered));
}

TEST_P(Completion, OffersTheNamesOfTheVolumesApps) {
  const std::string name = GetParam().name == "bash" ? "Lumen\\ Notes" : "Lumen Notes";
  const Words words{"--volume", sampleFolder(), "--home", "/Users/ann", "inspect", "Lumen"};
  Words line{quarnProgram()};
  line.insert(line.end(), words.begin(), words.end());
  EXPECT_THAT(complete(line), UnorderedElementsAre(name));
  line = {quarnProgram(), "inspect", "--volume", sampleFolder(), "--home", "/Users/ann", "Lumen"};
  EXPECT_THAT(complete(line), UnorderedElementsAre(name));
  line = {quarnProgram(), "inspect", "--volume", "/nowhere", "Lumen"};
  EXPECT_THAT(complete(line), IsEmpty()) << "an error is not a name";
}

TEST(CompletionInBash, AnOfferAfterAQuoteDoesNotEndTheQuote) {
  MacVolume volume;
  for (const char* name : {"Plain", "Two Words", "It's", "Say $(id)", "Back`tick", "Dou\"ble"}) {
    volume.app("/Applications/" + std::string(name) + ".app", {.bundleIdentifier = "com.example"});
  }
  volume.folder("/Users/ann").text("/script", runQuarn({"completions", "bash"}).out);
  const auto offered = [&](const std::string& begin) {
    return completeInBash(volume.root() + "/script",
                          {quarnProgram(), "--volume", volume.root(), "--home", "/Users/ann", "inspect", begin});
  };
  EXPECT_THAT(offered("\""), UnorderedElementsAre("Plain", "Two Words", "It's"));
  EXPECT_THAT(offered("'"), UnorderedElementsAre("Plain", "Two Words", "Say $(id)", "Back`tick", "Dou\"ble"));
  EXPECT_THAT(offered("Two\\ W"), UnorderedElementsAre("Two\\ Words"));
  EXPECT_THAT(offered("S"), UnorderedElementsAre("Say\\ \\$\\(id\\)"));
}

/// Runs a line in a shell where `quarn` prints its words. Returns them; the last one is a separator.
Words wordsInShell(const std::string& shell, std::string_view line, const MacVolume& folder) {
  const std::string& root = folder.root();
  const std::string setting = "export HOME=" + root + " PATH=" + root + "/bin:/usr/bin:/bin WORDS=" + root + "/words\n";
  const CommandRun run =
      runProgram(shell, {shell.ends_with("zsh") ? "-f" : "--norc", "-c", setting + std::string(line)});
  EXPECT_EQ(run.err, "") << shell << ": " << line;
  EXPECT_EQ(run.exitCode, 0) << shell << ": " << line;
  Words words = lines(runProgram("/bin/cat", {folder.root() + "/words"}).out);
  std::filesystem::remove(folder.root() + "/words");
  return words;
}

// A program of that name records its words, so that the examples write nothing.
TEST(Examples, MeanTheSameInBashAndZshAndTheCommandTakesThem) {
  MacVolume folder;
  folder.executable("/bin/quarn", "#!/bin/sh\nprintf '%s\\n' \"$@\" >> \"$WORDS\"\necho ==== >> \"$WORDS\"\n");
  folder.folder("/.local/share/bash-completion/completions");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.root());
  for (const CommandRow& command : commandTable()) {
    for (const ExampleRow& example : command.examples) {
      const Words inBash = wordsInShell("/bin/bash", example.line, folder);
      EXPECT_EQ(wordsInShell("/usr/bin/zsh", example.line, folder), inBash) << example.line;
      Words words;
      for (const std::string& word : inBash) {
        if (word != "====") {
          words.push_back(word);
          continue;
        }
        EXPECT_NO_THROW(parseArguments(words)) << example.line;
        words.clear();
      }
      EXPECT_FALSE(inBash.empty()) << example.line;
    }
  }
  std::filesystem::current_path(before);
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
}  // namespace quarn::completion_tests

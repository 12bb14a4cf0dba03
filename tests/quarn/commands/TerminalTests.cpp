#include <array>
#include <csignal>
#include <cstdio>
#include <thread>

#include <gmock/gmock.h>
#include <unistd.h>

#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Arguments.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/terminal/TerminalText.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

// The command on a terminal.

namespace quarn::terminal_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

CommandRun onTerminal(std::vector<std::string> words, unsigned short columns = 100,
                      const std::vector<std::string>& environment = {}) {
  words.insert(words.begin(), {"--volume", sampleFolder(), "--home", "/Users/ann"});
  return runOnTerminal(quarnProgram(), words, columns, environment);
}

// Lines without colours and carriage returns.
std::vector<std::string> plainLines(const std::string& text) {
  std::vector<std::string> lines{""};
  bool isCode = false;
  for (const char character : text) {
    if (character == '\x1B') isCode = true;
    if (character == '\n') lines.emplace_back();
    if (!isCode && character != '\r' && character != '\n') lines.back() += character;
    if (isCode && std::isalpha(static_cast<unsigned char>(character)) != 0) isCode = false;
  }
  return lines;
}

TEST(OnATerminal, ColoursAreUsedUnlessTurnedOff) {
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes", "--no-sizes"}).out, HasSubstr("\x1B[31m"));
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes", "--no-sizes"}, 100, {"NO_COLOR=1"}).out,
              Not(HasSubstr("\x1B[31m")));
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes", "--no-sizes"}, 100, {"NO_COLOR="}).out, HasSubstr("\x1B[31m"));
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes", "--no-sizes"}, 100, {"TERM=dumb"}).out, Not(HasSubstr("\x1B[31m")));
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes", "--no-sizes", "--color", "never"}).out, Not(HasSubstr("\x1B[31m")));
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes", "--no-sizes", "--color", "always"}, 100, {"NO_COLOR=1"}).out,
              HasSubstr("\x1B[31m"));
}

TEST(OnATerminal, BarsAreShorterOnANarrowTerminal) {
  for (const std::string& line : plainLines(onTerminal({"storage", "--quiet"}, 60).out)) {
    EXPECT_LE(displayWidth(line), 60U) << line;
  }
}

TEST(OnATerminal, TablesFitItsWidth) {
  const std::vector<std::vector<std::string>> commands{
      {"apps"}, {"top"}, {"jobs"}, {"kexts"}, {"storage"}, {"storage", "development"}, {"vendors"}};
  for (std::vector<std::string> words : commands) {
    words.emplace_back("--quiet");
    for (const auto columns : std::array<unsigned short, 3>{60, 80, 120}) {
      for (const std::string& line : plainLines(onTerminal(words, columns).out)) {
        EXPECT_LE(displayWidth(line), columns) << words.front() << ": " << line;
      }
    }
  }
}

TEST(OnATerminal, ProgressIsShownAndRemoved) {
  const CommandRun run = onTerminal({"inspect", "Lumen Notes"});
  EXPECT_THAT(run.out, HasSubstr("inspecting Lumen Notes: folders and names ("));
  const std::size_t last = run.out.rfind("inspecting Lumen Notes");
  EXPECT_NE(run.out.find("\r\x1B[K", last), std::string::npos);
  EXPECT_GT(run.out.find("Lumen Notes 3.2.1"), last);
}

TEST(OnATerminal, ADumbTerminalGetsNoControlCodes) {
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes"}, 100, {"TERM=dumb"}).out, Not(HasSubstr("\x1B")));
}

TEST(OnATerminal, QuietShowsNoProgress) {
  EXPECT_THAT(onTerminal({"inspect", "Lumen Notes", "--quiet"}).out, Not(HasSubstr("inspecting")));
}

TEST(OnATerminal, ADocumentHasNoColoursAndIsNeverCut) {
  const CommandRun run = onTerminal({"apps", "--json", "--quiet"}, 40);
  EXPECT_THAT(run.out, Not(HasSubstr("\x1B")));
  EXPECT_THAT(run.out, HasSubstr("Adobe%20Photoshop%202026/Adobe%20Photoshop%202026.app"));
}

// Simulates Ctrl-C.
void interrupt(CommandContext& context) {
  const Cancellation cancellation = context.cancellation();
  ::kill(::getpid(), SIGINT);
  while (!cancellation.isCancelled()) std::this_thread::yield();
}

// Prints an empty list with these arguments and both outputs on standard error, after an interrupt, and exits.
[[noreturn]] void showInterruptedList(const std::vector<std::string>& words) {
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  CommandContext context(parseArguments(words));
  interrupt(context);
  showList(context, "items", nlohmann::ordered_json::array(), Table({{.title = "ITEM"}}));
  const ExitCode code = context.finish();
  std::fflush(stdout);
  std::_Exit(static_cast<int>(code));
}

TEST(Interrupt, TheFirstOneCancelsTheWorkAndTheCommandExitsWith130) {
  EXPECT_EXIT(
      {
        CommandContext context(parseArguments({"top"}));
        interrupt(context);
        std::_Exit(static_cast<int>(context.finish()));
      },
      testing::ExitedWithCode(130), "");
}

TEST(Interrupt, AnInterruptedListSaysThatItIsIncomplete) {
  EXPECT_EXIT(showInterruptedList({"top"}), testing::ExitedWithCode(130), testing::Eq("\nIncomplete: interrupted.\n"));
  EXPECT_EXIT(showInterruptedList({"top", "--json"}), testing::ExitedWithCode(130),
              HasSubstr("\"items\": [],\n  \"isComplete\": false,\n"));
  EXPECT_EXIT(showInterruptedList({"top", "--ndjson"}), testing::ExitedWithCode(130),
              testing::Eq("quarn: interrupted: the answer is incomplete\n"));
}

// Runs a command on the sample volume with both outputs on standard error, after an interrupt.
[[noreturn]] void runInterrupted(ExitCode (*run)(CommandContext&), std::vector<std::string> words) {
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  const MacVolume volume;
  words.insert(words.end(), {"--volume", volume.root(), "--home", "/Users/ann"});
  CommandContext context(parseArguments(words));
  interrupt(context);
  const ExitCode code = run(context);
  std::fflush(stdout);
  std::_Exit(static_cast<int>(code));
}

TEST(Interrupt, ACloudFolderThatWasNotVisitedIsNotListed) {
  EXPECT_EXIT(runInterrupted(cloudCommand().run, {"cloud", "/"}), testing::ExitedWithCode(130),
              testing::Eq("\nIncomplete: interrupted.\n"));
  EXPECT_EXIT(runInterrupted(cloudCommand().run, {"cloud", "/", "--json"}), testing::ExitedWithCode(130),
              HasSubstr("\"folders\": [],\n  \"isComplete\": false,\n"));
}

// Runs a command line on a volume of 500 folders after an interrupt, and says how many items it listed.
[[noreturn]] void answerInterrupted(std::vector<std::string> words) {
  ::dup2(STDERR_FILENO, STDOUT_FILENO);
  MacVolume volume;
  volume.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"});
  for (int i = 0; i < 500; ++i) volume.folder("/Users/ann/Documents/" + std::to_string(i) + "/inner");
  words.insert(words.end(), {"--volume", volume.root(), "--home", "/Users/ann"});
  CommandContext context(parseArguments(words));
  interrupt(context);
  const std::uint64_t before = ListingCount::now().entries;
  ExitCode code = ExitCode::ok;
  try {
    code = context.arguments().command->run(context);
  } catch (const CommandError& error) {
    code = error.code();
    std::fprintf(stderr, "quarn: %s\n", error.what());
  }
  std::fflush(stdout);
  std::fprintf(stderr, "listed %d\n", static_cast<int>(ListingCount::now().entries - before) / 100);
  std::_Exit(static_cast<int>(code));
}

TEST(Interrupt, EveryCommandStopsReadingAndSaysThatItWasInterrupted) {
  const std::vector<std::vector<std::string>> rows{{"apps"},
                                                   {"leftovers"},
                                                   {"storage"},
                                                   {"storage", "documents"},
                                                   {"top"},
                                                   {"top", "/", "--children"},
                                                   {"cloud", "/"},
                                                   {"inspect", "--all"},
                                                   {"jobs"},
                                                   {"receipts"},
                                                   {"kexts"},
                                                   {"owner", "/Users/ann/Documents"},
                                                   {"report", "-o", "-"}};
  for (const auto& words : rows) {
    EXPECT_EXIT(answerInterrupted(words), testing::ExitedWithCode(130),
                AllOf(HasSubstr("nterrupted"), HasSubstr("listed 0\n")))
        << words.front();
    if (words.front() == "report") continue;
    std::vector<std::string> asJSON = words;
    asJSON.emplace_back("--json");
    EXPECT_EXIT(answerInterrupted(asJSON), testing::ExitedWithCode(130),
                AllOf(HasSubstr("quarn: interrupted"), HasSubstr("listed 0\n")))
        << words.front();
  }
}

TEST(Interrupt, AnIncompleteReportSaysSoOnThePageAndOnStandardError) {
  EXPECT_EXIT(runInterrupted(reportCommand().run, {"report", "--output", "-"}), testing::ExitedWithCode(130),
              AllOf(HasSubstr("<strong>Incomplete.</strong>"),
                    HasSubstr("quarn: interrupted: the report is incomplete, and says so\n")));
}

TEST(Interrupt, TheSecondOneTerminatesTheProcess) {
  EXPECT_EXIT(
      {
        CommandContext context(parseArguments({"top"}));
        interrupt(context);
        ::kill(::getpid(), SIGINT);
        while (true) std::this_thread::yield();
      },
      testing::ExitedWithCode(130), "");
}

}  // namespace
}  // namespace quarn::terminal_tests

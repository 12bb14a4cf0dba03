#include <csignal>
#include <fstream>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>

#include "quarn/browse/BrowseScreen.h"
#include "tests/quarn/browse/Tmux.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ProjectFolder.h"

// The browser on a real terminal: keys are sent to tmux, and its screens are compared. QUARN_UPDATE_GOLDEN=1 in the
// environment writes the expected screens.

namespace quarn::browse_on_terminal_tests {
namespace {

using testing::HasSubstr;
using testing::Not;

class BrowseOnTerminal : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(Tmux::isAvailable()) << "tmux is not installed";
    ASSERT_TRUE(hasTerminalScreen()) << "this build has no browser";
    volume_.app("/Applications/Lumen Notes.app", {.bundleIdentifier = "com.lumen.notes", .name = "Lumen Notes"})
        .sparse("~/Library/Caches/com.lumen.notes/cache.db", 900'000'000)
        .modified("~/Library/Caches/com.lumen.notes/cache.db", 1'700'000'000)
        .sparse("~/Movies/holiday.mov", 3'000'000'000)
        .sparse("~/Movies/birthday.mov", 1'500'000'000)
        .sparse("~/Documents/thesis.pdf", 12'000'000)
        .sparse("~/Downloads/\x1B[31mred\nname\xFF.bin", 700'000'000)
        .sparse("~/Downloads/\u202Egpj.exe", 600'000'000)
        .sparse("~/Downloads/漢字とカナ.txt", 500'000'000)
        .sparse("~/Downloads/e\u0301cole.txt", 400'000'000);
  }

  void start(Tmux& terminal, std::vector<std::string> more = {}, const std::vector<std::string>& environment = {}) {
    std::vector<std::string> words{quarnProgram(), "--volume", volume_.root(), "--home",
                                   "/Users/ann",   "--color",  "never",        "browse"};
    words.insert(words.end(), more.begin(), more.end());
    terminal.start(words, environment);
  }
  // The sizes on a disk depend on its file system, so the screens show lengths.
  static std::string settled(Tmux& terminal) {
    (void)terminal.waitFor([](const std::string& now) {
      const auto has = [&](std::string_view text) { return now.find(text) != std::string::npos; };
      return (has("space marks") || has("keeps the filter")) && !has("reading") && !has("searching") && !has("sorting");
    });
    return terminal.screen();
  }
  static std::string length(Tmux& terminal) {
    (void)settled(terminal);
    terminal.press({"a"});
    (void)terminal.waitFor("length");
    return settled(terminal);
  }
  static std::string after(Tmux& terminal, const std::vector<std::string>& keys, std::string_view expected) {
    terminal.press(keys);
    (void)terminal.waitFor(expected);
    return settled(terminal);
  }
  static void expectScreen(const std::string& name, const std::string& screen) {
    EXPECT_TRUE(isGolden(projectFolder() / "tests/quarn/browse/golden" / (name + ".txt"), screen + "\n"));
  }
  static void expectTerminalIsBack(const Tmux& terminal) {
    EXPECT_EQ(terminal.format("#{alternate_on}"), "0");
    EXPECT_EQ(terminal.format("#{cursor_flag}"), "1");
    const std::string modes = terminal.modes();
    for (const std::string mode : {"icanon", "echo", "isig", "icrnl", "onlcr"}) {
      EXPECT_TRUE(std::regex_search(modes, std::regex("(^|\\s)" + mode + "\\s"))) << modes;
    }
    EXPECT_THAT(modes, HasSubstr("intr = ^C"));
  }

  MacVolume volume_;
};

TEST_F(BrowseOnTerminal, ShowsTheHomeFolderOnASmallScreen) {
  Tmux terminal(80, 24);
  start(terminal);
  expectScreen("home-80x24", length(terminal));
}

TEST_F(BrowseOnTerminal, ShowsEveryColumnOnALargeScreen) {
  Tmux terminal(200, 60);
  start(terminal, {"~/Library/Caches"});
  (void)length(terminal);
  expectScreen("caches-200x60", after(terminal, {"i"}, "removal"));
}

TEST_F(BrowseOnTerminal, HostileNamesAreEscapedAndAligned) {
  Tmux terminal(80, 24);
  start(terminal, {"/Users/ann/Downloads"});
  expectScreen("hostile-80x24", length(terminal));
}

TEST_F(BrowseOnTerminal, AFilterIsTypedAndCleared) {
  Tmux terminal(80, 24);
  start(terminal, {"~/Movies"});
  (void)length(terminal);
  expectScreen("filter-80x24", after(terminal, {"/", "H", "o", "l"}, "filter: Hol_ (1 of 2)"));
  EXPECT_THAT(after(terminal, {"Escape"}, "birthday"), Not(HasSubstr("filter:")));
}

TEST_F(BrowseOnTerminal, ACharacterOfSeveralBytesIsTyped) {
  Tmux terminal(80, 24);
  start(terminal, {"/Users/ann/Downloads"});
  (void)length(terminal);
  EXPECT_THAT(after(terminal, {"/", "漢"}, "(1 of 4)"), HasSubstr("filter: 漢_ (1 of 4)"));
}

TEST_F(BrowseOnTerminal, BytesThatAreNoCharacterSwallowNoKey) {
  Tmux terminal(80, 24);
  start(terminal, {"~/Movies"});
  (void)length(terminal);
  // A lone byte of Latin-1, the beginning of a character that does not go on, and Ctrl-C.
  EXPECT_THAT(after(terminal, {"-H", "2f", "ff", "48", "e6", "6f"}, "(1 of 2)"), HasSubstr("filter: Ho_ (1 of 2)"));
  terminal.press({"-H", "e6", "97", "3"});
  EXPECT_THAT(terminal.waitFor("exit code"), HasSubstr("exit code 130"));
}

TEST_F(BrowseOnTerminal, TheHelpIsShown) {
  Tmux terminal(80, 24);
  start(terminal);
  (void)settled(terminal);
  terminal.press({"?"});
  EXPECT_THAT(terminal.waitFor("into the folder"), HasSubstr("nothing is ever deleted"));
}

TEST_F(BrowseOnTerminal, TheScreenFollowsTheTerminalsSizeDuringTheScan) {
  Tmux terminal(80, 24);
  start(terminal, {"/"});
  terminal.resize(120, 30);
  (void)terminal.waitFor([](const std::string& now) { return std::count(now.begin(), now.end(), '\n') == 29; });
  EXPECT_THAT(settled(terminal), HasSubstr("CATEGORY"));
  terminal.resize(40, 10);
  // The terminal itself cuts its lines at once; the program paints them a little later.
  const std::string small = terminal.waitFor([](const std::string& now) {
    return std::count(now.begin(), now.end(), '\n') == 9 && now.find("Users/") != std::string::npos;
  });
  EXPECT_THAT(small, HasSubstr("Users/"));
  EXPECT_THAT(small, Not(HasSubstr("CATEGORY")));
}

TEST_F(BrowseOnTerminal, QuitsWhileItReads) {
  for (int i = 0; i < 300; ++i) volume_.file("/many/" + std::to_string(i) + "/file", 1);
  Tmux terminal(80, 24);
  start(terminal, {"/"});
  (void)terminal.waitFor("space marks");
  terminal.press({"q"});
  EXPECT_THAT(terminal.waitFor("exit code"), HasSubstr("exit code 0"));
  expectTerminalIsBack(terminal);
}

TEST_F(BrowseOnTerminal, CtrlCEndsItAsInterrupted) {
  Tmux terminal(80, 24);
  start(terminal);
  (void)settled(terminal);
  terminal.press({"C-c"});
  EXPECT_THAT(terminal.waitFor("exit code"), HasSubstr("exit code 130"));
  expectTerminalIsBack(terminal);
}

TEST_F(BrowseOnTerminal, SignalsGiveTheTerminalBack) {
  for (const int signal : {SIGTERM, SIGHUP, SIGINT, SIGABRT, SIGSEGV}) {
    Tmux terminal(80, 24);
    start(terminal);
    (void)settled(terminal);
    EXPECT_EQ(terminal.format("#{alternate_on}"), "1");
    ASSERT_EQ(::kill(terminal.process(), signal), 0);
    EXPECT_THAT(terminal.waitFor("exit code"), HasSubstr("exit code " + std::to_string(128 + signal)));
    expectTerminalIsBack(terminal);
  }
}

TEST_F(BrowseOnTerminal, StoppingGivesTheTerminalBackUntilItContinues) {
  Tmux terminal(80, 24);
  terminal.start({"bash", "--norc", "-i"}, {"PS1=> "});
  terminal.press({"'" + quarnProgram() + "' --volume " + volume_.root() + " --home /Users/ann browse", "Enter"});
  const std::string before = settled(terminal);
  terminal.press({"C-z"});
  EXPECT_THAT(terminal.waitFor("Stopped"), HasSubstr("Stopped"));
  EXPECT_EQ(terminal.format("#{alternate_on}"), "0");
  terminal.press({"fg", "Enter"});
  EXPECT_EQ(terminal.waitFor([&](const std::string& now) { return now == before; }), before);
}

TEST_F(BrowseOnTerminal, MarksArePrintedOnLeaving) {
  Tmux terminal(80, 24);
  start(terminal, {"~/Movies"});
  (void)length(terminal);
  EXPECT_THAT(after(terminal, {"Space", "Space"}, "2 marked: "), HasSubstr("2 marked: 4.50 GB"));
  terminal.press({"p"});
  const std::string end = terminal.waitFor("exit code");
  EXPECT_THAT(end, HasSubstr("~/Movies/holiday.mov"));
  EXPECT_THAT(end, HasSubstr("~/Movies/birthday.mov"));
  EXPECT_THAT(end, HasSubstr("2 files. quarn deletes nothing."));
}

TEST_F(BrowseOnTerminal, MarkedPathsAreWrittenInTheSandbox) {
  MacVolume out;
  out.folder("/lists");
  const std::string file = out.root() + "/lists/paths";
  Tmux terminal(80, 24);
  start(terminal, {"~/Movies", "--output", file});
  (void)length(terminal);
  (void)after(terminal, {"Space", "Space", "w"}, "wrote 2 paths");
  std::stringstream content;
  content << std::ifstream(file).rdbuf();
  EXPECT_EQ(content.str(), "/Users/ann/Movies/holiday.mov\n/Users/ann/Movies/birthday.mov\n");
}

// Writing a file puts handlers of its own in the place of the screen's for a while.
TEST_F(BrowseOnTerminal, ASignalAfterAFileWasWrittenGivesTheTerminalBackToo) {
  MacVolume out;
  out.folder("/lists");
  Tmux terminal(80, 24);
  start(terminal, {"~/Movies", "--output", out.root() + "/lists/paths"});
  (void)length(terminal);
  (void)after(terminal, {"Space", "w"}, "wrote 1 path");
  ASSERT_EQ(::kill(terminal.process(), SIGHUP), 0);
  EXPECT_THAT(terminal.waitFor("exit code"), HasSubstr("exit code " + std::to_string(128 + SIGHUP)));
  expectTerminalIsBack(terminal);
}

TEST_F(BrowseOnTerminal, BrowsesAScan) {
  MacVolume out;
  out.folder("/scans");
  const std::string scan = out.root() + "/scans/scan";
  ASSERT_EQ(runQuarn({"--volume", volume_.root(), "--home", "/Users/ann", "scan", "-o", scan}).exitCode, 0);
  Tmux terminal(80, 24);
  terminal.start({quarnProgram(), "browse", "--color", "never", "--scan", scan});
  EXPECT_THAT(settled(terminal), HasSubstr("a scan of "));
  terminal.press({"a"});
  (void)terminal.waitFor("length");
  std::string screen = settled(terminal);
  EXPECT_THAT(screen, HasSubstr("Movies/"));
  EXPECT_THAT(screen, HasSubstr("Library/"));
  screen = after(terminal, {"Enter"}, "~/Movies");
  EXPECT_THAT(screen, HasSubstr("3.00 GB"));
  EXPECT_THAT(screen, HasSubstr("holiday.mov"));
}

TEST_F(BrowseOnTerminal, BrowsesACategory) {
  Tmux terminal(80, 24);
  start(terminal, {"documents"});
  EXPECT_THAT(settled(terminal), HasSubstr("/Users/ann/Documents/"));
}

TEST_F(BrowseOnTerminal, UsesColorsOnlyWhereTheyAreWanted) {
  for (const bool wanted : {true, false}) {
    Tmux terminal(200, 24);
    std::vector<std::string> words{quarnProgram(), "--volume", volume_.root(),    "--home",
                                   "/Users/ann",   "browse",   "~/Library/Caches"};
    terminal.start(words, wanted ? std::vector<std::string>{} : std::vector<std::string>{"NO_COLOR=1"});
    (void)settled(terminal);
    const std::string colored = terminal.screenWithColors();
    EXPECT_EQ(std::regex_search(colored, std::regex("\x1B\\[[0-9;]*3[123]m")), wanted) << colored;
  }
}

TEST_F(BrowseOnTerminal, WithoutUTF8ItShowsASCII) {
  Tmux terminal(80, 24);
  start(terminal, {"~/Downloads"}, {"LC_ALL=C"});
  const std::string screen = settled(terminal);
  EXPECT_THAT(screen, HasSubstr("\\xE6\\xBC\\xA2"));
  for (const char character : screen) ASSERT_LT(static_cast<unsigned char>(character), 0x80) << screen;
}

TEST_F(BrowseOnTerminal, AnUnknownTerminalIsAClearError) {
  Tmux terminal(80, 24);
  start(terminal, {}, {"TERM=no-such-terminal"});
  const std::string end = terminal.waitFor("exit code");
  EXPECT_THAT(end, HasSubstr("open terminal no-such-terminal"));
  EXPECT_THAT(end, HasSubstr("exit code 1"));
}

TEST_F(BrowseOnTerminal, AMissingFolderIsFoundOutBeforeTheScreenOpens) {
  Tmux terminal(80, 24);
  start(terminal, {"/nowhere"});
  EXPECT_THAT(terminal.waitFor("exit code"), HasSubstr("exit code 3"));
}

TEST_F(BrowseOnTerminal, TheTutorialShowsThisScreen) {
  Tmux terminal(100, 20);
  terminal.start(
      {quarnProgram(), "--volume", sampleFolder(), "--home", "/Users/ann", "--color", "never", "browse", "~/Library"});
  const std::string screen = length(terminal);
  const std::filesystem::path page = projectFolder() / "docs/tutorial.md";
  const std::string text = contentOf(page);
  const std::string opening = "```text screen.txt\n";
  const std::size_t start = text.find(opening) + opening.size();
  const std::size_t end = text.find("\n```", start);
  ASSERT_LT(start, end);
  EXPECT_TRUE(isGolden(page, text.substr(0, start) + screen + text.substr(end)));
}

TEST(BrowseCommand, NeedsATerminalAndNamesTheCommandsThatDoNot) {
  const CommandRun run = runOnSample({"browse"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("needs a terminal"));
  EXPECT_THAT(run.err, HasSubstr("quarn tree and quarn top"));
}

TEST(BrowseCommand, PrintsNoJson) {
  const CommandRun run = runOnSample({"browse", "--json"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.out, HasSubstr("browse prints no JSON"));
}

TEST(BrowseCommand, RefusesAFileOnTheInspectedVolumeAndAnUnknownCategory) {
  const CommandRun onVolume = runOnTerminal(
      quarnProgram(),
      {"--volume", sampleFolder(), "--home", "/Users/ann", "browse", "/", "-o", sampleFolder() + "/paths"}, 100);
  EXPECT_EQ(onVolume.exitCode, 2) << onVolume.out;
  EXPECT_THAT(onVolume.out, HasSubstr("is on the inspected volume"));
  const CommandRun unknown =
      runOnTerminal(quarnProgram(), {"--volume", sampleFolder(), "--home", "/Users/ann", "browse", "moon"}, 100);
  EXPECT_EQ(unknown.exitCode, 2) << unknown.out;
  EXPECT_THAT(unknown.out, HasSubstr("neither an absolute path nor a category"));
}

}  // namespace
}  // namespace quarn::browse_on_terminal_tests

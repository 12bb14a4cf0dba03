#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "QuarnModels/Date.h"
#include "QuarnSystem/DiagnosticsLogger.h"
#include "tests/support/MacVolume.h"

namespace quarn::diagnostics_logger_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

// The shared log with a file in a temporary folder; turned off at the end.
class DiagnosticsLoggerTest : public ::testing::Test {
 protected:
  void SetUp() override { volume_.folder("/logs"); }
  void TearDown() override { DiagnosticsLogger::shared().close(); }

  static DiagnosticsLogger& logger() { return DiagnosticsLogger::shared(); }
  [[nodiscard]] std::string path(const std::string& name) const { return volume_.host("/logs/" + name); }

  // The lines of a log file, without their time.
  [[nodiscard]] std::vector<std::string> lines(const std::string& name) const {
    std::vector<std::string> result;
    std::ifstream file(path(name));
    for (std::string line; std::getline(file, line);) result.push_back(line.substr(line.find(' ') + 1));
    return result;
  }

  // The content of the line that `log` writes for this message and metadata.
  [[nodiscard]] std::vector<std::string> linesOf(const std::string& message,
                                                 const DiagnosticsLogger::Metadata& metadata) const {
    EXPECT_TRUE(logger().writeTo(path("one")));
    logger().log(DiagnosticsLevel::trace, "C", message, metadata);
    logger().close();
    return lines("one");
  }

  MacVolume volume_;
};

TEST_F(DiagnosticsLoggerTest, IsOffUntilItHasAFile) {
  EXPECT_FALSE(logger().isEnabled());
  logger().log(DiagnosticsLevel::error, "Test", "nobody hears this", {});
  EXPECT_TRUE(logger().writeTo(path("a.log")));
  EXPECT_TRUE(logger().isEnabled());
  logger().close();
  EXPECT_FALSE(logger().isEnabled());
  EXPECT_THAT(lines("a.log"), IsEmpty());
}

TEST_F(DiagnosticsLoggerTest, ALineHoldsTimeLevelCategoryMessageAndMetadataInOrder) {
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  logger().log(DiagnosticsLevel::trace, "StorageScan", "Enumerating root",
               {{"root", "/Users/ann"}, {"category", "photos"}, {"allowSlow", "true"}});
  logger().close();
  std::ifstream file(path("a.log"));
  std::string line;
  std::getline(file, line);
  EXPECT_THAT(line, MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z trace "
                                 "\\[StorageScan\\] Enumerating root root=/Users/ann category=photos allowSlow=true"));
}

TEST_F(DiagnosticsLoggerTest, TheTimeIsInUTC) {
  const char* before = std::getenv("TZ");
  const std::string zone = before == nullptr ? "" : before;
  ::setenv("TZ", "QRN-12", 1);
  ::tzset();
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  logger().log(DiagnosticsLevel::info, "C", "m", {});
  logger().close();
  before == nullptr ? ::unsetenv("TZ") : ::setenv("TZ", zone.c_str(), 1);
  ::tzset();
  std::ifstream file(path("a.log"));
  std::string moment;
  file >> moment;
  const std::optional<Date> written = dateFromISO8601(moment.substr(0, 19) + "Z");
  ASSERT_TRUE(written.has_value()) << moment;
  const auto age = std::chrono::system_clock::now() - *written;
  EXPECT_GE(age, std::chrono::seconds(0));
  EXPECT_LT(age, std::chrono::hours(6));
}

TEST_F(DiagnosticsLoggerTest, EachLevelHasItsWord) {
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  logger().log(DiagnosticsLevel::trace, "C", "m", {});
  logger().log(DiagnosticsLevel::debug, "C", "m", {});
  logger().log(DiagnosticsLevel::info, "C", "m", {});
  logger().log(DiagnosticsLevel::warning, "C", "m", {});
  logger().log(DiagnosticsLevel::error, "C", "m", {});
  logger().close();
  EXPECT_THAT(lines("a.log"), ElementsAre("trace [C] m", "debug [C] m", "info [C] m", "warning [C] m", "error [C] m"));
}

TEST_F(DiagnosticsLoggerTest, AnAmbiguousValueIsQuoted) {
  EXPECT_THAT(linesOf("m", {{"a", "x y"}, {"b", ""}, {"c", "k=v"}, {"d", "say \"hi\""}, {"e", "back\\slash"}}),
              ElementsAre(R"(trace [C] m a="x y" b="" c="k=v" d="say \"hi\"" e=back\\slash)"));
}

TEST_F(DiagnosticsLoggerTest, LineEndsAndControlCharactersAreEscaped) {
  EXPECT_THAT(linesOf("one\n2026-01-01T00:00:00.000Z error [C] forged",
                      {{"a", "\r\n"}, {"b", "\x1B[31m"}, {"c", std::string(1, '\0')}, {"d", "\x7F"}, {"k\ney", "\t"}}),
              ElementsAre(R"(trace [C] one\x0a2026-01-01T00:00:00.000Z error [C] forged a=\x0d\x0a b=\x1b[31m c=\x00 )"
                          R"(d=\x7f k\x0aey=\x09)"));
}

TEST_F(DiagnosticsLoggerTest, LineEndsAndControlsBeyondAsciiAreEscapedAndOtherTextIsNot) {
  EXPECT_THAT(linesOf("Größe", {{"a", "\u0085"}, {"b", "\u2028\u2029"}, {"c", "\u009B0m"}, {"d", "日本\u00A0"}}),
              ElementsAre("trace [C] Größe a=\\xc2\\x85 b=\\xe2\\x80\\xa8\\xe2\\x80\\xa9 c=\\xc2\\x9b0m d=日本\u00A0"));
}

TEST_F(DiagnosticsLoggerTest, BytesThatAreNotUtf8BecomeReplacementCharacters) {
  EXPECT_THAT(linesOf("m", {{"a", "\xFFx\xC2"}}), ElementsAre("trace [C] m a=\uFFFDx\uFFFD"));
}

TEST_F(DiagnosticsLoggerTest, TextIsNotAFormatString) {
  EXPECT_THAT(linesOf("{} {0} %s %v", {{"a", "{}"}}), ElementsAre("trace [C] {} {0} %s %v a={}"));
}

TEST_F(DiagnosticsLoggerTest, AFileIsAppendedTo) {
  volume_.text("/logs/a.log", "moment before\n");
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  logger().log(DiagnosticsLevel::info, "C", "after", {});
  logger().close();
  EXPECT_THAT(lines("a.log"), ElementsAre("before", "info [C] after"));
}

TEST_F(DiagnosticsLoggerTest, ANewFileReplacesTheOldOneWhichKeepsItsLines) {
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  logger().log(DiagnosticsLevel::info, "C", "first", {});
  ASSERT_TRUE(logger().writeTo(path("b.log")));
  logger().log(DiagnosticsLevel::info, "C", "second", {});
  logger().close();
  EXPECT_THAT(lines("a.log"), ElementsAre("info [C] first"));
  EXPECT_THAT(lines("b.log"), ElementsAre("info [C] second"));
}

TEST_F(DiagnosticsLoggerTest, ClosingWaitsForEveryLineAndMayBeDoneTwice) {
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  for (int i = 0; i < 5'000; ++i) logger().log(DiagnosticsLevel::trace, "C", std::to_string(i), {});
  logger().close();
  logger().close();
  const std::vector<std::string> written = lines("a.log");
  ASSERT_THAT(written, SizeIs(5'000));
  for (int i = 0; i < 5'000; ++i) ASSERT_EQ(written[static_cast<std::size_t>(i)], "trace [C] " + std::to_string(i));
}

TEST_F(DiagnosticsLoggerTest, LinesOfAThreadAreWholeAndInOrder) {
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([thread] {
      for (int i = 0; i < 1'000; ++i) {
        logger().log(DiagnosticsLevel::trace, std::to_string(thread), std::to_string(i),
                     {{"padding", std::string(200, 'p')}});
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  logger().close();
  std::vector<int> next(4);
  for (const std::string& line : lines("a.log")) {
    int thread = 0;
    int number = 0;
    ASSERT_EQ(std::sscanf(line.c_str(), "trace [%d] %d padding=ppp", &thread, &number), 2) << line;
    EXPECT_EQ(number, next.at(static_cast<std::size_t>(thread))++);
    EXPECT_TRUE(line.ends_with(std::string(200, 'p')));
  }
  EXPECT_THAT(next, ElementsAre(1'000, 1'000, 1'000, 1'000));
}

TEST_F(DiagnosticsLoggerTest, ABlockedFileDelaysNobodyAndTheLastLineReportsTheLostLines) {
  constexpr std::size_t kLines = 20'000;
  volume_.fifo("/logs/slow");
  std::FILE* reader = ::fdopen(::open(path("slow").c_str(), O_RDWR), "r");
  ASSERT_NE(reader, nullptr);
  ASSERT_TRUE(logger().writeTo(path("slow")));
  for (std::size_t i = 0; i < kLines; ++i) logger().log(DiagnosticsLevel::info, "C", std::string(100, 'x'), {});
  std::thread closer([] { DiagnosticsLogger::shared().close(); });  // waits for the reader below
  std::size_t read = 0;
  std::size_t lost = 0;
  for (std::array<char, 256> line{}; lost == 0; ++read) {
    ASSERT_NE(std::fgets(line.data(), line.size(), reader), nullptr);
    const std::string text(line.data());
    const std::size_t place = text.find("warning [Diagnostics] Lines lost count=");
    if (place != std::string::npos) lost = std::stoul(text.substr(text.find('=') + 1));
  }
  closer.join();
  std::fclose(reader);
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(read - 1 + lost, kLines);
}

TEST_F(DiagnosticsLoggerTest, AFileThatCannotBeOpenedLeavesTheLogOff) {
  volume_.folder("/logs/folder").fifo("/logs/pipe").file("/logs/file");
  for (const char* name : {"folder", "pipe", "missing/a.log", "file/a.log"}) {
    EXPECT_FALSE(logger().writeTo(path(name))) << name;
    EXPECT_FALSE(logger().isEnabled()) << name;
    logger().log(DiagnosticsLevel::info, "C", "lost", {});
  }
  EXPECT_FALSE(logger().writeTo(""));
  struct stat status {};
  EXPECT_NE(::stat(path("missing").c_str(), &status), 0) << "no folder is made for the log";
}

TEST_F(DiagnosticsLoggerTest, AFileThatCannotBeOpenedClosesThePreviousOne) {
  ASSERT_TRUE(logger().writeTo(path("a.log")));
  logger().log(DiagnosticsLevel::info, "C", "kept", {});
  EXPECT_FALSE(logger().writeTo(path("missing/b.log")));
  logger().log(DiagnosticsLevel::info, "C", "lost", {});
  EXPECT_THAT(lines("a.log"), ElementsAre("info [C] kept"));
}

TEST_F(DiagnosticsLoggerTest, AFullDiskHasNoEffectOnTheCaller) {
  ASSERT_TRUE(logger().writeTo("/dev/full"));
  ::testing::internal::CaptureStderr();
  for (int i = 0; i < 100; ++i) logger().log(DiagnosticsLevel::info, "C", "lost", {});
  logger().close();
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), IsEmpty());
  EXPECT_FALSE(logger().isEnabled());
}

}  // namespace
}  // namespace quarn::diagnostics_logger_tests

#include <atomic>
#include <chrono>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "quarn/terminal/ProgressLine.h"
#include "tests/support/MacVolume.h"

namespace quarn::progress_line_tests {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

/// Reads seven items more each time that it is asked.
struct SteadyWork {
  std::atomic<std::uint64_t> looks = 0;
  ProgressLine::Read operator()() { return {.items = 7 * ++looks, .folder = "/Users/ann/Library"}; }
  // Each look after the first is painted.
  void waitForPaints(std::uint64_t count) const {
    while (looks < 1 + count) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
};

TEST(ProgressLine, LongWorkShowsItsStepTheCountTheSpeedAndAFolder) {
  SteadyWork work;
  testing::internal::CaptureStderr();
  {
    ProgressLine line(100, [&] { return work(); });
    line.begin("sizing");
    work.waitForPaints(2);
    line.end();
  }
  const std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_THAT(
      shown,
      MatchesRegex("\r\x1B\\[Ksizing\r\x1B\\[Ksizing  7 items, [0-9]+/s  /Users/ann/Library\r\x1B\\[K(.|\n|\r)*"));
  EXPECT_THAT(shown, EndsWith("\r\x1B[K"));
}

TEST(ProgressLine, WorkWithoutAStepPaintsNothingBeforeItTakesLong) {
  SteadyWork work;
  testing::internal::CaptureStderr();
  {
    ProgressLine line(100, [&] { return work(); });
    line.begin("");
    line.end();
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  testing::internal::CaptureStderr();
  {
    ProgressLine line(100, [&] { return work(); });
    line.begin("");
    work.waitForPaints(2);
  }
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("\r\x1B[K7 items, "));
}

TEST(ProgressLine, NothingIsPaintedAfterTheEnd) {
  SteadyWork work;
  ProgressLine line(100, [&] { return work(); });
  line.begin("sizing");
  work.waitForPaints(2);
  line.end();
  testing::internal::CaptureStderr();
  std::this_thread::sleep_for(3 * ProgressLine::kInterval);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ProgressLine, AFolderIsEscapedAndTheLineFits) {
  std::atomic<int> looks = 0;
  testing::internal::CaptureStderr();
  {
    ProgressLine line(40, [&] {
      ++looks;
      return ProgressLine::Read{.items = 1, .folder = "/\x1B[31m" + std::string(100, 'x')};
    });
    line.begin("sizing");
    while (looks < 3) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const std::string shown = testing::internal::GetCapturedStderr();
  EXPECT_THAT(shown, AllOf(Not(HasSubstr("\x1B[31m")), Not(HasSubstr(std::string(40, 'x')))));
}

TEST(ListingCount, CountsWhatIsListedAndNamesAFolderOnDemand) {
  MacVolume volume;
  volume.file("/work/inner/one").file("/work/inner/two").file("/work/three");
  const ListingCount before = ListingCount::now();
  EXPECT_EQ(volume.files().contentsOfDirectory(FileURL("/work"), HiddenItems::include).size(), 2U);
  ListingCount after = ListingCount::now();
  EXPECT_EQ(after.entries - before.entries, 2U);
  EXPECT_EQ(after.folder, "/work");
  (void)TreeSizer::total(volume.files(), FileURL("/work"), {});
  after = ListingCount::now();
  EXPECT_EQ(after.entries - before.entries, 2U + 4U);
  EXPECT_EQ(after.folder, "/work/inner");
}

}  // namespace
}  // namespace quarn::progress_line_tests

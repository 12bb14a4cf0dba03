#include <cerrno>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/files/ReadReport.h"

namespace quarn::read_report_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ReadReport, IsEmptyAtFirst) {
  const ReadReport report;
  EXPECT_THAT(report.items(), IsEmpty());
  EXPECT_EQ(report.count(), 0U);
}

TEST(ReadReport, EachErrorHasItsCause) {
  EXPECT_EQ(unreadableCause(EACCES), UnreadableCause::permission);
  EXPECT_EQ(unreadableCause(ENOENT), UnreadableCause::vanished);
  EXPECT_EQ(unreadableCause(ENOTDIR), UnreadableCause::vanished);
  EXPECT_EQ(unreadableCause(EXDEV), UnreadableCause::otherDevice);
  EXPECT_EQ(unreadableCause(ELOOP), UnreadableCause::loop);
  EXPECT_EQ(unreadableCause(EFBIG), UnreadableCause::limit);
  for (const int error : {EIO, EMFILE, ENFILE, ENOMEM, ESTALE, ENXIO}) {
    EXPECT_EQ(unreadableCause(error), UnreadableCause::other) << error;
  }
}

TEST(ReadReport, AnItemCountsOnceForEachCause) {
  ReadReport report;
  for (int time = 0; time < 3; ++time) {
    report.add("/a", EACCES);
    report.add("/a", ENOENT);
    report.add("/a", ENOTDIR);
  }
  EXPECT_EQ(report.count(), 2U);
  EXPECT_EQ(report.count(UnreadableCause::permission), 1U);
  EXPECT_EQ(report.items().size(), 2U);
}

TEST(ReadReport, ItemsAreKeptInTheOrderInWhichTheyWereAdded) {
  ReadReport report;
  report.add("/b", EACCES);
  report.add("/a", ENOENT);
  report.add("/c", EACCES);
  const UnreadableItem closed{.path = "/b", .cause = UnreadableCause::permission, .error = EACCES};
  const UnreadableItem gone{.path = "/a", .cause = UnreadableCause::vanished, .error = ENOENT};
  EXPECT_THAT(
      report.items(),
      ElementsAre(closed, gone, UnreadableItem{.path = "/c", .cause = UnreadableCause::permission, .error = EACCES}));
}

TEST(ReadReport, AMountPointIsNotAnError) {
  ReadReport report;
  report.addOtherDevice("/Volumes/Disk");
  report.add("/Volumes/Stick", EXDEV);
  EXPECT_THAT(report.items(),
              ElementsAre(UnreadableItem{.path = "/Volumes/Disk", .cause = UnreadableCause::otherDevice, .error = 0},
                          UnreadableItem{.path = "/Volumes/Stick", .cause = UnreadableCause::otherDevice, .error = 0}));
}

TEST(ReadReport, TakesTheItemsOfAnotherReport) {
  ReadReport other;
  other.add("/a", EACCES);
  other.add("/b", EIO);
  other.addOtherDevice("/Volumes/Stick");
  ReadReport report;
  report.add("/a", EACCES);
  report.add(other);
  EXPECT_EQ(report.items(), other.items());
  EXPECT_EQ(report.count(), 3U);
}

TEST(ReadReport, EachCauseIsCountedSeparately) {
  ReadReport report;
  report.add("/a", EACCES);
  report.add("/b", EACCES);
  report.add("/c", ENOENT);
  report.addOtherDevice("/d");
  EXPECT_EQ(report.count(), 4U);
  EXPECT_EQ(report.count(UnreadableCause::permission), 2U);
  EXPECT_EQ(report.count(UnreadableCause::vanished), 1U);
  EXPECT_EQ(report.count(UnreadableCause::otherDevice), 1U);
  EXPECT_EQ(report.count(UnreadableCause::loop), 0U);
  EXPECT_EQ(report.count(UnreadableCause::other), 0U);
}

TEST(ReadReport, BeyondTheKeptItemsAllIsStillCounted) {
  ReadReport report;
  for (std::size_t i = 0; i < ReadReport::kKeptItems + 5; ++i) report.add(std::to_string(i), EACCES);
  ASSERT_EQ(report.items().size(), ReadReport::kKeptItems);
  EXPECT_EQ(report.items().front().path, "0");
  EXPECT_EQ(report.items().back().path, std::to_string(ReadReport::kKeptItems - 1));
  EXPECT_EQ(report.count(), ReadReport::kKeptItems + 5);
}

TEST(ReadReport, PathsOfGreatLengthAreKeptOnlyUpToABoundAndStillCounted) {
  ReadReport report;
  const std::string path(999'997, 'a');
  for (int i = 100; i < 200; ++i) report.add(path + std::to_string(i), EACCES);
  EXPECT_EQ(report.items().size(), ReadReport::kKeptBytes / 1'000'000);
  EXPECT_EQ(report.count(), 100U);
}

TEST(ReadReport, ManyThreadsMayAdd) {
  ReadReport report;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&report, t] {
      for (int i = 0; i < 1000; ++i) report.add("/" + std::to_string(t) + "/" + std::to_string(i), EACCES);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(report.count(UnreadableCause::permission), 4000U);
  EXPECT_EQ(report.items().size(), 4000U);
}

}  // namespace
}  // namespace quarn::read_report_tests

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::launchd_scanner_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<LaunchdEntry> jobs(const MacVolume& volume) { return LaunchdScanner::live(volume.files()).scan(); }

std::vector<std::string> labels(const MacVolume& volume) {
  std::vector<std::string> result;
  for (const LaunchdEntry& job : jobs(volume)) result.push_back(job.label);
  return result;
}

TEST(LaunchdScanner, AJobIsACompleteRecord) {
  MacVolume volume;
  volume.plist("/Library/LaunchDaemons/com.example.daemon.plist",
               {{"Label", "com.example.daemon"},
                {"Program", "/usr/local/bin/exampled"},
                {"ProgramArguments", PlistArray{"exampled", "--quiet"}},
                {"RunAtLoad", true}});
  EXPECT_THAT(jobs(volume),
              ElementsAre(LaunchdEntry{.label = "com.example.daemon",
                                       .program = "/usr/local/bin/exampled",
                                       .programArguments = {"exampled", "--quiet"},
                                       .url = FileURL("/Library/LaunchDaemons/com.example.daemon.plist")}));
}

TEST(LaunchdScanner, ListsTheFiveFoldersInTheirOrderAndNamesAscending) {
  MacVolume volume;
  const std::vector<std::string> folders{"~/Library/LaunchAgents", "/Library/LaunchAgents", "/Library/LaunchDaemons",
                                         "/System/Library/LaunchAgents", "/System/Library/LaunchDaemons"};
  for (std::size_t i = folders.size(); i-- > 0;) {
    for (const char* name : {"b", "a", "B"}) {
      volume.plist(folders[i] + "/" + name + ".plist", {{"Label", std::to_string(i) + name}});
    }
  }
  volume.plist("~/Library/LaunchDaemons/x.plist", {{"Label", "elsewhere"}})
      .plist("/Users/bob/Library/LaunchAgents/x.plist", {{"Label", "elsewhere"}})
      .plist("/Library/LaunchAgents/folder/x.plist", {{"Label", "below"}});
  EXPECT_THAT(labels(volume),
              ElementsAre("0B", "0a", "0b", "1B", "1a", "1b", "2B", "2a", "2b", "3B", "3a", "3b", "4B", "4a", "4b"));
}

TEST(LaunchdScanner, WithoutAnyFolderThereAreNoJobs) {
  const MacVolume volume;
  EXPECT_THAT(jobs(volume), IsEmpty());
}

TEST(LaunchdScanner, AFileWithoutALabelStringIsSkipped) {
  MacVolume volume;
  volume.plist("/Library/LaunchAgents/a.plist", {{"Program", "/bin/ls"}})
      .plist("/Library/LaunchAgents/b.plist", {{"Label", 7}})
      .plist("/Library/LaunchAgents/c.plist", {{"Label", PlistArray{"c"}}})
      .text("/Library/LaunchAgents/d.plist", sample::xmlPlist(PlistArray{"Label", "d"}))
      .plist("/Library/LaunchAgents/e.plist", {{"label", "e"}})
      .plist("/Library/LaunchAgents/f.plist", {{"Label", "f"}});
  EXPECT_THAT(labels(volume), ElementsAre("f"));
}

TEST(LaunchdScanner, AProgramThatIsNotAStringIsAbsent) {
  MacVolume volume;
  volume.plist("/Library/LaunchAgents/a.plist", {{"Label", "a"}, {"Program", 1}})
      .plist("/Library/LaunchAgents/b.plist", {{"Label", "b"}});
  ASSERT_THAT(jobs(volume), SizeIs(2));
  EXPECT_EQ(jobs(volume)[0].program, std::nullopt);
  EXPECT_EQ(jobs(volume)[1].program, std::nullopt);
}

TEST(LaunchdScanner, ArgumentsCountOnlyIfAllOfThemAreStrings) {
  const std::vector<std::pair<PlistValue, std::vector<std::string>>> rows{
      {PlistArray{"a", "b"}, {"a", "b"}}, {PlistArray{"a", 1}, {}}, {PlistArray{}, {}}, {"a", {}}, {true, {}}};
  for (const auto& [arguments, expected] : rows) {
    MacVolume volume;
    volume.plist("/Library/LaunchAgents/a.plist", {{"Label", "a"}, {"ProgramArguments", arguments}});
    ASSERT_THAT(jobs(volume), SizeIs(1));
    EXPECT_EQ(jobs(volume)[0].programArguments, expected);
  }
}

TEST(LaunchdScanner, OnlyTheExtensionOfAPropertyListCountsInAnyLetterCase) {
  MacVolume volume;
  volume.plist("/Library/LaunchAgents/a.PLIST", {{"Label", "a"}})
      .plist("/Library/LaunchAgents/b.plist.disabled", {{"Label", "b"}})
      .plist("/Library/LaunchAgents/c", {{"Label", "c"}})
      .plist("/Library/LaunchAgents/.d.plist", {{"Label", "d"}});
  EXPECT_THAT(labels(volume), ElementsAre("d", "a"));
}

TEST(LaunchdScanner, BinaryPropertyListsAreRead) {
  MacVolume volume;
  volume.binaryPlist("/Library/LaunchAgents/a.plist", {{"Label", "ä"}, {"ProgramArguments", PlistArray{"x"}}});
  ASSERT_THAT(jobs(volume), SizeIs(1));
  EXPECT_EQ(jobs(volume)[0].label, "ä");
  EXPECT_THAT(jobs(volume)[0].programArguments, ElementsAre("x"));
}

TEST(LaunchdScanner, ALinkToAPropertyListIsAJobAtTheLinksPath) {
  MacVolume volume;
  volume.plist("/opt/job.plist", {{"Label", "linked"}}).link("/Library/LaunchAgents/job.plist", "/opt/job.plist");
  ASSERT_THAT(jobs(volume), SizeIs(1));
  EXPECT_EQ(jobs(volume)[0].url.path(), "/Library/LaunchAgents/job.plist");
}

TEST(LaunchdScanner, UnreadableFilesContributeNothingAndTheRestIsListed) {
  MacVolume other;
  other.plist("/job.plist", {{"Label", "outside"}});
  MacVolume volume;
  const std::string folder = "/Library/LaunchAgents/";
  volume.text(folder + "garbage.plist", "\x01\x02")
      .text(folder + "empty.plist", "")
      .text(folder + "truncated.plist", "<plist><dict><key>Label</key><string>x")
      .sparse(folder + "huge.plist", std::int64_t{2} << 30)
      .fifo(folder + "pipe.plist")
      .socket(folder + "socket.plist")
      .folder(folder + "folder.plist")
      .link(folder + "dangling.plist", "nowhere")
      .link(folder + "loop.plist", "loop.plist")
      .link(folder + "outside.plist", other.host("/job.plist"))
      .link(folder + "zero.plist", "/dev/zero")
      .plist(folder + "\xFF.plist", {{"Label", "good"}});
  EXPECT_THAT(labels(volume), ElementsAre("good"));
}

TEST(LaunchdScanner, FilesWithoutPermissionContributeNothing) {
  MacVolume volume;
  volume.plist("/Library/LaunchAgents/a.plist", {{"Label", "a"}})
      .plist("/Library/LaunchDaemons/b.plist", {{"Label", "b"}})
      .plist("/Library/LaunchDaemons/c.plist", {{"Label", "c"}})
      .mode("/Library/LaunchAgents", 0000)
      .mode("/Library/LaunchDaemons/b.plist", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(labels(volume), ElementsAre("c"));
}

TEST(LaunchdScanner, ASnapshotReadsTheJobsOnceOnFirstUse) {
  MacVolume volume;
  const LaunchdScanner scanner = LaunchdScanner::snapshot(volume.files());
  volume.plist("/Library/LaunchAgents/a.plist", {{"Label", "a"}});
  const std::vector<LaunchdEntry> first = scanner.scan();
  EXPECT_EQ(first, jobs(volume));
  EXPECT_THAT(first, SizeIs(1));
  volume.plist("/Library/LaunchAgents/b.plist", {{"Label", "b"}});
  EXPECT_EQ(scanner.scan(), first);
}

TEST(LaunchdScanner, AnEndlessLabelOrProgramIsDamageAndReported) {
  MacVolume volume;
  const std::string longest(limits::kNameBytes, 'l');
  volume.plist("/Library/LaunchAgents/a.plist", {{"Label", longest}})
      .plist("/Library/LaunchAgents/b.plist", {{"Label", longest + "l"}})
      .plist("/Library/LaunchAgents/c.plist",
             {{"Label", "c"}, {"Program", std::string(limits::kRecordPathBytes + 1, 'p')}});
  const auto report = std::make_shared<ReadReport>();
  const std::vector<LaunchdEntry> jobs = LaunchdScanner::live(volume.files().reportingTo(report)).scan();
  ASSERT_EQ(jobs.size(), 1U);
  EXPECT_EQ(jobs.front().label, longest);
  EXPECT_EQ(report->count(UnreadableCause::limit), 2U);
}

TEST(LaunchdScanner, OneListUnderManyNamesIsKeptAsOftenAsTheLimitAllows) {
  MacVolume volume;
  PlistArray arguments;
  for (int i = 0; i < 20'000; ++i) arguments.emplace_back("argument");
  volume.binaryPlist("/Library/LaunchAgents/0.plist", {{"Label", "farm"}, {"ProgramArguments", arguments}});
  for (int i = 1; i < 40; ++i) {
    volume.hardLink("/Library/LaunchAgents/" + std::to_string(i) + ".plist", "/Library/LaunchAgents/0.plist");
  }
  const auto report = std::make_shared<ReadReport>();
  const std::vector<LaunchdEntry> jobs = LaunchdScanner::live(volume.files().reportingTo(report)).scan();
  const std::size_t bytesPerJob = 20'000 * (limits::kBytesPerText + 8);
  EXPECT_EQ(jobs.size(), limits::kJobBytes / bytesPerJob);
  EXPECT_EQ(report->count(UnreadableCause::limit), 40 - jobs.size());
}

}  // namespace
}  // namespace quarn::launchd_scanner_tests

#include <cerrno>

#include <gtest/gtest.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/terminal/UnreadSummary.h"

namespace quarn::unread_summary_tests {
namespace {

TEST(UnreadSummary, CountsByCauseInAFixedOrder) {
  ReadReport report;
  report.add("/a", EACCES);
  report.add("/b", EACCES);
  report.add("/c", ENOENT);
  report.addOtherDevice("/d");
  report.add("/e", ELOOP);
  report.add("/f", EIO);
  report.add("/g", EFBIG);
  const UnreadSummary summary = unreadSummary(report);
  std::vector<std::string> lines;
  for (const UnreadSummary::Cause& cause : summary.causes) lines.push_back(causeLine(cause));
  EXPECT_EQ(lines, (std::vector<std::string>{"2 items: permission denied", "1 item: vanished while being read",
                                             "1 item: on another device, not entered", "1 item: symbolic link loop",
                                             "1 item: beyond a limit of this program", "1 item: could not be read",
                                             "0 items: refused by privacy protection",
                                             "0 items: only in the cloud, not downloaded"}));
  EXPECT_EQ(summary.count(), 7U);
}

TEST(UnreadSummary, ANoteNamesTheFirstItemAndWhatToDo) {
  ReadReport report;
  report.add("/Users/zoe", EACCES);
  report.add("/Users/bob", EACCES);
  report.add("/c", ELOOP);
  const UnreadSummary summary = unreadSummary(report);
  const auto line = [&](UnreadableCause cause, bool areListed) {
    return noteLine(summary, summary.causes[static_cast<std::size_t>(cause)], areListed);
  };
  const std::string remedy(remedyFor(UnreadableCause::permission));
  EXPECT_NE(remedy, "");
  EXPECT_EQ(line(UnreadableCause::permission, false),
            "2 items: permission denied, such as /Users/bob (" + remedy + "; use --verbose to list them)");
  EXPECT_EQ(line(UnreadableCause::permission, true), "2 items: permission denied (" + remedy + ")");
  EXPECT_EQ(line(UnreadableCause::loop, false), "1 item: symbolic link loop: /c");
}

TEST(UnreadSummary, OnlyMissingDataMakesAResultIncomplete) {
  const std::vector<std::pair<int, bool>> rows{
      {EACCES, true}, {ENOENT, false}, {EXDEV, false}, {ELOOP, true}, {EIO, true}};
  for (const auto& [error, isIncomplete] : rows) {
    ReadReport report;
    report.add("/a", error);
    EXPECT_EQ(unreadSummary(report).isIncomplete(), isIncomplete) << error;
  }
  EXPECT_FALSE(unreadSummary(ReadReport()).isIncomplete());
}

TEST(UnreadSummary, ItemsAreSortedByPath) {
  ReadReport report;
  for (const char* path : {"/b", "/c", "/a"}) report.add(path, EACCES);
  std::string paths;
  for (const UnreadableItem& item : unreadSummary(report).items) paths += item.path;
  EXPECT_EQ(paths, "/a/b/c");
}

TEST(UnreadSummary, JSONHasTheCountsOfEveryCauseAndTheItems) {
  ReadReport report;
  report.addOtherDevice("/Volumes/Backup");
  report.add("/closed\xFF", EACCES);
  EXPECT_EQ(
      toJSON(unreadSummary(report)).dump(),
      R"({"count":2,"causes":{"permission":1,"vanished":0,"otherDevice":1,"loop":0,"limit":0,"other":0,"privacy":0,)"
      R"("onlyInCloud":0},"items":[)"
      R"({"path":"/Volumes/Backup","cause":"otherDevice","errno":0,"name":""},)"
      "{\"path\":\"/closed\xEF\xBF\xBD\",\"cause\":\"permission\",\"errno\":13,\"name\":\"EACCES\"}]}");
}

}  // namespace
}  // namespace quarn::unread_summary_tests

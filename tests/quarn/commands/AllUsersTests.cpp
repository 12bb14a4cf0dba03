#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "tests/quarn/commands/CommandDocument.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/ChangedDatabase.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Remedies.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::all_users_tests {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

CommandRun runForAll(const MacVolume& volume, std::vector<std::string> words) {
  words.insert(words.begin(), {"--volume", volume.root()});
  words.push_back("--all-users");
  return runQuarn(words);
}

MacVolume& filled(MacVolume& volume) {
  return volume.file("/Users/ann/Documents/a", 8_KiB)
      .file("/Users/bob/Documents/b", 64_KiB)
      .file("/Users/bob/Library/Caches/c", 4_KiB)
      .file("/Users/Shared/d", 16_KiB);
}

// "ann 8192", and "– 16384" for what no user has.
std::vector<std::string> lines(const nlohmann::json& users) {
  std::vector<std::string> lines;
  for (const auto& user : users) {
    const std::string name = user["user"].is_null() ? "–" : user["user"].get<std::string>();
    lines.push_back(name + " " + std::to_string(user["size"]["allocatedBytes"].get<std::int64_t>()));
  }
  return lines;
}

TEST(AllUsers, StorageShowsWhatEachUserHasTheLargestFirstAndWhatTheyShare) {
  MacVolume volume;
  filled(volume);
  const nlohmann::json all = document(runForAll(volume, {"storage", "--json"}));
  EXPECT_THAT(lines(all["users"]), ElementsAre("bob 69632", "ann 8192", "– 16384"));
  EXPECT_EQ(all["users"][0]["home"], "file:///Users/bob/");
  EXPECT_EQ(all["users"][0]["categories"]["documents"]["allocatedBytes"], 65536);
  EXPECT_TRUE(all["users"][2]["home"].is_null());
  EXPECT_EQ(all["categories"]["documents"]["allocatedBytes"], 8192 + 65536);
  EXPECT_EQ(all["categories"]["systemData"]["allocatedBytes"], 4096 + 16384);
  const CommandRun text = runForAll(volume, {"storage", "--bytes"});
  EXPECT_THAT(text.out, AllOf(HasSubstr("\nUSER "), HasSubstr("\nbob "), HasSubstr("\nann "),
                              HasSubstr("\nshared by all users "), Not(HasSubstr("\nShared "))));
  EXPECT_EQ(text.exitCode, 0);
}

TEST(AllUsers, StorageWithoutItHasNoUsers) {
  MacVolume volume;
  filled(volume);
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "storage", "--json"});
  EXPECT_FALSE(document(run).contains("users"));
}

TEST(AllUsers, StoragePrintsOneLinePerCategoryAndPerUser) {
  MacVolume volume;
  filled(volume);
  const CommandRun run = runForAll(volume, {"storage", "--ndjson"});
  EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 8 + 3);
  EXPECT_THAT(run.out, HasSubstr("\n{\"user\":\"bob\",\"home\":\"file:///Users/bob/\",\"size\":"));
  EXPECT_THAT(run.out, HasSubstr("\n{\"user\":null,\"home\":null,\"size\":"));
}

TEST(AllUsers, StorageOfACategoryNamesTheUserOfEachFolder) {
  MacVolume volume;
  filled(volume);
  const nlohmann::json roots = document(runForAll(volume, {"storage", "documents", "--json"}))["roots"];
  EXPECT_THAT(lines(roots), ElementsAre("bob 65536", "ann 8192"));
  EXPECT_THAT(runForAll(volume, {"storage", "documents"}).out, AllOf(HasSubstr("\nUSER "), HasSubstr("\nbob ")));
  const CommandRun refused = runForAll(volume, {"storage", "documents", "--roots"});
  EXPECT_EQ(refused.exitCode, 2);
  EXPECT_THAT(refused.err, HasSubstr("--roots cannot be combined with --all-users"));
}

TEST(AllUsers, TopRanksTheItemsOfAllHomesAndNamesTheUsers) {
  MacVolume volume;
  filled(volume);
  const nlohmann::json items = document(runForAll(volume, {"top", "--json"}))["items"];
  EXPECT_THAT(lines(items), ElementsAre("bob 65536", "ann 8192", "bob 4096"));
  EXPECT_THAT(runForAll(volume, {"top"}).out, AllOf(HasSubstr("USER "), HasSubstr("\nann ")));
  EXPECT_THAT(lines(document(runForAll(volume, {"top", "--category", "documents", "--json"}))["items"]),
              ElementsAre("bob 65536", "ann 8192"));
  EXPECT_THAT(lines(document(runForAll(volume, {"top", "--category", "systemData", "--json"}))["items"]),
              ElementsAre("– 16384", "bob 4096"));
  EXPECT_THAT(lines(document(runForAll(volume, {"top", "/", "--limit", "2", "--json"}))["items"]),
              ElementsAre("bob 65536", "– 16384"));
}

TEST(AllUsers, TheReportHasATableOfUsersAndTheLeftoversOfAll) {
  MacVolume volume;
  filled(volume)
      .folder("/Users/bob/Library/Caches/com.gone.Editor")
      .folder("/Users/ann/Library/Caches/com.gone.Editor");
  const CommandRun run = runForAll(volume, {"report", "--output", "-"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out,
              AllOf(HasSubstr("<h2 id=\"users\">"), HasSubstr("bob</bdi></th>"), HasSubstr("shared by all users")));
  EXPECT_THAT(run.out, AllOf(HasSubstr("/Users/bob/Library/Caches/com.gone.Editor"),
                             HasSubstr("/Users/ann/Library/Caches/com.gone.Editor"), Not(HasSubstr("~/"))));
  EXPECT_THAT(runForAll(volume, {"report", "Notes", "--output", "-"}).err,
              HasSubstr("--all-users cannot be combined with APP"));
}

TEST(AllUsers, TheReportNamesTheAppsOfAllUsersInItsMap) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes", .name = "Notes"});
  volume.file("/Users/ann/Documents/a", 1_MiB);
  volume.file("/Users/bob/Library/Containers/com.example.notes/Data/a", 8_MiB)
      .file("/Users/bob/Library/Caches/b", 6_MiB);
  EXPECT_THAT(runForAll(volume, {"report", "--output", "-"}).out, HasSubstr("aria-label=\"Notes, 8.4 MB\""));
}

/// A scan of all users of a volume.
class ScanForAll : public testing::Test {
 protected:
  ScanForAll() {
    folder_.folder("/scans");
    filled(volume_).app("/Users/bob/Applications/Bobs.app", {.bundleIdentifier = "org.bobs", .name = "Bobs"});
    volume_.folder("/Users/bob/Library/Caches/org.bobs").folder("/Users/ann/Library/Caches/com.gone.Editor");
  }

  CommandRun scan(const std::string& name, const std::vector<std::string>& users = {"--all-users"}) const {
    std::vector<std::string> words{"scan", "--volume", volume_.root(), "-o", file(name)};
    words.insert(words.end(), users.begin(), users.end());
    return runQuarn(words);
  }
  [[nodiscard]] std::string file(const std::string& name) const { return folder_.host("/scans/" + name); }
  CommandRun ask(std::vector<std::string> words, const std::string& name = "all") const {
    words.insert(words.end(), {"--scan", file(name)});
    return runQuarn(words);
  }

  MacVolume volume_;
  MacVolume folder_;
};

TEST_F(ScanForAll, AnswersPerUserWithAndWithoutTheOption) {
  ASSERT_EQ(scan("all").exitCode, 0);
  for (const std::vector<std::string>& words : {std::vector<std::string>{"storage"}, {"storage", "--all-users"}}) {
    EXPECT_THAT(ask(words).out, AllOf(HasSubstr("\nbob "), HasSubstr("\nshared by all users ")));
  }
  EXPECT_THAT(ask({"top", "--all-users"}).out, AllOf(HasSubstr("USER "), HasSubstr(" /Users/bob/Documents/b")));
  EXPECT_THAT(ask({"storage", "documents"}).out, AllOf(HasSubstr("USER "), HasSubstr("\nann ")));
  EXPECT_THAT(ask({"report", "-o", "-"}).out, HasSubstr("<h2 id=\"users\">"));
}

TEST_F(ScanForAll, HasTheAppsOwnersAndLeftoversOfAllUsers) {
  ASSERT_EQ(scan("all").exitCode, 0);
  EXPECT_THAT(ask({"apps"}).out, HasSubstr(" /Users/bob/Applications/Bobs.app"));
  EXPECT_THAT(ask({"owner", "/Users/bob/Library/Caches/org.bobs"}).out, HasSubstr("owned      Bobs"));
  EXPECT_THAT(ask({"leftovers"}).out, HasSubstr(" /Users/ann/Library/Caches/com.gone.Editor"));
}

TEST_F(ScanForAll, TheTreeBeginsWhereAllHomesAreAndNamesTheOwnersOfEach) {
  ASSERT_EQ(scan("all").exitCode, 0);
  volume_.file("/Users/bob/Library/Caches/org.bobs/a", 1_MiB).file("/Users/ann/Library/Caches/a/a", 2_MiB);
  ASSERT_EQ(scan("later").exitCode, 0);
  EXPECT_THAT(ask({"tree", "--depth", "4"}, "later").out,
              AllOf(HasSubstr(" /Users/"), HasSubstr("├ bob/"), HasSubstr(" Bobs ")));
  const CommandRun changed = runQuarn({"diff", file("all"), file("later")});
  EXPECT_THAT(changed.out, HasSubstr("/Users/bob/Library/Caches/org.bobs"));
  EXPECT_THAT(changed.out, HasSubstr(" /Users/ann/Library/Caches"));
  EXPECT_EQ(changed.err, "");
}

TEST_F(ScanForAll, TheTreeOfHomesInDifferentPlacesBeginsAtTheRoot) {
  ASSERT_EQ(scan("all").exitCode, 0);
  changeDatabase(file("all"),
                 "UPDATE users SET path='/Volumes/homes/bob', location=path WHERE path='/Users/bob';"
                 "UPDATE users SET location=path");
  EXPECT_THAT(ask({"tree", "--depth", "1"}).out, HasSubstr(" └ Users/"));
}

TEST_F(ScanForAll, AFolderOfACategoryThatTheVolumeDoesNotHaveIsNoNews) {
  ASSERT_EQ(scan("one", {"--home", "/Users/ann"}).exitCode, 0);
  ASSERT_EQ(ask({"tree", "~/.cargo"}, "one").exitCode, 3) << "development has this folder";
  EXPECT_EQ(ask({"top", "--category", "development"}, "one").err, "quarn: nothing found\n");
}

// What the homes share is a folder of each user's category.
TEST_F(ScanForAll, TopListsNothingTwice) {
  ASSERT_EQ(scan("all").exitCode, 0);
  const CommandRun run = ask({"top", "--category", "systemData", "--json"});
  EXPECT_THAT(lines(document(run)["items"]), ElementsAre("– 16384", "bob 4096"));
  EXPECT_EQ(run.err, "");
}

TEST_F(ScanForAll, NoHomeFolderIsSpecial) {
  ASSERT_EQ(scan("all").exitCode, 0);
  const CommandRun run = ask({"tree", "~"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("\"~\": the scan is of all users; name a home folder"));
}

TEST_F(ScanForAll, AScanOfOneHomeFolderHasNoAnswerForAllUsers) {
  ASSERT_EQ(scan("one", {"--home", "/Users/ann"}).exitCode, 0);
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"storage"}, {"top"}, {"leftovers"}, {"report", "-o", "-"}}) {
    std::vector<std::string> all = words;
    all.emplace_back("--all-users");
    const CommandRun run = ask(all, "one");
    EXPECT_EQ(run.exitCode, 2) << words.front();
    EXPECT_THAT(run.err, HasSubstr("is a scan of one home folder, /Users/ann (\"quarn scan --all-users\" keeps one of "
                                   "all users)"))
        << words.front();
  }
}

TEST_F(ScanForAll, ADifferenceToAScanOfOneHomeFolderIsExplained) {
  ASSERT_EQ(scan("all").exitCode, 0);
  ASSERT_EQ(scan("one", {"--home", "/Users/ann"}).exitCode, 0);
  const std::string sentence = file("all") + " is a scan of all users and the other is not: ";
  EXPECT_THAT(runQuarn({"diff", file("one"), file("all")}).err, HasSubstr(sentence));
  EXPECT_THAT(runQuarn({"diff", file("all"), file("one")}).err, HasSubstr(sentence));
  EXPECT_THAT(ask({"report", "--since", file("one"), "-o", "-"}).err, HasSubstr(sentence));
}

TEST_F(ScanForAll, TheExportHasTheUsers) {
  ASSERT_EQ(scan("all").exitCode, 0);
  ASSERT_EQ(ask({"scan", "--export", file("tables")}).exitCode, 0);
  std::ifstream stream(file("tables/users.csv"));
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  EXPECT_EQ(text,
            "id,path,is_folder,location,is_read\r\n1,/Users/ann,1,/Users/ann,1\r\n2,/Users/bob,1,/Users/bob,1\r\n");
}

TEST(AllUsers, AHomeCannotBeNamedToo) {
  MacVolume volume;
  filled(volume);
  for (const std::string command : {"storage", "top", "leftovers", "report", "scan"}) {
    const CommandRun run = runForAll(volume, {"--home", "/Users/ann", command});
    EXPECT_EQ(run.exitCode, 2) << command;
    EXPECT_THAT(run.err, HasSubstr("--all-users cannot be combined with --home")) << command;
  }
}

TEST(AllUsers, AnUnreadableHomeIsReportedWithTheRemedy) {
  MacVolume volume;
  filled(volume).mode("/Users/bob", 0000);
  const UnprivilegedUser user;
  for (const std::string command : {"storage", "top", "leftovers"}) {
    const CommandRun run = runForAll(volume, {command});
    EXPECT_EQ(run.exitCode, 4) << command;
    EXPECT_EQ(run.err, "quarn: 1 item: permission denied: /Users/bob " + permissionRemedy() + "\n") << command;
  }
  EXPECT_THAT(runForAll(volume, {"storage"}).out, HasSubstr("not readable"));
  const nlohmann::json users = document(runForAll(volume, {"storage", "--json"}))["users"];
  EXPECT_THAT(lines(users), ElementsAre("ann 8192", "bob 0", "– 16384"));
  EXPECT_FALSE(users[1]["isRead"]);
}

TEST(AllUsers, AHomeThatIsALinkIsNotCountedTwice) {
  MacVolume volume;
  filled(volume).link("/Users/me", "bob").link("/Users/out", "/../..").link("/Users/self", "self");
  EXPECT_THAT(lines(document(runForAll(volume, {"storage", "--json"}))["users"]),
              ElementsAre("bob 69632", "ann 8192", "– 16384"));
  EXPECT_THAT(lines(document(runForAll(volume, {"top", "--json"}))["items"]),
              ElementsAre("bob 65536", "ann 8192", "bob 4096"));
}

TEST(AllUsers, HostileNamesOfHomesAreEscaped) {
  MacVolume volume;
  volume.file("/Users/\x1b[31mred/Documents/a", 8_KiB).file("/Users/\xff\xfe/Documents/a", 4_KiB);
  const CommandRun text = runForAll(volume, {"storage"});
  EXPECT_EQ(text.exitCode, 0);
  EXPECT_THAT(text.out, Not(HasSubstr("\x1b")));
  EXPECT_EQ(document(runForAll(volume, {"storage", "--json"}))["users"].size(), 4U);
  EXPECT_EQ(document(runForAll(volume, {"top", "--json"}))["items"].size(), 2U);
}

}  // namespace
}  // namespace quarn::all_users_tests

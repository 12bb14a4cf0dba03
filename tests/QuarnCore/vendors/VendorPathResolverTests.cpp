#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::vendor_path_resolver_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Expected URLs: a trailing "/" marks a known folder.
std::vector<std::string> resolved(const MacVolume& volume, const std::vector<std::string>& patterns) {
  std::vector<std::string> found;
  for (const FileURL& url : VendorPathResolver::resolve(patterns, volume.files(), volume.url("~"))) {
    found.push_back(url.path() + (url.hasDirectoryPath() && url.path() != "/" ? "/" : ""));
  }
  return found;
}

TEST(VendorPathResolver, ATildeAloneIsTheHomeFolder) {
  const MacVolume volume;
  EXPECT_THAT(resolved(volume, {"~"}), ElementsAre("/Users/ann/"));
  EXPECT_THAT(resolved(volume, {"~/"}), ElementsAre("/Users/ann/"));
}

TEST(VendorPathResolver, AHomeFolderThatIsNotThereYieldsNothing) {
  const MacVolume volume;
  EXPECT_THAT(VendorPathResolver::resolve({"~", "~/x"}, volume.files(), FileURL("/Users/nobody")), IsEmpty());
}

TEST(VendorPathResolver, TheHomeArgumentTakesPrecedenceOverTheVolumesHome) {
  MacVolume volume;
  volume.file("/Users/bob/x");
  const auto urls = VendorPathResolver::resolve({"~/x"}, volume.files(), FileURL("/Users/bob"));
  EXPECT_THAT(urls, ElementsAre(FileURL("/Users/bob/x")));
}

TEST(VendorPathResolver, PlainPatternsResolveToExistingItemsInPatternOrder) {
  MacVolume volume;
  volume.file("~/b").folder("/Library/a");
  EXPECT_THAT(resolved(volume, {"~/b", "/Library/missing", "/Library/a", "/Library/missing/x", "~/b/x"}),
              ElementsAre("/Users/ann/b", "/Library/a/"));
}

TEST(VendorPathResolver, EmptyComponentsAreIgnored) {
  MacVolume volume;
  volume.folder("/Library/a");
  EXPECT_THAT(resolved(volume, {"//Library///a//"}), ElementsAre("/Library/a/"));
  EXPECT_THAT(resolved(volume, {"~//"}), ElementsAre("/Users/ann/"));
}

TEST(VendorPathResolver, PatternsWithoutComponentsYieldNothing) {
  const MacVolume volume;
  EXPECT_THAT(resolved(volume, {"/", "//", ""}), IsEmpty());
}

TEST(VendorPathResolver, RelativePatternsYieldNothing) {
  MacVolume volume;
  volume.file("/Library/a").file("~/a");
  EXPECT_THAT(resolved(volume, {"Library/a", "a", "*", "./a", "~ann/a", " ~/a", " /Library/a", "~a"}), IsEmpty());
  EXPECT_THAT(resolved(volume, {"Library/a", "/Library/a"}), ElementsAre("/Library/a"));
}

TEST(VendorPathResolver, AStarAtTheEndMatchesFilesAndFolders) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.example.file")
      .folder("~/Library/Caches/com.example.folder")
      .folder("~/Library/Caches/com.example")
      .folder("~/Library/Caches/net.com.example.x")
      .link("~/Library/Caches/com.example.dangling", "nowhere");
  EXPECT_THAT(
      resolved(volume, {"~/Library/Caches/com.example.*"}),
      ElementsAre("/Users/ann/Library/Caches/com.example.dangling", "/Users/ann/Library/Caches/com.example.file",
                  "/Users/ann/Library/Caches/com.example.folder/"));
}

TEST(VendorPathResolver, AStarBeforeTheEndKeepsFoldersOnly) {
  MacVolume volume;
  volume.folder("/Library/Application Support/A/Example")
      .folder("/Library/Application Support/B/Other")
      .file("/Library/Application Support/C")
      .file("/Library/Application Support/D/Example")
      .folder("/Elsewhere/Example")
      .link("/Library/Application Support/E", "/Elsewhere");
  EXPECT_THAT(resolved(volume, {"/Library/Application Support/*/Example"}),
              ElementsAre("/Library/Application Support/A/Example/", "/Library/Application Support/D/Example"))
      << "a link to a folder is no folder there";
}

TEST(VendorPathResolver, SeveralStarsMultiply) {
  MacVolume volume;
  volume.folder("/L/a1/x/c").folder("/L/a2/x/c").folder("/L/a2/y/d").folder("/L/a3").folder("/L/b/x/c");
  EXPECT_THAT(resolved(volume, {"/L/a*/*/*"}), ElementsAre("/L/a1/x/c/", "/L/a2/x/c/", "/L/a2/y/d/"));
  EXPECT_THAT(resolved(volume, {"/*/a*/x/c"}), ElementsAre("/L/a1/x/c/", "/L/a2/x/c/"));
}

TEST(VendorPathResolver, ListingsAreInByteOrder) {
  MacVolume volume;
  volume.file("/L/b").file("/L/B").file("/L/a").file("/L/\u00E9").file("/L/10").file("/L/9");
  EXPECT_THAT(resolved(volume, {"/L/*"}), ElementsAre("/L/10", "/L/9", "/L/B", "/L/a", "/L/b", "/L/\u00E9"));
}

TEST(VendorPathResolver, HiddenEntriesAreNeverListedButMayBeNamed) {
  MacVolume volume;
  volume.file("/L/.DS_Store").file("/L/.hidden/x").file("/L/seen");
  EXPECT_THAT(resolved(volume, {"/L/*"}), ElementsAre("/L/seen"));
  EXPECT_THAT(resolved(volume, {"/L/.*"}), IsEmpty());
  EXPECT_THAT(resolved(volume, {"/L/.h*/x"}), IsEmpty());
  EXPECT_THAT(resolved(volume, {"/L/.hidden/*"}), ElementsAre("/L/.hidden/x"));
}

TEST(VendorPathResolver, LetterCaseMattersInStarredComponents) {
  MacVolume volume;
  volume.file("/L/Example Helper");
  EXPECT_THAT(resolved(volume, {"/L/example*"}), IsEmpty());
  EXPECT_THAT(resolved(volume, {"/L/Example*"}), ElementsAre("/L/Example Helper"));
}

TEST(VendorPathResolver, PlainComponentsFollowLinksAndDanglingOnesDoNotExist) {
  MacVolume volume;
  volume.file("/Target/f").link("/L/link", "/Target").link("/L/dangling", "/nowhere").link("/L/loop", "loop");
  EXPECT_THAT(resolved(volume, {"/L/link"}), ElementsAre("/L/link")) << "a link to a folder is not known to be one";
  EXPECT_THAT(resolved(volume, {"/L/link/f", "/L/link/*"}), ElementsAre("/L/link/f"));
  EXPECT_THAT(resolved(volume, {"/L/dangling", "/L/loop", "/L/loop/*"}), IsEmpty());
}

TEST(VendorPathResolver, LinksStayInsideTheVolume) {
  MacVolume volume;
  volume.link("/L/out", "/../../../../../../../etc").link("/L/etc", "/etc");
  EXPECT_THAT(resolved(volume, {"/L/out/*", "/L/etc/*", "/L/../../../../etc/passwd"}), IsEmpty());
}

TEST(VendorPathResolver, TheSameItemByTwoPatternsAppearsOnceWhereItWasFirst) {
  MacVolume volume;
  volume.folder("/L/a").folder("/L/b");
  EXPECT_THAT(resolved(volume, {"/L/b", "/L/*", "/L/a"}), ElementsAre("/L/b/", "/L/a/"));
}

TEST(VendorPathResolver, DotSegmentsAreKeptInTheUrlAndSeenThroughForDuplicates) {
  MacVolume volume;
  volume.folder("/L/a").folder("/L/b");
  EXPECT_THAT(resolved(volume, {"/L/./a", "/L/a"}), ElementsAre("/L/./a/"));
  EXPECT_THAT(resolved(volume, {"/L/a", "/L/b/../a", "/L/./a"}), ElementsAre("/L/a/"));
  EXPECT_THAT(resolved(volume, {"/L/b/../a", "/L/a"}), ElementsAre("/L/b/../a/"));
  EXPECT_THAT(resolved(volume, {"/L/missing/../a"}), IsEmpty()) << "existence is checked at every level";
}

TEST(VendorPathResolver, DotSegmentsBesideStarsWork) {
  MacVolume volume;
  volume.folder("/L/a/x").folder("/L/b/x");
  EXPECT_THAT(resolved(volume, {"/L/*/./x", "/L/b/x"}), ElementsAre("/L/a/./x/", "/L/b/./x/"));
  EXPECT_THAT(resolved(volume, {"/L/a/../*"}), ElementsAre("/L/a/../a/", "/L/a/../b/"));
}

TEST(VendorPathResolver, DuplicatesAreJudgedWithoutResolvingPlainLinks) {
  MacVolume volume;
  volume.folder("/L/a").link("/L/link", "a");
  EXPECT_THAT(resolved(volume, {"/L/a", "/L/link"}), ElementsAre("/L/a/", "/L/link"));
}

TEST(VendorPathResolver, ThePrivatePrefixIsSeenThroughForDuplicates) {
  MacVolume volume;
  volume.folder("/private/var/db").link("/var", "private/var");
  EXPECT_THAT(resolved(volume, {"/private/var/db", "/var/db"}), ElementsAre("/private/var/db/"));
}

TEST(VendorPathResolver, UnreadableFoldersContributeNothingAndAreReported) {
  MacVolume volume;
  volume.file("/L/closed/x").file("/L/open/x").mode("/L/closed", 0000);
  const auto report = std::make_shared<ReadReport>();
  const UnprivilegedUser user;
  const auto urls = VendorPathResolver::resolve({"/L/closed/*", "/L/*/x", "/L/open/*"},
                                                volume.files().reportingTo(report), FileURL());
  EXPECT_THAT(urls, ElementsAre(FileURL("/L/open/x")));
  EXPECT_EQ(report->count(UnreadableCause::permission), 1u);
}

TEST(VendorPathResolver, AFileInPlaceOfAFolderContributesNothing) {
  MacVolume volume;
  volume.file("/L/file");
  EXPECT_THAT(resolved(volume, {"/L/file/*", "/L/file/x", "/L/file/."}), IsEmpty());
}

TEST(VendorPathResolver, NamesMayBeAnyBytes) {
  MacVolume volume;
  volume.file("/L/\xFF\xFE").file("/L/a*b").file("/L/a?b");
  EXPECT_THAT(resolved(volume, {"/L/\xFF*"}), ElementsAre("/L/\xFF\xFE"));
  EXPECT_THAT(resolved(volume, {"/L/a*b"}), ElementsAre("/L/a*b", "/L/a?b"));
  EXPECT_THAT(resolved(volume, {std::string("/L/a?b\0c", 8), std::string("/L\0/*", 5)}), IsEmpty());
}

TEST(VendorPathResolver, StarredNamesMatchByCanonicalEquivalence) {
  MacVolume volume;
  volume.folder("/L/E\u0301a").folder("/L/\u00C9b").folder("/L/Ec");
  EXPECT_THAT(resolved(volume, {"/L/\u00C9*"}), ElementsAre("/L/E\u0301a/", "/L/\u00C9b/"));
  EXPECT_THAT(resolved(volume, {"/L/E\u0301*"}), ElementsAre("/L/E\u0301a/", "/L/\u00C9b/"));
  EXPECT_THAT(resolved(volume, {"/L/E*"}), ElementsAre("/L/Ec/"));
}

// Each "/*/.." leads back to its start, once for each folder there: 7 to the power of 40 ways.
TEST(VendorPathResolver, PathsThatMeetInAFolderAreFollowedOnce) {
  MacVolume volume;
  for (const char* name : {"a", "b", "c", "d", "e", "f", "g"}) volume.folder("/L/" + std::string(name));
  std::string pattern = "/L";
  for (int i = 0; i < 40; ++i) pattern += "/*/..";
  const Cancellation rescue;
  std::mutex mutex;
  std::condition_variable condition;
  bool isDone = false;
  std::thread watchdog([&] {
    std::unique_lock lock(mutex);
    if (!condition.wait_for(lock, std::chrono::minutes(1), [&] { return isDone; })) rescue.cancel();
  });
  const auto found = VendorPathResolver::resolve({pattern + "/*"}, volume.files(), volume.url("~"), rescue);
  {
    const std::lock_guard lock(mutex);
    isDone = true;
  }
  condition.notify_all();
  watchdog.join();
  std::vector<std::string> names;
  for (const FileURL& url : found) names.emplace_back(url.lastPathComponent());
  EXPECT_THAT(names, ElementsAre("a", "b", "c", "d", "e", "f", "g"));
  EXPECT_TRUE(found.empty() || found.front().path().starts_with("/L/a/../a/..")) << "the first way is kept";
}

TEST(VendorPathResolver, LinksThatLeadBackAreTheSameFolderOnlyWithDots) {
  MacVolume volume;
  volume.folder("/L/a/x").link("/L/b", "/L/a").folder("/L/c");
  EXPECT_THAT(resolved(volume, {"/L/*/x"}), ElementsAre("/L/a/x/"));
  EXPECT_THAT(resolved(volume, {"/L/*/../*/x"}), ElementsAre("/L/a/../a/x/"));
}

TEST(VendorPathResolver, CancelledItReturnsTheItemsOfThePatternsBefore) {
  MacVolume volume;
  volume.folder("/L/a");
  const Cancellation cancelled;
  cancelled.cancel();
  EXPECT_THAT(VendorPathResolver::resolve({"/L/*", "/L/a"}, volume.files(), volume.url("~"), cancelled), IsEmpty());
}

TEST(VendorPathResolver, LongPatternsOfNoAvailEndSoon) {
  MacVolume volume;
  volume.folder("/L/a");
  std::string deep = "/L";
  for (int i = 0; i < 50'000; ++i) deep += "/*";
  EXPECT_THAT(resolved(volume, {deep}), IsEmpty());
  EXPECT_THAT(resolved(volume, {"/L/" + std::string(100'000, 'a')}), IsEmpty());
  EXPECT_THAT(resolved(volume, {"/L/" + std::string(10'000, '*')}), ElementsAre("/L/a/"));
}

}  // namespace
}  // namespace quarn::vendor_path_resolver_tests

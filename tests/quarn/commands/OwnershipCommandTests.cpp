#include <algorithm>
#include <chrono>

#include <gmock/gmock.h>

#include "tests/quarn/commands/CommandDocument.h"
#include "tests/support/MacVolume.h"

namespace quarn::ownership_command_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

CommandRun runOn(const MacVolume& volume, std::vector<std::string> words) {
  if (std::find(words.begin(), words.end(), "--all-users") == words.end()) {
    words.insert(words.begin(), {"--home", volume.home()});
  }
  words.insert(words.begin(), {"--volume", volume.root()});
  return runQuarn(words);
}

std::int64_t daysAgo(int days) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::seconds>(now - std::chrono::days(days)).count();
}

std::vector<std::string> namesIn(const nlohmann::json& leftovers) {
  std::vector<std::string> names;
  for (const nlohmann::json& leftover : leftovers) names.push_back(leftover["owner"]["name"]);
  return names;
}

std::vector<std::string> leftoverNames(const MacVolume& volume, std::vector<std::string> options = {}) {
  options.insert(options.begin(), {"leftovers", "--json"});
  return namesIn(document(runOn(volume, options))["leftovers"]);
}

std::vector<std::string> urlsIn(const nlohmann::json& records) {
  std::vector<std::string> urls;
  for (const nlohmann::json& record : records) urls.push_back(record["url"]);
  return urls;
}

// ---- owner

TEST(OwnerCommand, NamesTheOwnerTheReasonAndTheRivals) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"})
      .app("/Applications/com.example.notes.app", {.bundleIdentifier = "org.other"})
      .folder("~/Library/Caches/com.example.notes");
  const CommandRun run = runOn(volume, {"owner", "~/Library/Caches/com.example.notes"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out,
            "~/Library/Caches/com.example.notes\n"
            "  owned      Notes\n"
            "  because    Named by the app's bundle identifier.\n"
            "  sure       0.92\n"
            "  place      Caches\n"
            "  rival      com.example.notes (0.72): Named like the app.\n");
}

TEST(OwnerCommand, WritesOneItemPerPathAsJSON) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"}).folder("~/Library/Logs/Notes");
  const CommandRun run = runOn(volume, {"owner", "~/Library/Logs/Notes", "/Applications/Notes.app/Contents", "--json"});
  const nlohmann::json items = document(run)["items"];
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0]["ownership"]["owners"][0]["evidence"], "name");
  EXPECT_EQ(items[1]["ownership"]["owners"][0]["evidence"], "inside");
  const CommandRun lines =
      runOn(volume, {"owner", "~/Library/Logs/Notes", "/Applications/Notes.app/Contents", "--ndjson"});
  EXPECT_EQ(std::count(lines.out.begin(), lines.out.end(), '\n'), 2);
}

TEST(OwnerCommand, SaysThatAllAppsShareAFolderAndThatNobodyIsKnown) {
  MacVolume volume;
  volume.app("/Applications/Caches.app", {.bundleIdentifier = "com.example.caches"})
      .folder("~/Library/Caches")
      .folder("~/Library/Caches/zzz");
  EXPECT_THAT(runOn(volume, {"owner", "~/Library/Caches"}).out, HasSubstr("All apps share this folder."));
  EXPECT_THAT(runOn(volume, {"owner", "~/Library/Caches/zzz"}).out, HasSubstr("  unknown    –\n"));
}

TEST(OwnerCommand, AMissingPathIsNotFoundAndARelativeOneIsAUsageError) {
  MacVolume volume;
  const CommandRun missing = runOn(volume, {"owner", "~/Library/nothing"});
  EXPECT_EQ(missing.exitCode, 3);
  EXPECT_THAT(missing.err, HasSubstr("/Users/ann/Library/nothing"));
  EXPECT_EQ(runOn(volume, {"owner", "Library"}).exitCode, 2);
  EXPECT_EQ(runOn(volume, {"owner"}).exitCode, 2);
}

TEST(OwnerCommand, EscapesHostileNames) {
  MacVolume volume;
  volume.app("/Applications/Evil.app", {.bundleIdentifier = "com.evil", .displayName = "\x1b[31mEvil\nsecond line"})
      .folder("~/Library/Caches/com.evil");
  const CommandRun run = runOn(volume, {"owner", "~/Library/Caches/com.evil"});
  EXPECT_THAT(run.out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(run.out, Not(HasSubstr("\nsecond line")));
  EXPECT_THAT(run.out, HasSubstr("Evil"));
}

// ---- leftovers

TEST(LeftoversCommand, ListsTheItemsByFormerOwner) {
  MacVolume volume;
  volume.app("/Applications/Here.app", {.bundleIdentifier = "com.here.app"})
      .folder("~/Library/Caches/com.here.app")
      .folder("~/Library/Caches/com.gone.Editor")
      .file("~/Library/Preferences/com.gone.Editor.plist");
  const CommandRun run = runOn(volume, {"leftovers"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("FORMER APP"));
  EXPECT_THAT(run.out, HasSubstr("~/Library/Caches/com.gone.Editor"));
  EXPECT_THAT(run.out, HasSubstr("~/Library/Preferences/com.gone.Editor.plist"));
  EXPECT_THAT(run.out, Not(HasSubstr("com.here.app")));
  const CommandRun lines = runOn(volume, {"leftovers", "--ndjson"});
  EXPECT_EQ(std::count(lines.out.begin(), lines.out.end(), '\n'), 1);
}

TEST(LeftoversCommand, SizesThemWithHiddenItemsAndListsTheLargestFirst) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.alpha.Small/a", 4_KiB).file("~/Library/Caches/com.omega.Large/.hidden/a", 400_KiB);
  EXPECT_THAT(leftoverNames(volume), ElementsAre("com.alpha.Small", "com.omega.Large"));
  const nlohmann::json found = document(runOn(volume, {"leftovers", "--size", "--json"}))["leftovers"];
  EXPECT_THAT(namesIn(found), ElementsAre("com.omega.Large", "com.alpha.Small"));
  EXPECT_EQ(found[0]["size"]["logicalBytes"], 400_KiB);
  EXPECT_THAT(runOn(volume, {"leftovers"}).out, Not(HasSubstr("KB")));
}

TEST(LeftoversCommand, SaysWhichSpaceNamesOutsideTheListHold) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.gone.Editor/a", 40_KiB).file("~/Library/Caches/com.gone.Editor/b", 8_KiB);
  volume.hardLink("~/Documents/kept", "~/Library/Caches/com.gone.Editor/a");
  const std::string text = runOn(volume, {"leftovers", "--size"}).out;
  EXPECT_THAT(text, HasSubstr("\nTogether: 49 KB on disk.\n41 KB in 1 file with further names elsewhere: the space is "
                              "free when all names are gone.\n"));
  const nlohmann::json together = document(runOn(volume, {"leftovers", "--size", "--json"}))["together"];
  EXPECT_EQ(together["size"]["logicalBytes"], 48_KiB);
  EXPECT_EQ(together["heldFiles"], 1);
  EXPECT_EQ(together["heldBytes"], 40_KiB);
  EXPECT_THAT(runOn(volume, {"leftovers"}).out, Not(HasSubstr("Together")));
}

TEST(LeftoversCommand, ANameInAnotherListedLeftoverHoldsNothing) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.gone.Editor/a", 40_KiB);
  volume.folder("~/Library/Caches/org.gone.Other");
  volume.hardLink("~/Library/Caches/org.gone.Other/a", "~/Library/Caches/com.gone.Editor/a");
  EXPECT_THAT(
      runOn(volume, {"leftovers", "--size"}).out,
      HasSubstr("\nTogether: 41 KB on disk.\n1 file found under several names (hard links) and counted once.\n"));
  EXPECT_THAT(runOn(volume, {"leftovers", "--size", "--limit", "1"}).out, HasSubstr("41 KB in 1 file with further"));
}

TEST(LeftoversCommand, OfAScanSaysNothingOfOtherNames) {
  MacVolume volume;
  MacVolume folder;
  const std::string scan = folder.root() + "/s.quarn";
  volume.file("~/Library/Caches/com.gone.Editor/.hidden", 40_KiB);
  volume.hardLink("~/Documents/kept", "~/Library/Caches/com.gone.Editor/.hidden");
  ASSERT_EQ(runOn(volume, {"scan", "-o", scan}).exitCode, 0);
  const CommandRun run = runQuarn({"leftovers", "--size", "--json", "--scan", scan});
  const nlohmann::json together = document(run)["together"];
  EXPECT_EQ(together["size"]["logicalBytes"], 40_KiB);
  EXPECT_FALSE(together.contains("heldFiles"));
}

TEST(LeftoversCommand, ByAgeItLeavesOutAppsWithARecentChangeAnywhere) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.old.App/a").file("~/Library/Caches/com.recent.App/deep/a");
  volume.modified("~/Library/Caches/com.old.App/a", daysAgo(100)).modified("~/Library/Caches/com.old.App", daysAgo(91));
  volume.modified("~/Library/Caches/com.recent.App/deep", daysAgo(100))
      .modified("~/Library/Caches/com.recent.App/deep/a", daysAgo(89))
      .modified("~/Library/Caches/com.recent.App", daysAgo(100));
  EXPECT_THAT(leftoverNames(volume, {"--older-than", "90d"}), ElementsAre("com.old.App"));
  EXPECT_THAT(leftoverNames(volume, {"--older-than", "12w"}), ElementsAre("com.old.App", "com.recent.App"));
  EXPECT_THAT(leftoverNames(volume, {"--older-than", "3m"}), ElementsAre("com.old.App"));
  EXPECT_THAT(leftoverNames(volume, {"--older-than", "1y"}), IsEmpty());
}

TEST(LeftoversCommand, RefusesAnAgeWithoutAUnit) {
  MacVolume volume;
  for (const char* age : {"90", "d", "", "-3d", "1h", "9999999999d", "1.5y"}) {
    const CommandRun run = runOn(volume, {"leftovers", "--older-than", age});
    EXPECT_EQ(run.exitCode, 2) << age;
    EXPECT_THAT(run.err, HasSubstr("--older-than")) << age;
  }
}

TEST(LeftoversCommand, SearchesTheHomesOfAllUsersOnlyWhenAsked) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.gone.Editor")
      .folder("/Users/bob/Library/Preferences/com.gone.Editor")
      .folder("/Users/bob/Library/Caches/org.bobs.Player")
      .folder("/Library/Application Support/net.system.Tool")
      .folder("/Library/Caches/net.system.Tool");
  EXPECT_THAT(leftoverNames(volume), ElementsAre("com.gone.Editor", "net.system.Tool"));
  const nlohmann::json all = document(runOn(volume, {"leftovers", "--all-users", "--json"}))["leftovers"];
  EXPECT_THAT(namesIn(all), ElementsAre("com.gone.Editor", "net.system.Tool", "org.bobs.Player"));
  EXPECT_THAT(urlsIn(all[0]["items"]), ElementsAre("file:///Users/ann/Library/Caches/com.gone.Editor/",
                                                   "file:///Users/bob/Library/Preferences/com.gone.Editor/"));
}

TEST(LeftoversCommand, AnAppInAnotherUsersHomeIsInstalled) {
  MacVolume volume;
  volume.app("/Users/bob/Applications/Bobs.app", {.bundleIdentifier = "org.bobs.Player"})
      .folder("/Users/bob/Library/Caches/org.bobs.Player")
      .folder("/Library/Caches/org.bobs.Player");
  EXPECT_THAT(leftoverNames(volume, {"--all-users"}), IsEmpty());
}

// ---- inspect and plan

TEST(InspectCommandOwners, ShowsWhatTheWholeVolumeAdds) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"})
      .app("/Applications/Notes Plus.app", {.bundleIdentifier = "com.example.notes.plus"})
      .file("~/Library/Caches/com.example.notes.plus/a", 4_KiB)
      .folder("~/.config/notes");
  const CommandRun run = runOn(volume, {"inspect", "com.example.notes"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out,
              HasSubstr("\nAlso this app's\n    ~/.config/notes\n        Notes (0.72): Named like the app.\n"));
  EXPECT_THAT(run.out, HasSubstr("\nFits another app better\n    ~/Library/Caches/com.example.notes.plus\n"
                                 "        Notes Plus (0.92): Named by the app's bundle identifier.\n"));
  const CommandRun alone = runOn(volume, {"inspect", "com.example.notes", "--no-owners"});
  EXPECT_THAT(alone.out, Not(HasSubstr("Also this app's")));
  const nlohmann::json json = document(runOn(volume, {"inspect", "com.example.notes", "--json"}));
  EXPECT_THAT(urlsIn(json["ownership"]["alsoOwned"]), ElementsAre("file:///Users/ann/.config/notes/"));
  EXPECT_THAT(urlsIn(json["ownership"]["fitsBetter"]),
              ElementsAre("file:///Users/ann/Library/Caches/com.example.notes.plus/"));
}

TEST(InspectCommandOwners, NamesTheAppsThatShareAFind) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"})
      .app("/Applications/Copy/Notes.app", {.bundleIdentifier = "com.example.notes"})
      .folder("~/Library/Caches/com.example.notes");
  const CommandRun run = runOn(volume, {"inspect", "/Applications/Notes.app"});
  EXPECT_THAT(run.out, HasSubstr("\nShared with other apps\n    ~/Library/Caches/com.example.notes\n"
                                 "        Notes, Notes (0.92)"));
}

TEST(PlanCommandWholeVolume, OfTheWholeVolumeSparesWhatOtherAppsOwn) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"})
      .app("/Applications/Notes Plus.app", {.bundleIdentifier = "com.example.notes.plus"})
      .file("~/Library/Caches/com.example.notes/a", 4_KiB)
      .file("~/Library/Caches/com.example.notes.plus/a", 4_KiB);
  const CommandRun plain = runOn(volume, {"plan", "com.example.notes", "--mode", "cacheOnly"});
  EXPECT_THAT(plain.out, HasSubstr("~/Library/Caches/com.example.notes\n"));
  const CommandRun run = runOn(volume, {"plan", "com.example.notes", "--mode", "cacheOnly", "--whole-volume"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.out, HasSubstr("~/Library/Caches/com.example.notes\n"));
  EXPECT_THAT(run.out, Not(HasSubstr("com.example.notes.plus")));
}

TEST(PlanCommandWholeVolume, OfTheWholeVolumeAddsWhatStrongEvidenceGivesTheApp) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"}).file("~/.cache/notes/a", 4_KiB);
  EXPECT_THAT(runOn(volume, {"plan", "Notes", "--mode", "cacheOnly"}).out, Not(HasSubstr("~/.cache/notes")));
  const CommandRun run = runOn(volume, {"plan", "Notes", "--mode", "cacheOnly", "--whole-volume"});
  EXPECT_THAT(run.out, HasSubstr("~/.cache/notes\n"));
  EXPECT_EQ(runOn(volume, {"plan", "Notes", "--whole-volume", "--select", "x"}).exitCode, 2);
}

// ---- report

TEST(OwnershipInReports, TheReportsShowLeftoversAndSharedItems) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"})
      .app("/Applications/Copy/Notes.app", {.bundleIdentifier = "com.example.notes"})
      .folder("~/Library/Caches/com.example.notes")
      .file("~/Library/Caches/com.gone.Editor/a", 4_KiB);
  const std::string page = runOn(volume, {"report", "-o", "-"}).out;
  EXPECT_THAT(page, HasSubstr("<tr id=\"leftover-1\"><th scope=\"row\"><bdi>com.gone.Editor</bdi></th><td class=\"n\">"
                              "4 KB</td>"));
  EXPECT_THAT(page, HasSubstr("<bdi>~/Library/Caches/com.gone.Editor</bdi>"));
  const std::string ofApp = runOn(volume, {"report", "/Applications/Notes.app", "-o", "-"}).out;
  EXPECT_THAT(ofApp, HasSubstr("Shared with other apps"));
  EXPECT_THAT(ofApp, HasSubstr("<bdi>Notes</bdi>, <bdi>Notes</bdi>"));
}

}  // namespace
}  // namespace quarn::ownership_command_tests

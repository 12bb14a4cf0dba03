#include <gmock/gmock.h>

#include "QuarnCore/vendors/FolderNames.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::folder_names_tests {
namespace {

TEST(FolderNames, ExcludeWhatIsNotInTheFolderWhateverTheCase) {
  MacVolume volume;
  volume.file("/f/Slack").folder("/f/.npm").link("/f/gone", "/nowhere");
  const auto names = FolderNames::read(FileURL("/f"), volume.files());
  ASSERT_TRUE(names);
  for (const char* name : {"Slack", "slack", "SLACK", ".npm", "gone"}) EXPECT_FALSE(names->excludes(name)) << name;
  for (const char* name : {"Slac", "Slack2", "npm", ""}) EXPECT_TRUE(names->excludes(name)) << name;
}

TEST(FolderNames, NamesBeyondASCIIAreNotJudged) {
  MacVolume volume;
  volume.file("/f/a").file("/g/a").file("/g/\xE2\x84\xAA");
  const auto names = FolderNames::read(FileURL("/f"), volume.files());
  ASSERT_TRUE(names);
  EXPECT_FALSE(names->excludes("\xC3\xA9"));
  EXPECT_FALSE(FolderNames::read(FileURL("/g"), volume.files())) << "the sign for kelvin may be a k";
}

TEST(FolderNames, AnEmptyFolderExcludesAllAndALinkIsFollowed) {
  MacVolume volume;
  volume.folder("/empty").file("/real/a").link("/linked", "/real");
  const auto empty = FolderNames::read(FileURL("/empty"), volume.files());
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->excludes("a"));
  const auto linked = FolderNames::read(FileURL("/linked"), volume.files());
  ASSERT_TRUE(linked);
  EXPECT_FALSE(linked->excludes("a"));
  EXPECT_TRUE(linked->excludes("b"));
}

TEST(FolderNames, AFolderThatCannotBeReadDecidesNothing) {
  MacVolume volume;
  volume.file("/closed/a").file("/file").mode("/closed", 0100);
  {
    const UnprivilegedUser user;
    EXPECT_FALSE(FolderNames::read(FileURL("/closed"), volume.files()));
  }
  volume.mode("/closed", 0755);
  EXPECT_FALSE(FolderNames::read(FileURL("/file"), volume.files()));
  EXPECT_FALSE(FolderNames::read(FileURL("/missing"), volume.files()));
}

TEST(FolderNames, AFolderWithTooManyNamesDecidesNothing) {
  constexpr int kMost = 4096;
  MacVolume volume;
  for (int i = 0; i < kMost; ++i) volume.file("/f/" + std::to_string(i));
  EXPECT_TRUE(FolderNames::read(FileURL("/f"), volume.files()));
  volume.file("/f/more");
  EXPECT_FALSE(FolderNames::read(FileURL("/f"), volume.files()));
}

}  // namespace
}  // namespace quarn::folder_names_tests

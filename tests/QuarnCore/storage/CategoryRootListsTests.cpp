#include <gmock/gmock.h>

#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn::category_root_lists_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using Category = StorageCategoryID;
using Paths = std::vector<std::string>;

// The fixed roots, existing or not. Written independently of the code, because no other test would detect an error.

const Paths kApps{"/Applications", "/System/Applications", "/System/Library/CoreServices/Applications",
                  "~/Applications"};

const Paths kDocuments{"~/Desktop",
                       "~/Documents",
                       "~/Downloads",
                       "~/Public",
                       "~/Library/Mobile Documents/com~apple~CloudDocs/Downloads",
                       "~/Library/Mobile Documents/com~apple~CloudDocs/Documents",
                       "~/Library/Mobile Documents/com~apple~CloudDocs/Desktop",
                       "~/Library/Mobile Documents/com~apple~CloudDocs"};

const Paths kPhotos{"~/Pictures", "~/Movies", "~/Music", "/Library/Application Support/GarageBand",
                    "/Library/Application Support/Logic"};

const Paths kCommunication{"~/Library/Mail",
                           "~/Library/Messages",
                           "~/Library/Application Support/Slack",
                           "~/Library/Application Support/Microsoft/Teams",
                           "~/Library/Application Support/WhatsApp",
                           "~/Library/Application Support/Signal",
                           "~/Library/Application Support/Telegram Desktop",
                           "~/Library/Application Support/Thunderbird",
                           "~/Library/Application Support/Discord",
                           "~/Library/Thunderbird",
                           "~/Library/Containers/com.apple.mail",
                           "~/Library/Containers/com.apple.iChat",
                           "~/Library/Containers/com.tinyspeck.slackmacgap",
                           "~/Library/Containers/com.microsoft.teams",
                           "~/Library/Containers/com.whatsapp.WhatsApp",
                           "~/Library/Containers/WhatsApp",
                           "~/Library/Containers/org.whispersystems.Signal",
                           "~/Library/Containers/ru.keepcoder.Telegram",
                           "~/Library/Containers/org.mozilla.thunderbird",
                           "~/Library/Group Containers/group.com.apple.mail",
                           "~/Library/Group Containers/group.com.apple.messages",
                           "~/Library/Group Containers/group.com.microsoft.teams",
                           "~/Library/Group Containers/group.com.tinyspeck.slackmacgap"};

const Paths kDevelopment{"~/Library/Developer",
                         "~/Library/Application Support/Code",
                         "~/Library/Application Support/Code - Insiders",
                         "~/Library/Application Support/JetBrains",
                         "~/Library/Caches/JetBrains",
                         "~/Library/Application Support/Google/AndroidStudio",
                         "~/Library/Caches/Google/AndroidStudio",
                         "~/.vscode/extensions",
                         "~/.vscode-insiders/extensions",
                         "~/.gradle",
                         "~/.m2",
                         "~/.android",
                         "~/.npm",
                         "~/.cargo",
                         "~/.rustup",
                         "~/.pub-cache",
                         "~/.composer",
                         "~/.cocoapods",
                         "~/Library/Caches/org.swift.swiftpm",
                         "~/Library/Caches/CocoaPods",
                         "~/Library/Caches/Homebrew",
                         "~/Library/Caches/org.carthage.CarthageKit",
                         "~/Library/Caches/org.carthage.Carthage",
                         "~/Library/Application Support/Carthage",
                         "~/Library/Containers/com.docker.docker",
                         "~/Library/Application Support/Docker Desktop",
                         "/Library/Developer",
                         "/usr/local",
                         "/opt/homebrew"};

const Paths kSystemData{"~/.Trash", "~/Library", "/Library", "/System", "/private/var", "/usr", "/Users/Shared"};

TEST(CategoryRootLists, EachCategoryHasItsFixedRootsOnAnEmptyVolume) {
  const DashboardVolume volume;
  EXPECT_THAT(volume.roots(Category::apps), ElementsAreArray(kApps));
  EXPECT_THAT(volume.roots(Category::documents), ElementsAreArray(kDocuments));
  EXPECT_THAT(volume.roots(Category::photos), ElementsAreArray(kPhotos));
  EXPECT_THAT(volume.roots(Category::communication), ElementsAreArray(kCommunication));
  EXPECT_THAT(volume.roots(Category::games), ElementsAre("~/Games"));
  EXPECT_THAT(volume.roots(Category::development), ElementsAreArray(kDevelopment));
  EXPECT_EQ(kDevelopment.size(), 29u);
  EXPECT_THAT(volume.roots(Category::systemData), ElementsAreArray(kSystemData));
  EXPECT_THAT(volume.roots(Category::other), IsEmpty());
}

TEST(CategoryRootLists, FreeSpaceHasNoRoots) {
  DashboardVolume volume;
  volume.folder("~/a").folder("~/.b");
  EXPECT_THAT(volume.roots(Category::free, true), IsEmpty());
  EXPECT_THAT(volume.roots(Category::free, false), IsEmpty());
}

TEST(CategoryRootLists, FixedRootsAreKnownToBeFolders) {
  const DashboardVolume volume;
  for (const Category category : {Category::apps, Category::documents, Category::photos, Category::communication,
                                  Category::games, Category::development, Category::systemData}) {
    for (const FileURL& url : volume.dashboard().categoryRoots(category, true)) {
      EXPECT_TRUE(url.hasDirectoryPath()) << url.path();
    }
  }
}

TEST(CategoryRootLists, RootsAreInTheHomeFolder) {
  DashboardVolume volume("/Users/bob");
  volume.folder("/Users/ann/stuff");
  const auto urls = volume.dashboard().categoryRoots(Category::photos, false);
  EXPECT_EQ(urls[0].path(), "/Users/bob/Pictures");
  EXPECT_THAT(volume.roots(Category::systemData), testing::Contains("/Users/ann"));
}

TEST(CategoryRootLists, ExclusionsOfSystemDataAreTheRootsOfOthersInOrder) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.file("/Users/Shared/Found/marker").folder("~/Extra");
  volume.vendor("slack", {"~/Extra"});
  Paths expected = kCommunication;
  expected.push_back("~/Extra");
  expected.insert(expected.end(), kDevelopment.begin(), kDevelopment.end());
  expected.insert(expected.end(), kPhotos.begin(), kPhotos.end());
  expected.insert(expected.end(), {"~/Games", "/Users/Shared/Found"});
  expected.insert(expected.end(), {"~/Library/CloudStorage", "~/Library/Mobile Documents/com~apple~CloudDocs",
                                   "/System/Applications", "/System/Library/CoreServices/Applications", "/usr/local"});
  EXPECT_THAT(volume.shortened(volume.dashboard().categoryExclusions(Category::systemData)),
              ElementsAreArray(expected));
}

TEST(CategoryRootLists, NoOtherCategoryHasExclusions) {
  DashboardVolume volume;
  volume.folder("~/a");
  for (const Category category : allCases<Category>()) {
    if (category == Category::systemData) continue;
    EXPECT_THAT(volume.dashboard().categoryExclusions(category), IsEmpty()) << rawValue(category);
  }
}

TEST(TopItemRoots, OfSystemDataExcludeTheTrash) {
  DashboardVolume volume;
  volume.folder("~/.Trash").folder("/Users/bob");
  EXPECT_THAT(volume.shortened(volume.dashboard().topItemRoots(Category::systemData, false)),
              ElementsAre("~/Library", "/Library", "/System", "/private/var", "/usr", "/Users/Shared", "/Users/bob"));
}

TEST(TopItemRoots, OfOtherCategoriesAreTheCategorysRoots) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.file("/Users/Shared/Found/marker").folder("~/.hidden").folder("~/seen").folder("~/Library/CloudStorage/Box");
  volume.vendor("slack", {"~/seen"});
  for (const Category category : allCases<Category>()) {
    if (category == Category::systemData) continue;
    for (const bool includeDiscovered : {false, true}) {
      EXPECT_EQ(volume.dashboard().topItemRoots(category, includeDiscovered),
                volume.dashboard().categoryRoots(category, includeDiscovered))
          << rawValue(category);
    }
  }
}

}  // namespace
}  // namespace quarn::category_root_lists_tests

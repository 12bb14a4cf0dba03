#include <cerrno>

#include <gmock/gmock.h>

#include "QuarnPlatform/files/FileManager.h"
#include "tests/support/FileErrors.h"
#include "tests/support/MacVolume.h"

namespace quarn::file_manager_escapes_tests {
namespace {

using ::testing::IsEmpty;

// Staying inside the volume.

class FileManagerEscapes : public ::testing::Test {
 protected:
  FileManagerEscapes() {
    outside_.text("/secret/file", "of the host");
    // More ".." than any path in the volume needs to reach the host's root.
    std::string up;
    for (int i = 0; i < 40; ++i) up += "../";
    secret_ = outside_.root() + "/secret";
    volume_.link("~/absolute", secret_)
        .link("~/relative", up + secret_.substr(1))
        .link("~/absoluteFile", secret_ + "/file")
        .link("~/chained", "/Users/ann/absolute/file")
        .link("~/hosts", "/etc/hosts")
        .link("~/process", "/proc/self/root")
        .text("/inside", "of the volume");
    up_ = "/" + up;
  }

  MacVolume outside_;
  MacVolume volume_;
  std::string secret_;
  std::string up_;
};

TEST_F(FileManagerEscapes, NoPathAndNoLinkReachesTheHost) {
  const FileManager files = volume_.files();
  const std::vector<std::string> paths{"/Users/ann/absolute",
                                       "/Users/ann/relative",
                                       "/Users/ann/absolute/file",
                                       "/Users/ann/relative/file",
                                       "/Users/ann/absoluteFile",
                                       "/Users/ann/chained",
                                       "/Users/ann/hosts",
                                       "/Users/ann/process",
                                       "/Users/ann/process/etc",
                                       secret_ + "/file",
                                       up_ + secret_.substr(1) + "/file",
                                       "/etc/hosts"};
  for (const std::string& path : paths) {
    const FileURL url(path);
    EXPECT_FALSE(files.itemExists(url)) << path;
    EXPECT_FALSE(files.facts(url, Links::follow)) << path;
    EXPECT_FALSE(files.readFileIfPossible(url, 1'000)) << path;
    EXPECT_THAT(files.contentsOrNone(url, HiddenItems::include), IsEmpty()) << path;
  }
}

TEST_F(FileManagerEscapes, TheParentOfTheVolumesRootIsTheRoot) {
  const FileManager files = volume_.files();
  EXPECT_EQ(files.readFile(FileURL("/../inside"), 100), "of the volume");
  EXPECT_EQ(files.readFile(FileURL(up_ + "inside"), 100), "of the volume");
  EXPECT_EQ(files.readFile(FileURL("/Users/ann/../../../../inside"), 100), "of the volume");
  EXPECT_EQ(files.contentsOfDirectory(FileURL("/../.."), HiddenItems::include).size(), 2U);
}

TEST_F(FileManagerEscapes, TargetsOfLinksAreLookedUpInTheVolume) {
  volume_.text("/etc/hosts", "of the volume").text(secret_ + "/file", "of the volume");
  const FileManager files = volume_.files();
  for (const char* path : {"~/hosts", "~/absolute/file", "~/relative/file", "~/chained"}) {
    EXPECT_EQ(files.readFileIfPossible(volume_.url(path), 1'000), "of the volume") << path;
  }
  EXPECT_EQ(files.resolvedPath(volume_.url("~/hosts")), "/etc/hosts");
  EXPECT_EQ(files.resolvedPath(volume_.url("~/relative")), secret_);
}

// Paths longer than PATH_MAX.

class FileManagerLongPaths : public ::testing::Test {
 protected:
  FileManagerLongPaths() {
    for (int level = 0; level < 40; ++level) deep_ += "/" + std::string(200, 'n') + std::to_string(level % 10);
    volume_.text(deep_ + "/leaf", "deep")
        .link(deep_ + "/link", "leaf")
        .link(deep_ + "/here", ".")
        .link(deep_ + "/up", "..");
    volume_.link(deep_ + "/hosts", "/etc/hosts").fifo(deep_ + "/pipe").executable(deep_ + "/tool");
  }

  MacVolume volume_;
  std::string deep_ = "/Users/ann";
};

TEST_F(FileManagerLongPaths, AreSupportedBeyondPathMax) { EXPECT_GT(deep_.size(), 8'000U); }

TEST_F(FileManagerLongPaths, ItemsAreFoundReadAndListed) {
  const FileManager files = volume_.files();
  EXPECT_EQ(files.readFile(FileURL(deep_ + "/leaf"), 100), "deep");
  EXPECT_TRUE(files.isDirectory(FileURL(deep_)));
  EXPECT_TRUE(files.isExecutableFile(FileURL(deep_ + "/tool")));
  EXPECT_FALSE(files.itemExists(FileURL(deep_ + "/missing")));
  EXPECT_EQ(files.contentsOfDirectory(FileURL(deep_), HiddenItems::include).size(), 7U);
  EXPECT_EQ(errorOf([&] { (void)files.openFile(FileURL(deep_ + "/pipe")); }), EINVAL);
  EXPECT_EQ(errorOf([&] { (void)files.contentsOfDirectory(FileURL(deep_ + "/leaf"), HiddenItems::include); }), ENOTDIR);
  EXPECT_EQ(errorOf([&] { (void)files.openFile(FileURL(deep_ + "/leaf/x")); }), ENOTDIR);
  EXPECT_EQ(errorOf([&] { (void)files.openFile(FileURL(deep_ + "/missing")); }), ENOENT);
}

TEST_F(FileManagerLongPaths, LinksAtTheEndAreFollowedOnlyOnRequest) {
  const FileManager files = volume_.files();
  EXPECT_EQ(files.readFile(FileURL(deep_ + "/link"), 100), "deep");
  EXPECT_EQ(files.requireFacts(FileURL(deep_ + "/link"), Links::doNotFollow).type, FileType::symbolicLink);
  EXPECT_EQ(errorOf([&] { (void)files.openDirectory(FileURL(deep_ + "/here"), Links::doNotFollow); }), ELOOP);
}

TEST_F(FileManagerLongPaths, DotsAndLinksToFoldersLeadWhereTheyShould) {
  const FileManager files = volume_.files();
  EXPECT_EQ(files.readFile(FileURL(deep_ + "/here/leaf"), 100), "deep");
  EXPECT_EQ(files.readFile(FileURL(deep_ + "/up/" + std::string(200, 'n') + "9/leaf"), 100), "deep");
  EXPECT_EQ(files.contentsOfDirectory(FileURL(deep_ + "/here"), HiddenItems::include).size(), 7U);
  EXPECT_EQ(files.contentsOfDirectory(FileURL(deep_ + "/up"), HiddenItems::include).size(), 1U);
  EXPECT_EQ(files.contentsOfDirectory(FileURL(deep_ + "/."), HiddenItems::include).size(), 7U);
  EXPECT_EQ(files.contentsOfDirectory(FileURL(deep_ + "/.."), HiddenItems::include).size(), 1U);
  EXPECT_EQ(files.resolvedPath(FileURL(deep_ + "/here")), deep_);
  EXPECT_EQ(files.resolvedPath(FileURL(deep_ + "/link")), deep_ + "/leaf");
}

TEST_F(FileManagerLongPaths, AWalkUpAndDownOverAndOverAgainEndsSoon) {
  std::string path = deep_;
  for (int i = 0; i < 20'000; ++i) path += "/here/./up/" + std::string(200, 'n') + "9";
  EXPECT_EQ(errorOf([&] { (void)volume_.files().contentsOfDirectory(FileURL(path), HiddenItems::include); }), ELOOP);
  path = deep_;
  for (int i = 0; i < 2'000; ++i) path += "/../" + std::string(200, 'n') + "9";
  EXPECT_EQ(volume_.files().contentsOfDirectory(FileURL(path), HiddenItems::include).size(), 7U);
}

TEST_F(FileManagerLongPaths, AFileInTheMiddleOfAPathIsAnError) {
  volume_.link(deep_ + "/slash", "leaf/").link(deep_ + "/dot", "leaf/.");
  for (const char* end : {"/leaf/.", "/leaf/..", "/leaf/x", "/link/.", "/slash", "/dot"}) {
    EXPECT_FALSE(volume_.files().itemExists(FileURL(deep_ + end))) << end;
  }
}

TEST_F(FileManagerLongPaths, TheyLeadOutOfTheVolumeNeither) {
  const FileManager files = volume_.files();
  EXPECT_FALSE(files.itemExists(FileURL(deep_ + "/hosts")));
  std::string up = deep_;
  for (int level = 0; level < 50; ++level) up += "/..";
  EXPECT_FALSE(files.itemExists(FileURL(up + "/etc/hosts")));
  const std::vector<DirectoryEntry> entries = files.contentsOfDirectory(FileURL(up), HiddenItems::include);
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries.front().url.string(), FileURL(up + "/Users/").string());
}

}  // namespace
}  // namespace quarn::file_manager_escapes_tests

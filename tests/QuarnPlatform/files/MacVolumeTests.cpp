#include <filesystem>
#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/MacVolume.h"

namespace quarn::mac_volume_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

struct stat statusOf(const std::string& hostPath) {
  struct stat status {};
  EXPECT_EQ(::lstat(hostPath.c_str(), &status), 0) << hostPath;
  return status;
}

std::string contentOf(const std::string& hostPath) {
  std::ifstream file(hostPath, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(MacVolume, ContainsOnlyTheHomeFolderAtFirst) {
  const MacVolume volume;
  EXPECT_EQ(volume.home(), "/Users/ann");
  EXPECT_TRUE(std::filesystem::is_directory(volume.root() + "/Users/ann"));
  EXPECT_TRUE(std::filesystem::is_empty(volume.root() + "/Users/ann"));
  EXPECT_EQ(statusOf(volume.root()).st_mode & 07777, 0755U);
}

TEST(MacVolume, AnotherHomeCanBeSelected) {
  MacVolume volume("/Users/bob");
  volume.file("~/a");
  EXPECT_TRUE(std::filesystem::exists(volume.root() + "/Users/bob/a"));
  EXPECT_EQ(volume.files().homeDirectory().path(), "/Users/bob");
}

TEST(MacVolume, ATildeIsTheHomeOnlyAsTheFirstName) {
  const MacVolume volume;
  EXPECT_EQ(volume.path("~"), "/Users/ann");
  EXPECT_EQ(volume.path("~/Library"), "/Users/ann/Library");
  EXPECT_EQ(volume.path("/a/~/b"), "/a/~/b");
  EXPECT_EQ(volume.path("~bob"), "~bob");
  EXPECT_EQ(volume.host("~/Library"), volume.root() + "/Users/ann/Library");
  EXPECT_EQ(volume.url("~/Library/").string(), "file:///Users/ann/Library/");
  EXPECT_EQ(volume.url("~/Library").string(), "file:///Users/ann/Library");
}

TEST(MacVolume, RemovesEverythingAtTheEnd) {
  std::string root;
  {
    MacVolume volume;
    root = volume.root();
    volume.file("~/locked/inner/file", 1_KiB)
        .mode("~/locked/inner", 0000)
        .mode("~/locked", 0000)
        .chain("~/deep", 1'100, "a-name-of-some-length")
        .fifo("~/pipe")
        .socket("~/socket")
        .link("~/loop", "loop")
        .link("~/outside", "/etc/hosts")
        .text("~/\xFF\x1B[31m", "");
  }
  EXPECT_FALSE(std::filesystem::exists(root));
  EXPECT_TRUE(std::filesystem::exists("/etc/hosts"));
}

TEST(MacVolume, AFileHasItsBytesAndASparseFileOnlyItsLength) {
  MacVolume volume;
  volume.file("~/a", 200_KiB).file("~/empty").sparse("~/sparse", 5_MiB).text("~/text", std::string_view("a\0b", 3));
  EXPECT_EQ(statusOf(volume.host("~/a")).st_size, 200 * 1024);
  EXPECT_GE(statusOf(volume.host("~/a")).st_blocks * 512, 200 * 1024);
  EXPECT_EQ(statusOf(volume.host("~/empty")).st_size, 0);
  EXPECT_EQ(statusOf(volume.host("~/sparse")).st_size, 5 * 1024 * 1024);
  EXPECT_EQ(statusOf(volume.host("~/sparse")).st_blocks, 0);
  EXPECT_EQ(contentOf(volume.host("~/text")), std::string("a\0b", 3));
}

TEST(MacVolume, AFileMadeAgainIsReplaced) {
  MacVolume volume;
  volume.text("~/a", "long content").text("~/a", "short");
  EXPECT_EQ(contentOf(volume.host("~/a")), "short");
}

TEST(MacVolume, AnAppIsARealBundle) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App", .name = "Ex & Co", .version = "1.2"});
  const std::string contents = volume.host("/Applications/Example.app/Contents");
  EXPECT_THAT(contentOf(contents + "/Info.plist"), StartsWith("<?xml"));
  EXPECT_THAT(contentOf(contents + "/Info.plist"),
              HasSubstr("<key>CFBundleIdentifier</key>\n\t<string>com.example.App<"));
  EXPECT_THAT(contentOf(contents + "/Info.plist"), HasSubstr("<string>Ex &amp; Co</string>"));
  EXPECT_THAT(contentOf(contents + "/Info.plist"), Not(HasSubstr("CFBundleDisplayName")));
  EXPECT_EQ(contentOf(contents + "/PkgInfo"), "APPL????");
  EXPECT_EQ(statusOf(contents + "/MacOS/Example").st_mode & 07777, 0755U);
}

TEST(MacVolume, AnAppCanNameItsExecutableAndBeWrittenInBinaryForm) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.executable = "run", .executableBytes = "x", .format = PlistFormat::binary});
  EXPECT_EQ(contentOf(volume.host("/Applications/Example.app/Contents/MacOS/run")), "x");
  EXPECT_THAT(contentOf(volume.host("/Applications/Example.app/Contents/Info.plist")), StartsWith("bplist00"));
}

TEST(MacVolume, AnAppWithoutInfoHasOnlyItsExecutable) {
  MacVolume volume;
  volume.appWithoutInfo("/Applications/Broken.app");
  EXPECT_FALSE(std::filesystem::exists(volume.host("/Applications/Broken.app/Contents/Info.plist")));
  EXPECT_TRUE(std::filesystem::exists(volume.host("/Applications/Broken.app/Contents/MacOS/Broken")));
}

TEST(MacVolume, LinksKeepTheirTargetsAsWritten) {
  MacVolume volume;
  volume.link("~/a", "/Library").link("~/b", "../x").link("~/c", "~/d");
  EXPECT_EQ(std::filesystem::read_symlink(volume.host("~/a")), "/Library");
  EXPECT_EQ(std::filesystem::read_symlink(volume.host("~/b")), "../x");
  EXPECT_EQ(std::filesystem::read_symlink(volume.host("~/c")), "~/d");
}

TEST(MacVolume, NothingIsWrittenThroughALinkOrAParentName) {
  MacVolume outside;
  MacVolume volume;
  volume.link("~/out", outside.root()).link("~/file", outside.root() + "/file");
  EXPECT_THROW(volume.file("~/out/a"), FileError);
  EXPECT_THROW(volume.text("~/file", "x"), FileError);
  EXPECT_THROW(volume.folder("~/../../../a"), FileError);
  EXPECT_THROW(volume.file("~/.."), FileError);
  EXPECT_FALSE(std::filesystem::exists(outside.root() + "/a"));
  EXPECT_FALSE(std::filesystem::exists(outside.root() + "/file"));
}

TEST(MacVolume, HardLinksAreTheSameFile) {
  MacVolume volume;
  volume.file("~/a", 1_KiB).hardLink("~/b/c", "~/a");
  EXPECT_EQ(statusOf(volume.host("~/a")).st_ino, statusOf(volume.host("~/b/c")).st_ino);
}

TEST(MacVolume, PipesAndSocketsHaveTheirTypes) {
  MacVolume volume;
  volume.fifo("~/pipe").socket("~/socket");
  EXPECT_TRUE(S_ISFIFO(statusOf(volume.host("~/pipe")).st_mode));
  EXPECT_TRUE(S_ISSOCK(statusOf(volume.host("~/socket")).st_mode));
}

TEST(MacVolume, ModesAndTimesAreSet) {
  MacVolume volume;
  volume.folder("~/a").modified("~/a", 1'000'000'000).mode("~/a", 0500);
  EXPECT_EQ(statusOf(volume.host("~/a")).st_mode & 07777, 0500U);
  EXPECT_EQ(statusOf(volume.host("~/a")).st_mtime, 1'000'000'000);
}

TEST(MacVolume, AChainHasTheGivenDepth) {
  MacVolume volume;
  volume.chain("~/deep", 3, "x");
  EXPECT_TRUE(std::filesystem::is_directory(volume.host("~/deep/x/x/x")));
  EXPECT_FALSE(std::filesystem::exists(volume.host("~/deep/x/x/x/x")));
}

TEST(MacVolume, RemovingDeletesATree) {
  MacVolume volume;
  volume.file("~/a/b/c", 1_KiB).mode("~/a/b", 0000).file("~/d").link("~/l", "a");
  volume.remove("~/l").remove("~/d").remove("~/a");
  EXPECT_TRUE(std::filesystem::is_empty(volume.host("~")));
  EXPECT_THROW(volume.remove("~/d"), FileError);
}

TEST(MacVolume, ByteLiteralsCountInPowersOfTwo) {
  EXPECT_EQ(3_B, 3);
  EXPECT_EQ(3_KiB, 3072);
  EXPECT_EQ(2_MiB, 2'097'152);
}

}  // namespace
}  // namespace quarn::mac_volume_tests

#include <limits>
#include <map>

#include <gtest/gtest.h>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/walking/ItemDepth.h"
#include "tests/support/MacVolume.h"

namespace quarn::item_depth_tests {
namespace {

// The depth of every item below a root, found by asking for each maximum.
std::map<std::string, long> depths(const MacVolume& volume, const std::string& root) {
  const FileManager files = volume.files();
  const ItemDepth depth(files, FileURL(root));
  DirectoryEnumerator items(files, FileURL(root), {});
  std::map<std::string, long> result;
  while (const DirectoryEnumerator::Item* item = items.next()) {
    long maximum = -5;
    while (depth.exceeds(maximum, *item)) ++maximum;
    EXPECT_FALSE(depth.exceeds(maximum + 1, *item));
    EXPECT_FALSE(depth.exceeds(std::numeric_limits<long>::max(), *item));
    EXPECT_TRUE(depth.exceeds(std::numeric_limits<long>::min(), *item));
    EXPECT_LE(item->level(), depth.deepestLevel(maximum));
    result[item->url().path()] = maximum;
  }
  return result;
}

// The difference of component counts, as it is meant.
std::map<std::string, long> plainDepths(const MacVolume& volume, const std::string& root) {
  const FileManager files = volume.files();
  const auto count = [&](const FileURL& url) {
    return static_cast<long>(path::components(files.standardizedPath(url)).size());
  };
  DirectoryEnumerator items(files, FileURL(root), {});
  std::map<std::string, long> result;
  while (const DirectoryEnumerator::Item* item = items.next()) {
    result[item->url().path()] = count(item->url()) - count(FileURL(root));
  }
  return result;
}

TEST(ItemDepth, IsTheLevelAlmostEverywhere) {
  MacVolume volume;
  volume.file("/a/b/c/d").file("/a/e");
  EXPECT_EQ(depths(volume, "/a"),
            (std::map<std::string, long>{{"/a/b", 1}, {"/a/b/c", 2}, {"/a/b/c/d", 3}, {"/a/e", 1}}));
}

TEST(ItemDepth, FollowsStandardisedPathsWhereTheyAreShortened) {
  MacVolume volume;
  volume.file("/private/etc/hosts").file("/private/lone/a").link("/etc", "private/etc");
  EXPECT_EQ(depths(volume, "/private"),
            (std::map<std::string, long>{
                {"/private/etc", 0}, {"/private/etc/hosts", 1}, {"/private/lone", 1}, {"/private/lone/a", 2}}));
}

TEST(ItemDepth, IsTheDifferenceOfComponentCountsForEveryRoot) {
  MacVolume volume;
  volume.file("/private/etc/hosts").link("/etc", "private/etc").file("/private/var/automount/home/x/y");
  volume.link("/var", "private/var")
      .folder("/home/x")
      .file("/private/home/x/y")
      .file("/a/b/c")
      .file("/private/Users/z");
  for (const char* root :
       {"/", "/private", "/private/etc", "/private/var", "/private/var/automount", "/private/var/automount/home",
        "/private/home", "/home", "/a", "/a/./b", "/a/../private", "//private", "/private/../a", "/var/automount"}) {
    EXPECT_EQ(depths(volume, root), plainDepths(volume, root)) << root;
  }
}

TEST(ItemDepth, LevelsToEnterStayInRange) {
  const MacVolume volume;
  const FileManager files = volume.files();
  const ItemDepth plain(files, FileURL("/a"));
  EXPECT_EQ(plain.deepestLevel(3), 3);
  EXPECT_EQ(plain.deepestLevel(-3), 0);
  EXPECT_GE(plain.deepestLevel(std::numeric_limits<long>::max()), 1 << 30);
  EXPECT_EQ(ItemDepth(files, FileURL("/")).deepestLevel(3), 6);
}

}  // namespace
}  // namespace quarn::item_depth_tests

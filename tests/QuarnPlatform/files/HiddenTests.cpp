#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/files/Hidden.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "tests/support/MacVolume.h"

namespace quarn::hidden_tests {
namespace {

using ::testing::UnorderedElementsAreArray;

TEST(Hidden, IsANameWithALeadingDotOrTheFlag) {
  EXPECT_TRUE(isHidden(".a"));
  EXPECT_TRUE(isHidden("."));
  EXPECT_FALSE(isHidden("a"));
  EXPECT_FALSE(isHidden("a.b"));
  EXPECT_FALSE(isHidden(""));
  EXPECT_TRUE(isHidden("a", HiddenFlag::set));
  EXPECT_TRUE(isHidden(".a", HiddenFlag::set));
}

TEST(Hidden, ListingsAndWalksFollowTheRule) {
  MacVolume volume;
  std::vector<std::string> visible;
  for (const std::string name : {".DS_Store", ".hidden", "..a", "a", "a.b", "_a", " .a", "~"}) {
    volume.file("/L/" + name);
    if (!isHidden(name)) visible.push_back(name);
  }
  std::vector<std::string> listed;
  for (const DirectoryEntry& entry : volume.files().contentsOfDirectory(FileURL("/L"), HiddenItems::skip)) {
    listed.emplace_back(entry.url.lastPathComponent());
  }
  EXPECT_THAT(listed, UnorderedElementsAreArray(visible));
  std::vector<std::string> walked;
  DirectoryEnumerator walk(volume.files(), FileURL("/L"), {.hidden = HiddenItems::skip});
  while (const auto* item = walk.next()) walked.emplace_back(item->url().lastPathComponent());
  EXPECT_THAT(walked, UnorderedElementsAreArray(visible));
}

}  // namespace
}  // namespace quarn::hidden_tests

#include <gtest/gtest.h>

#include "QuarnPlatform/walking/LinkedNames.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/support/MacVolume.h"

namespace quarn::linked_names_tests {
namespace {

TEST(LinkedNames, AWalkCollectsTheNamesOfFilesThatHaveSeveral) {
  MacVolume volume;
  volume.file("/a/one", 8_KiB).hardLink("/a/in/two", "/a/one").file("/a/alone", 4_KiB).hardLink("/b", "/a/one");
  LinkedNames linked;
  EXPECT_EQ(TreeSizer::total(volume.files(), volume.url("/a/"), {.linked = &linked}).allocatedBytes, 20_KiB);
  const std::vector<LinkedName> names = linked.take();
  ASSERT_EQ(names.size(), 2U);
  const ItemFacts facts = volume.files().requireFacts(volume.url("/b"), Links::doNotFollow);
  EXPECT_EQ(facts.links, 3U);
  for (const LinkedName& name : names) {
    EXPECT_EQ(name.device, facts.device);
    EXPECT_EQ(name.inode, facts.inode);
    EXPECT_EQ(name.links, 3U);
    EXPECT_EQ(name.sizes.allocatedBytes, 8_KiB);
  }
  EXPECT_TRUE(linked.isWhole());
}

TEST(LinkedNames, ItKeepsNoMoreThanItsLimitAndSaysSo) {
  LinkedNames linked(2);
  for (std::uint64_t inode = 1; inode <= 3; ++inode) linked.add({.device = 1, .inode = inode, .links = 2});
  EXPECT_FALSE(linked.isWhole());
  EXPECT_EQ(linked.take().size(), 2U);
}

TEST(LinkedNames, TheNamesOfAFileComeTogether) {
  std::vector<LinkedName> names;
  for (const auto& [device, inode] : {std::pair(1, 7), {2, 7}, {1, 5}, {1, 7}}) {
    names.push_back({.device = static_cast<std::uint64_t>(device), .inode = static_cast<std::uint64_t>(inode)});
  }
  std::vector<std::pair<std::uint64_t, std::size_t>> files;
  forEachLinkedFile(names, [&](std::span<const LinkedName> file) { files.emplace_back(file[0].inode, file.size()); });
  EXPECT_EQ(files, (std::vector<std::pair<std::uint64_t, std::size_t>>{{5, 1}, {7, 2}, {7, 1}}));
}

}  // namespace
}  // namespace quarn::linked_names_tests

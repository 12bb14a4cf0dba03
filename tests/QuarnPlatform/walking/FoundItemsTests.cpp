#include <chrono>
#include <string>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/EarlySizes.h"
#include "QuarnPlatform/walking/FoundItems.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn::found_items_tests {
namespace {

constexpr int kMany = 5000;

std::string numbered(int number) { return "file " + std::to_string(number); }

TEST(FoundItemsTests, EveryItemKeepsItsNumberNameAndType) {
  FoundItems items;
  std::size_t names = 0;
  for (int i = 0; i < kMany; ++i) {
    items.add(numbered(i), i % 3 == 0 ? FileType::directory : FileType::regular,
              {.isPackage = i % 6 == 0, .isHidden = i % 5 == 0});
    names += numbered(i).size() + 1;
  }
  ASSERT_EQ(items.size(), std::size_t{kMany});
  EXPECT_EQ(items.namesSize(), names);
  for (int i = 0; i < kMany; ++i) {
    const auto index = static_cast<std::size_t>(i);
    ASSERT_EQ(items.name(index), numbered(i));
    ASSERT_EQ(items.name(index).data()[items.name(index).size()], '\0');
    ASSERT_EQ(items.item(index).type(), i % 3 == 0 ? FileType::directory : FileType::regular);
    ASSERT_EQ(items.item(index).isPackage(), i % 6 == 0);
    ASSERT_EQ(items.item(index).isHidden(), i % 5 == 0);
    ASSERT_EQ(items.sizes(index), FoundItems::kNoSizes);
  }
}

TEST(FoundItemsTests, CanBeReusedAfterASmallAndAfterAHugeFolder) {
  FoundItems items;
  for (const int count : {1, 3, kMany, 2, 0, 1}) {
    items.clear();
    EXPECT_EQ(items.size(), 0U);
    EXPECT_EQ(items.namesSize(), 0U);
    for (int i = 0; i < count; ++i) items.add(numbered(i), FileType::regular, {});
    ASSERT_EQ(items.size(), static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < items.size(); ++i) ASSERT_EQ(items.name(i), numbered(static_cast<int>(i)));
  }
}

TEST(FoundItemsTests, AFullBlockDoesNotChangeWhenItemsAreAdded) {
  FoundItems items;
  while (items.fullBlocks() == 0) items.add(numbered(7), FileType::regular, {});
  const FoundItems::Block& block = items.fullBlock(0);
  const ListedItem* item = &block.items.front();
  const char* name = block.name(*item);
  for (int i = 0; i < kMany; ++i) items.add(numbered(i), FileType::regular, {});
  EXPECT_EQ(&items.fullBlock(0).items.front(), item);
  EXPECT_EQ(items.name(0).data(), name);
}

// --- Sizes that are read meanwhile -----------------------------------------------------------------------------------

class EarlySizesTests : public ::testing::Test {
 protected:
  [[nodiscard]] FileDescriptor open() const { return volume.files().openDirectory(FileURL("/t"), Links::doNotFollow); }

  /// `finish` may stop the thread anywhere. Repeats the reading, with more time each time, until it reaches `lastFile`.
  static void readUpTo(std::size_t lastFile, int descriptor, FoundItems& items) {
    for (auto time = std::chrono::milliseconds(1); items.sizes(lastFile) == FoundItems::kNoSizes; time *= 2) {
      EarlySizes early(descriptor);
      early.add(items);
      std::this_thread::sleep_for(time);
      early.finish();
    }
  }

  MacVolume volume = volumeInMemory();
};

TEST_F(EarlySizesTests, OnlyFilesHaveSizesAndEachItsOwn) {
  FoundItems items;
  for (int i = 0; items.fullBlocks() == 0; ++i) {
    switch (i % 4) {
      case 0: volume.sparse("/t/" + numbered(i), i + 1); break;
      case 1: volume.folder("/t/" + numbered(i)); break;
      case 2: volume.link("/t/" + numbered(i), numbered(0)); break;
      default: break;  // vanished since it was listed
    }
    const FileType type = i % 4 == 1 ? FileType::directory : i % 4 == 2 ? FileType::symbolicLink : FileType::regular;
    items.add(numbered(i), type, {});
  }
  items.add("behind", FileType::regular, {});
  const std::size_t lastOfBlock = items.fullBlock(0).items.size() - 1;
  readUpTo(lastOfBlock - lastOfBlock % 4, open().get(), items);
  for (std::size_t i = 0; i + 1 < items.size(); ++i) {
    const ByteCounts expected = i % 4 == 0
                                    ? ByteCounts{.allocatedBytes = 0, .logicalBytes = static_cast<std::int64_t>(i) + 1}
                                    : FoundItems::kNoSizes;
    ASSERT_EQ(items.sizes(i), expected) << i;
  }
  EXPECT_EQ(items.sizes(items.size() - 1), FoundItems::kNoSizes);
}

TEST_F(EarlySizesTests, EndsWithoutItems) {
  volume.folder("/t");
  const FileDescriptor folder = open();
  FoundItems items;
  EarlySizes early(folder.get());
  early.add(items);
  early.finish();
  early.finish();
  const EarlySizes unused(folder.get());
}

}  // namespace
}  // namespace quarn::found_items_tests

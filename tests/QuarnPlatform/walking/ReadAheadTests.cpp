#include <cerrno>
#include <set>

#include <gmock/gmock.h>

#include "QuarnPlatform/walking/ReadAhead.h"
#include "tests/QuarnPlatform/walking/ListedSizes.h"
#include "tests/support/Descriptors.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn::read_ahead_tests {
namespace {

using ::testing::ElementsAre;
using Pointer = ReadAhead::FolderPointer;

// Every rule holds whatever the number of helper threads.
class ReadingAhead : public ::testing::TestWithParam<unsigned> {
 protected:
  [[nodiscard]] ReadAhead readAhead(WalkOptions options = {}) const {
    options.readAheadThreads = GetParam();
    return ReadAhead(volume.files().openDirectory(FileURL("/t"), Links::doNotFollow), options);
  }

  static std::vector<std::string> names(const ReadAhead::Folder& folder) {
    std::vector<std::string> result;
    for (const FolderListing::Entry& entry : folder.listing.entries) result.emplace_back(folder.listing.name(entry));
    return result;
  }

  MacVolume volume = volumeInMemory();
};

TEST_P(ReadingAhead, ListsTheRootAndItsFoldersWithTheirLevels) {
  volume.file("/t/a").file("/t/b/x").file("/t/b/y").file("/t/c/z");
  ReadAhead ahead = readAhead();
  Pointer root = ahead.takeRoot();
  EXPECT_THAT(names(*root), ElementsAre("a", "b", "c"));
  EXPECT_EQ(root->level, 1);
  Pointer b = ahead.child(*root, 1);
  EXPECT_THAT(names(*b), ElementsAre("x", "y"));
  EXPECT_EQ(b->level, 2);
  ahead.leave(std::move(b));
  Pointer c = ahead.child(*root, 2);
  EXPECT_THAT(names(*c), ElementsAre("z"));
  ahead.leave(std::move(c));
  ahead.leave(std::move(root));
}

TEST_P(ReadingAhead, ASkippedFolderIsNotReturned) {
  volume.file("/t/a/x").file("/t/b/y/z").file("/t/c/w");
  ReadAhead ahead = readAhead();
  Pointer root = ahead.takeRoot();
  ahead.skip(*root, 0);
  ahead.skip(*root, 1);
  Pointer c = ahead.child(*root, 2);
  EXPECT_THAT(names(*c), ElementsAre("w"));
  ahead.leave(std::move(c));
  ahead.leave(std::move(root));
}

TEST_P(ReadingAhead, AFolderThatVanishedOrBecameAFileCarriesItsError) {
  volume.folder("/t/a").folder("/t/b").folder("/t/c");
  ReadAhead ahead = readAhead({.maximumLevel = 9});
  Pointer root = ahead.takeRoot();
  // The first may have been listed already; the read-ahead starts with the first request.
  volume.remove("/t/b").remove("/t/c").file("/t/c");
  Pointer a = ahead.child(*root, 0);
  EXPECT_EQ(a->listing.error, 0);
  Pointer b = ahead.child(*root, 1);
  Pointer c = ahead.child(*root, 2);
  EXPECT_EQ(b->listing.error, ENOENT);
  EXPECT_EQ(c->listing.error, ENOTDIR);
  for (Pointer* folder : {&a, &b, &c, &root}) ahead.leave(std::move(*folder));
}

TEST_P(ReadingAhead, SizesAreReadSegmentBySegmentOnDemand) {
  constexpr std::size_t kFiles = 1300;
  for (std::size_t i = 0; i < kFiles; ++i) volume.sparse("/t/" + std::to_string(10'000 + i), 1 + (i % 7));
  ReadAhead ahead = readAhead({.facts = EnumeratedFacts::sizes});
  Pointer root = ahead.takeRoot();
  ASSERT_EQ(root->listing.entries.size(), kFiles);
  std::vector<std::size_t> ends;
  for (std::size_t i = 0; i < kFiles; i = ends.back()) {
    ends.push_back(ahead.sizesUpTo(*root, i));
    for (std::size_t known = i; known < ends.back(); ++known) {
      EXPECT_EQ(root->listing.entries[known].sizes.logicalBytes, 1 + static_cast<std::int64_t>(known % 7));
    }
  }
  const std::vector<std::size_t> expected =
      sizesComeWithNames() ? std::vector<std::size_t>{kFiles} : std::vector<std::size_t>{512, 1024, kFiles};
  EXPECT_EQ(ends, expected);
  ahead.leave(std::move(root));
}

TEST_P(ReadingAhead, AbandonedFoldersLeaveNoDescriptorOpen) {
  for (int i = 0; i < 60; ++i) volume.file("/t/" + std::to_string(i) + "/x/y/z");
  const std::size_t before = openDescriptors();
  for (int taken = 0; taken < 4; ++taken) {
    ReadAhead ahead = readAhead({.facts = EnumeratedFacts::sizes});
    std::vector<Pointer> way;
    way.push_back(ahead.takeRoot());
    for (int i = 0; i < taken; ++i) {
      Pointer next = ahead.child(*way.back(), 0);
      way.push_back(std::move(next));
    }
    for (Pointer& folder : way) ahead.abandon(std::move(folder));
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST_P(ReadingAhead, AfterCancellationFoldersAreReturnedUnread) {
  volume.file("/t/a/x").file("/t/b/y");
  WalkOptions options{.cancellation = Cancellation()};
  ReadAhead ahead = readAhead(options);
  Pointer root = ahead.takeRoot();
  options.cancellation.cancel();
  Pointer b = (ahead.skip(*root, 0), ahead.child(*root, 1));
  EXPECT_TRUE(b->isListed);
  ahead.abandon(std::move(b));
  ahead.abandon(std::move(root));
}

// The whole tree, in the order of a consumer that goes down into every folder.
void visit(ReadAhead& ahead, Pointer folder, std::multiset<std::string>& seen) {
  for (const FolderListing::Entry& entry : folder->listing.entries) seen.emplace(folder->listing.name(entry));
  const std::vector<std::uint32_t> folders = folder->listing.folders;
  for (const std::uint32_t index : folders) {
    if (index % 5 == 4) {
      ahead.skip(*folder, index);
    } else {
      visit(ahead, ahead.child(*folder, index), seen);
    }
  }
  ahead.leave(std::move(folder));
}

TEST_P(ReadingAhead, EveryFolderIsReturnedOnceWithAnyNumberOfThreads) {
  std::multiset<std::string> expected;
  for (int i = 0; i < 20; ++i) {
    const std::string outer = std::string(1, static_cast<char>('a' + i));
    expected.insert(outer);
    for (int j = 0; j < 10; ++j) {
      volume.file("/t/" + outer + "/" + std::to_string(j) + "/file");
      if (i % 5 == 4) continue;
      expected.insert(std::to_string(j));
      if (j % 5 != 4) expected.insert("file");
    }
  }
  ReadAhead ahead = readAhead();
  std::multiset<std::string> seen;
  visit(ahead, ahead.takeRoot(), seen);
  EXPECT_EQ(seen, expected);
}

INSTANTIATE_TEST_SUITE_P(Threads, ReadingAhead, ::testing::Values(0U, 1U, 6U));

}  // namespace
}  // namespace quarn::read_ahead_tests

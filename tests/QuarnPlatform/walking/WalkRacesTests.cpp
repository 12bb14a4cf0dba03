#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/support/MemoryVolume.h"

// Consumers, cancellation and a volume that changes, all at once. What is asserted is little, for nobody knows what a
// walk meets; that nothing is torn, lost or left behind, the thread sanitizer says (`make tsan`).

namespace quarn::walk_races_tests {
namespace {

constexpr int kFolders = 40;
constexpr int kFilesInFolder = 30;
constexpr int kRounds = 12;

class WalkRaces : public ::testing::Test {
 protected:
  WalkRaces() {
    for (int i = 0; i < kFolders; ++i) makeFolder(i);
  }

  void makeFolder(int number) const {
    const std::string path = folder(number);
    std::filesystem::create_directories(path + "/inner");
    for (int i = 0; i < kFilesInFolder; ++i) std::ofstream(path + "/" + std::to_string(i)) << 'x';
    std::ofstream(path + "/inner/file") << "xyz";
  }
  [[nodiscard]] std::string folder(int number) const { return volume.host("/t/" + std::to_string(number)); }

  // Takes folders away and makes them again until `isOver`.
  void change(const std::atomic<bool>& isOver) const {
    for (int i = 0; !isOver; i = (i + 7) % kFolders) {
      std::error_code ignored;
      std::filesystem::remove_all(folder(i), ignored);
      makeFolder(i);
    }
  }

  // Walks as fast as it can, cancelled by itself after some items in every other round.
  void enumerate(unsigned threads) const {
    for (int round = 0; round < kRounds; ++round) {
      const Cancellation cancellation;
      const FileManager files = volume.files().cancelledBy(cancellation);
      DirectoryEnumerator items(files, FileURL("/t"), {.facts = EnumeratedFacts::sizes, .readAheadThreads = threads});
      int seen = 0;
      while (const DirectoryEnumerator::Item* item = items.next()) {
        if (++seen == 50 * round && round % 2 == 1) cancellation.cancel();
        if (item->isDirectory() && seen % 11 == 0) items.skipDescendants();
      }
      EXPECT_LE(seen, kFolders * (kFilesInFolder + 3));
    }
  }

  // Sums while another thread cancels.
  void sum(unsigned threads) const {
    for (int round = 0; round < kRounds; ++round) {
      const Cancellation cancellation;
      std::thread canceller([&] {
        if (round % 2 == 1) cancellation.cancel();
      });
      const TreeSizer::Options options{.threads = threads, .cancellation = cancellation};
      EXPECT_LE(TreeSizer::total(volume.files(), FileURL("/t"), options).logicalBytes, total());
      canceller.join();
    }
  }

  static constexpr std::int64_t total() { return kFolders * (kFilesInFolder + 3); }

  MacVolume volume = volumeInMemory();
};

TEST_F(WalkRaces, WalksOfAChangingVolumeEndAndLeaveNothingBehind) {
  std::atomic<bool> isOver = false;
  std::thread changer([&] { change(isOver); });
  std::vector<std::thread> consumers;
  consumers.emplace_back([&] { enumerate(0); });
  consumers.emplace_back([&] { enumerate(3); });
  consumers.emplace_back([&] { sum(1); });
  consumers.emplace_back([&] { sum(4); });
  for (std::thread& consumer : consumers) consumer.join();
  isOver = true;
  changer.join();
  for (int i = 0; i < kFolders; ++i) makeFolder(i);
  EXPECT_EQ(TreeSizer::total(volume.files(), FileURL("/t"), {.threads = 4}).logicalBytes, total());
}

}  // namespace
}  // namespace quarn::walk_races_tests

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnCore/scans/Scan.h"
#include "QuarnCore/scans/ScanWriter.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"

namespace quarn::scan_writer_tests {
namespace {

// More than the cache of the database holds, so that its pages are written meanwhile.
constexpr int kManyFolders = 20'000;
constexpr int kManyEntries = 5'000;

Ownership entryAt(int i) {
  Ownership entry;
  entry.url = FileURL("/Library/Caches/" + std::to_string(i));
  entry.place = "Caches";
  entry.status = OwnershipStatus::unknown;
  return entry;
}

class ScanWriterTest : public testing::Test {
 protected:
  ScanWriterTest() {
    for (int i = 0; i < kManyFolders; ++i) {
      (void)folders_.place("/" + std::string(100, 'n') + std::to_string(i), volume_.files());
    }
    folders_.finish();
  }
  [[nodiscard]] std::string file() const { return folder_.at("scan"); }

  ScannedVolume volume_;
  ScanFolder folder_;
  RecordedFolders folders_;
};

TEST_F(ScanWriterTest, EntriesThatAreStartedEarlyAreThoseOfTheScan) {
  ScanContent content;
  for (int i = 0; i < kManyEntries; ++i) {
    content.entries.push_back(entryAt(i));
    if (i % 3 == 0) content.packages.push_back({.entry = static_cast<std::size_t>(i), .identifier = "com.example.a"});
  }
  std::atomic<bool> isOnAnotherThread = false;
  {
    ScanWriter writer(file());
    writer.startFolders(folders_, Cancellation::never());
    writer.startEntries([&, caller = std::this_thread::get_id()](const StreamedContent::ConsumeEntry& consume) {
      isOnAnotherThread = std::this_thread::get_id() != caller;
      for (int i = 0; i < kManyEntries; ++i) {
        consume(entryAt(i), i % 3 == 0 ? std::vector<std::string>{"com.example.a"} : std::vector<std::string>{});
      }
    });
    EXPECT_TRUE(writer.fill({}));
    writer.commit();
  }
  EXPECT_TRUE(isOnAnotherThread);
  const Scan scan = Scan::open(file());
  scan.readAll();
  EXPECT_EQ(scan.entries(), content.entries);
  EXPECT_EQ(scan.packages(), content.packages);
  EXPECT_EQ(scan.facts().folders, static_cast<std::int64_t>(folders_.size()));
}

TEST_F(ScanWriterTest, AWriterWhoseFoldersWereCancelledAsksForNoEntries) {
  const Cancellation cancellation;
  cancellation.cancel();
  bool isAsked = false;
  {
    ScanWriter writer(file());
    writer.startFolders(folders_, cancellation);
    writer.startEntries([&](const auto&) { isAsked = true; });
    EXPECT_FALSE(writer.fill({}));
  }
  EXPECT_FALSE(isAsked);
  EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(ScanWriterTest, AnErrorOfTheEntriesEndsTheWritingAndLeavesNothing) {
  {
    ScanWriter writer(file());
    writer.startFolders(folders_, Cancellation::never());
    writer.startEntries([](const auto&) { throw FileError(EIO, "read", "/Library"); });
    EXPECT_THROW((void)writer.fill({}), FileError);
  }
  EXPECT_TRUE(std::filesystem::is_empty(std::filesystem::path(file()).parent_path()));
}

// The source of the entries refers to what the caller owns and destroys after the writer.
TEST_F(ScanWriterTest, AWriterThatIsGivenUpWaitsForItsThreads) {
  std::atomic<bool> isDone = false;
  {
    ScanWriter writer(file());
    writer.startFolders(folders_, Cancellation::never());
    writer.startEntries([&](const auto&) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      isDone = true;
    });
  }
  EXPECT_TRUE(isDone);
  EXPECT_FALSE(std::filesystem::exists(file()));
}

}  // namespace
}  // namespace quarn::scan_writer_tests

#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "QuarnPlatform/DirectoryEnumerator.h"
#include "QuarnPlatform/FileDescriptor.h"
#include "QuarnPlatform/FolderListing.h"
#include "QuarnPlatform/WalkedFolders.h"

namespace quarn {

/// The reading side of an ordered walk: lists folders and reads sizes in the order in which the consumer will ask for
/// them, on helper threads as far ahead as a window allows, and on the consumer's own thread whenever what it needs is
/// not there yet: a consumer that only waited would leave a third of the speed unused. Every operation is for the
/// consumer's thread. Memory is bounded by the window and the folders that the consumer is in.
class ReadAhead {
 public:
  struct Folder;
  using FolderPointer = std::shared_ptr<Folder>;

  /// A folder of the walk. `listing` and `level` are the consumer's to read, the sizes as far as `sizesUpTo` says; all
  /// else is the read-ahead's, under its lock.
  struct Folder {
    explicit Folder(int entryLevel) : level(entryLevel) {}

    FolderListing listing;
    const int level;  ///< of its entries

    std::atomic<bool> isAbandoned = false;
    bool isListed = false;
    bool isEntered = false;
    std::size_t nextFolder = 0;   // of listing.folders; those before it are claimed or left out
    std::size_t nextSegment = 0;  // stretch of entries whose sizes are read at one go; those before it are claimed
    std::size_t position = 0;     // the segment that the consumer is in
    std::vector<bool> isSegmentRead;
    std::vector<FolderPointer> claimed;  // children that the consumer has not taken yet, from `firstClaimed` on
    std::size_t firstClaimed = 0;
    std::uint32_t entryInParent = 0;
    std::optional<WalkedFolders::Use> use;  // while something in it is unclaimed
    std::optional<std::list<FolderPointer>::iterator> planned;
  };

  /// Lists the root.
  ReadAhead(FileDescriptor root, const DirectoryEnumerator::Options& options);
  /// Every folder that the consumer still holds must have been abandoned.
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  [[nodiscard]] const FolderPointer& root() const { return root_; }
  /// The folder that is entry `index` of `parent`, listed. Each entry of the listing's `folders` is either asked for or
  /// skipped, once and in ascending order.
  FolderPointer child(Folder& parent, std::size_t index);
  /// Leaves out entry `index` of `parent` and what has been read below it.
  void skip(Folder& parent, std::size_t index);
  /// Leaves out what is left of a folder that `root` or `child` gave.
  void abandon(FolderPointer folder);
  /// Waits until the sizes of entry `index` are read; gives the end of the stretch of entries whose sizes are read with
  /// it.
  std::size_t sizesUpTo(const FolderPointer& folder, std::size_t index);

 private:
  struct Task;
  using Lock = std::unique_lock<std::mutex>;

  static FolderPointer takeClaimed(Folder& parent, std::size_t index);
  Task claimFolder(Folder& parent);
  Task claimSegment(const FolderPointer& folder);
  std::optional<Task> claimIn(const FolderPointer& folder);
  std::optional<Task> claimNext();
  void perform(Lock& lock, Task task, FolderLister& lister);
  void listFolder(Task& task, FolderLister& lister);
  void readFolder(Folder& folder, int descriptor, FolderLister& lister);
  void publish(const FolderPointer& folder);
  void retireIfClaimed(Folder& folder);
  void leaveOut(FolderPointer folder);
  void helpOrWait(Lock& lock);
  void wakeHelper();
  void startHelper();
  void help();

  const DirectoryEnumerator::Options options_;
  WalkedFolders folders_;
  FolderLister lister_;  // the consumer's

  std::mutex mutex_;
  std::condition_variable forHelpers_;
  std::condition_variable forConsumer_;
  std::list<FolderPointer> plan_;  // folders with something to claim, or being listed, in the order of delivery
  FolderPointer root_;
  std::size_t unclaimed_ = 0;  // folders and segments to claim in all of the plan
  std::size_t ahead_ = 0;      // weight of the folders that are listed and not entered
  unsigned waitingHelpers_ = 0;
  bool consumerWaits_ = false;
  bool isEnding_ = false;
  std::vector<std::thread> helpers_;
  unsigned wantedHelpers_;
};

}  // namespace quarn

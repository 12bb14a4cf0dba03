#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/walking/FolderListing.h"
#include "QuarnPlatform/walking/HelperCount.h"
#include "QuarnPlatform/walking/WalkOptions.h"
#include "QuarnPlatform/walking/WalkedFolders.h"

namespace quarn {

/// The reading side of an ordered walk: lists folders and reads sizes in the order in which the consumer will ask for
/// them, on helper threads as far ahead as a window allows, and on the consumer's own thread whenever what it needs is
/// not there yet: a consumer that only waited would leave a third of the speed unused. Every operation is for the
/// consumer's thread. Memory is bounded by the window and the folders that the consumer is in.
class ReadAhead {
 public:
  struct Folder;
  using FolderPointer = std::unique_ptr<Folder>;

  /// A folder of the walk. `listing` and `level` are the consumer's to read, the sizes as far as `sizesUpTo` says; all
  /// else is the read-ahead's, under its lock.
  struct Folder {
    FolderListing listing;
    int level = 1;  ///< of its entries

    std::atomic<bool> isAbandoned = false;
    bool isListed = false;
    bool isEntered = false;
    std::size_t nextFolder = 0;            // of listing.folders; those before it are claimed or left out
    std::size_t nextSegment = 0;           // stretch of entries whose sizes are read at one go; likewise
    std::size_t position = 0;              // the segment that the consumer is in
    std::vector<bool> isLaterSegmentRead;  // of all but the first, which is read with the listing
    std::vector<FolderPointer> claimed;    // children that the consumer has not taken yet, from `firstClaimed` on
    std::size_t firstClaimed = 0;
    std::uint32_t entryInParent = 0;
    std::optional<WalkedFolders::Use> use;  // while something in it is unclaimed or at work
    unsigned atWork = 0;                    // tasks that need it to stay as it is
    Folder* earlier = nullptr;              // its neighbours in the plan; null when it is not in the plan
    Folder* later = nullptr;
  };

  /// Lists the root.
  ReadAhead(FileDescriptor root, const WalkOptions& options, AccessTimes accessTimes);
  /// Every folder that was given to the consumer must have been taken back.
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  /// The root, listed; to be taken once.
  FolderPointer takeRoot();
  /// The folder that is entry `index` of `parent`, listed. Each entry of the listing's `folders` is either asked for or
  /// skipped, once and in ascending order.
  FolderPointer child(Folder& parent, std::size_t index);
  /// Leaves out entry `index` of `parent` and what has been read below it.
  void skip(Folder& parent, std::size_t index);
  /// Waits until the sizes of entry `index` are read; gives the end of the stretch of entries whose sizes are read with
  /// it.
  std::size_t sizesUpTo(Folder& folder, std::size_t index);
  /// Takes back a folder of which everything was asked for or skipped.
  void leave(FolderPointer folder);
  /// Takes back any folder and leaves out what has been read below it.
  void abandon(FolderPointer folder);

 private:
  struct Task;
  struct Hands;
  using Lock = std::unique_lock<std::mutex>;

  static FolderPointer takeClaimed(Folder& parent, std::size_t index);
  Task claimFolder(Folder& parent, Hands& hands);
  Task claimSegment(Folder& folder);
  std::optional<Task> claimIn(Folder& folder, Hands& hands);
  std::optional<Task> claimNext(Hands& hands);
  void perform(Lock& lock, const Task& task, Hands& hands);
  void read(const Task& task, Hands& hands);
  void listFolder(const Task& task, Hands& hands);
  static void readFolder(Folder& folder, int descriptor, Hands& hands);
  void publish(Folder& folder);
  void planBefore(Folder& folder, Folder& later);
  static void unplan(Folder& folder);
  static void unplanIfClaimed(Folder& folder);
  static void letGoIfDone(Folder& folder, Hands& hands);
  void leaveOut(FolderPointer folder);
  void recycleLeft();
  void helpOrWait(Lock& lock);
  void wakeHelper();
  void startHelper();
  void help();
  void helpUntilEnd();

  const WalkOptions options_;
  WalkedFolders folders_;

  HelperCount helperCount_;

  std::mutex mutex_;
  std::condition_variable forHelpers_;
  std::condition_variable forConsumer_;
  Folder plan_;  // before and behind the folders with something to claim, or being listed, in the order of delivery
  std::vector<FolderPointer> spares_;     // used ones, to be used again
  std::vector<FolderPointer> abandoned_;  // some thread still works with them
  std::size_t unclaimed_ = 0;             // folders and segments to claim in all of the plan
  std::size_t ahead_ = 0;                 // weight of the folders that are listed and not entered
  unsigned waitingHelpers_ = 0;
  bool consumerWaits_ = false;
  bool isEnding_ = false;
  std::exception_ptr failure_;  // the first of a helper

  // The consumer's.
  FolderPointer root_;
  std::unique_ptr<Hands> hands_;
  std::vector<FolderPointer> left_;
  std::vector<FolderPointer> discarded_;
  std::vector<std::thread> helpers_;
};

}  // namespace quarn

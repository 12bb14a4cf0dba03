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

/// Reads ahead of the consumer of an ordered walk: lists folders and reads sizes in the order in which the consumer
/// will ask for them, on helper threads as far ahead as a window allows. When what the consumer needs is not there yet,
/// the consumer's own thread reads it, or reads something else while a helper finishes it. Every public operation is
/// for the consumer's thread.
///
/// Who owns what. A `Folder` has one owner at a time: its parent's `claimed` list from the moment somebody starts to
/// list it, then the consumer (from `child` to `leave` or `abandon`), then `left_`, `spares_` or `abandoned_` here. A
/// thread that reads a folder or a segment only borrows it: `isListed` is false or `atWork` counts the thread, and a
/// folder in either state is never destroyed or reused. `WalkedFolders` owns the descriptors; a folder holds a `use`
/// while something in it is unclaimed or at work.
///
/// States of a folder: unclaimed (an index in its parent's `listing.folders`, at or after `nextFolder`) -> claimed
/// (somebody lists it; in the plan) -> listed -> entered (the consumer has it) -> left. A folder that the consumer
/// skips becomes abandoned instead, at any of these points, with all that was claimed below it. A segment is a stretch
/// of entries whose sizes are read in one go: unclaimed -> claimed (before `nextSegment`) -> read.
///
/// The plan is a doubly linked list of the folders that have something to claim, in the order in which the consumer
/// meets them. A folder goes in before its parent when it is claimed, and out when nothing in it is unclaimed.
///
/// Locks. `mutex_` guards the plan, the counters below it and every field of a `Folder` from `isAbandoned` on. Until
/// `isListed` is set under the lock, the thread that lists a folder owns its listing, its segments and its use without
/// the lock. Afterwards the entries are constant but for the sizes of a segment, which the thread that claimed it owns
/// until it marks the segment read under the lock. `isAbandoned` is atomic, so that a thread which lists a huge folder
/// sees it. System calls run without the lock. `WalkedFolders` has a lock of its own: it may be taken under this one
/// and never takes this one.
///
/// Who wakes whom. A thread that publishes something to claim wakes one helper, unless the window is full or the
/// consumer is about to take it. A helper that starts a task wakes the next one. Whoever finishes a task wakes the
/// consumer if it waits. The destructor wakes all helpers.
///
/// Memory is bounded by the window (entries that are listed and not entered), the folders that the consumer is in, and
/// `spares_`.
class ReadAhead {
 public:
  struct Folder;
  using FolderPointer = std::unique_ptr<Folder>;

  /// A folder of the walk. `listing` and `level` are the consumer's to read, the sizes as far as `sizesUpTo` says; all
  /// else is the read-ahead's, under its lock.
  struct Folder {
    FolderListing listing;
    int level = 1;  ///< of its entries

    std::atomic<bool> isAbandoned = false;  // set under the lock, read without it; never reset
    bool isListed = false;
    bool isEntered = false;
    std::size_t nextFolder = 0;            // of listing.folders; those before it are claimed or skipped
    std::size_t nextSegment = 0;           // likewise
    std::size_t position = 0;              // the segment that the consumer is in
    std::vector<bool> isLaterSegmentRead;  // of all but the first, which is read with the listing
    std::vector<FolderPointer> claimed;    // children that the consumer has not taken yet, from `firstClaimed` on
    std::size_t firstClaimed = 0;          // less than claimed.size(), or both are 0
    std::uint32_t entryInParent = 0;
    std::optional<WalkedFolders::Use> use;  // while something in it is unclaimed or at work
    unsigned atWork = 0;                    // tasks that read in it; 0 once everything is claimed and read
    FolderPointer next;                     // while it is in a FolderList
    Folder* earlier = nullptr;              // its neighbours in the plan; null when it is not in the plan
    Folder* later = nullptr;
  };

  /// Lists the root.
  ReadAhead(FileDescriptor root, const WalkOptions& options, AccessTimes accessTimes = AccessTimes::keepIfPermitted);
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
  struct Worker;

  /// Folders to keep. Adding one allocates nothing: it also happens in destructors and after an allocation has failed,
  /// when a helper may still read in the folder.
  class FolderList {
   public:
    FolderList() = default;
    FolderList(FolderList&&) = default;
    FolderList& operator=(FolderList&&) = default;  // to an empty list
    ~FolderList() { clear(); }

    void push(FolderPointer folder) {
      folder->next = std::move(first_);
      first_ = std::move(folder);
    }
    /// Null if the list is empty.
    FolderPointer pop() {
      FolderPointer folder = std::move(first_);
      if (folder) first_ = std::move(folder->next);
      return folder;
    }
    /// Not by the destructors of the pointers, which would call each other as deep as the list is long.
    void clear() {
      while (pop()) {
      }
    }

   private:
    FolderPointer first_;
  };

  using Lock = std::unique_lock<std::mutex>;

  static FolderPointer takeClaimed(Folder& parent, std::size_t index);
  Task claimFolder(Folder& parent, Worker& worker);
  Task claimSegment(Folder& folder);
  std::optional<Task> claimIn(Folder& folder, Worker& worker);
  std::optional<Task> claimNext(Worker& worker);
  void perform(Lock& lock, const Task& task, Worker& worker);
  void read(const Task& task, Worker& worker);
  void listFolder(const Task& task, Worker& worker);
  static void readFolder(Folder& folder, int descriptor, Worker& worker);
  void publish(Folder& folder);
  void planBefore(Folder& folder, Folder& later);
  static void unplan(Folder& folder);
  static void unplanIfClaimed(Folder& folder);
  static void letGoIfDone(Folder& folder, Worker& worker);
  void dropFinished();
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
  Folder plan_;                        // both ends of the plan; never claimed itself
  std::vector<FolderPointer> spares_;  // at most kSpares, empty, to be used again
  FolderList abandoned_;               // until the threads that read in them are finished
  std::size_t unclaimed_ = 0;          // the sum over the plan of what is unclaimed in each folder
  std::size_t ahead_ = 0;              // the weight of the folders that are listed, not entered and not abandoned
  unsigned waitingHelpers_ = 0;
  bool consumerWaits_ = false;
  bool isEnding_ = false;
  std::exception_ptr failure_;  // the first of a helper

  // The consumer's; no lock.
  FolderPointer root_;
  std::unique_ptr<Worker> worker_;
  FolderList left_;       // to be recycled when the lock is held anyway
  FolderList discarded_;  // to be destroyed when it is not held
  std::vector<std::thread> helpers_;
};

}  // namespace quarn

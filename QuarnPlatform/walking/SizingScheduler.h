#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/HelperCount.h"
#include "QuarnPlatform/walking/SizedFolder.h"
#include "QuarnPlatform/walking/SizingTask.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "QuarnPlatform/walking/WalkedFolders.h"

namespace quarn {

/// What the threads of one sizing walk share: the trees, the queue, the totals, and who is busy.
///
/// Who owns what. The scheduler owns the trees with their shared totals, the queue and the helper threads. Each thread
/// owns a worker (`SizingWorker`): its reader, its totals since it last shared them, and the folder that it reads. A
/// task belongs to the thread that took it. `WalkedFolders` owns the open descriptors.
///
/// States of a thread: busy (reading; counted in `busy_`), idle (in `wait`; counted in `waiting_`), ended. A thread
/// that takes a task becomes busy, one that finds the queue empty becomes idle. The walk ends when `stopped_` is set:
/// by the thread that finds the queue empty and nobody busy, by cancellation, or by the destructor. Then every thread
/// ends at its next entry, at its next check, or as soon as it wakes. A thread for which the process has no descriptor
/// left puts its task off and stays idle to the end: the others hold what it lacks. The last busy thread carries out
/// what was put off.
///
/// Locks. `mutex_` guards what stands below it. It is held for a few instructions and never while a system call runs or
/// a callback is called. No other lock is taken under it, and `WalkedFolders` takes no lock of ours.
///
/// Who wakes whom. A thread that queues work wakes one idle thread; a thread that takes work while more is left wakes
/// the next. Who sets `stopped_` wakes all. The calling thread also wakes by itself to report progress.
///
/// The calling thread works like the others. It alone starts helpers, when nobody is idle and the work has lasted long
/// enough to pay for them, and it alone calls `onProgress`.
///
/// Memory. The queue is last in, first out, so the walk goes deep: it holds the subfolders of the folders on the way
/// down and those of each thread's folder, never all files. A tree is begun when the queue is empty, so at most as many
/// trees are open as there are threads.
class SizingScheduler {
 public:
  static constexpr unsigned kEntriesBetweenChecks = 256;

  SizingScheduler(const FileManager& files, const std::vector<TreeSizer::Tree>& trees,
                  const TreeSizer::Options& options);
  ~SizingScheduler() { stopAndJoin(); }
  SizingScheduler(const SizingScheduler&) = delete;
  SizingScheduler& operator=(const SizingScheduler&) = delete;

  // For the thread that made the scheduler.

  /// What each helper thread does; without it none is started. To be set before work begins.
  void setHelper(std::function<void()> helper) { helper_ = std::move(helper); }
  /// Waits for the helpers and returns the totals of the trees.
  std::vector<TreeSizer::TreeTotals> finish();

  // For the workers, on any thread.

  /// Opens the root of a tree. Throws FileError; `refused` then gets what the read report is to learn of it.
  [[nodiscard]] WalkedFolders::Use openRoot(const SizedTree& tree, std::shared_ptr<ReadReport>& refused);
  void report(const ReadReport& refused) const;
  /// Null for nobody.
  [[nodiscard]] FolderObserver* observer() const { return options_.observer; }
  /// Null for nobody.
  [[nodiscard]] LinkedNames* linked() const { return options_.linked; }
  /// Null for none.
  [[nodiscard]] const KeptListings* kept() const { return kept_; }
  [[nodiscard]] HelperCount& helperCount() { return helperCount_; }
  [[nodiscard]] bool isCancelled() const { return options_.cancellation.isCancelled(); }
  [[nodiscard]] bool hasIdleThread() const { return waiting_.load(std::memory_order_relaxed) != 0; }
  void push(std::shared_ptr<SubFolders> folders);
  void push(SizingTask part);
  /// The thread's next task; false when the walk is over. Waits while others may still queue something.
  bool take(UnsharedTotals& unshared, SizingTask& task);
  /// Puts a task off that failed for want of a descriptor, and waits for the end of the walk. False, at once, when no
  /// other thread is busy: then nobody will give a descriptor back.
  bool putOff(UnsharedTotals& unshared, SizingTask& task);
  /// Adds the thread's totals to the walk's and clears them. False when the walk is to end. To be called now and then
  /// during a long task.
  bool shareTotals(UnsharedTotals& unshared);
  void reportUnreadable(const SizedTree& tree, const SizedFolder& folder, std::string_view name, int error) const;
  void reportUnreadable(const SizedTree& tree, const WalkedFolders::Use& parent, std::string_view name,
                        int error) const;
  void reportUnreadable(const SizedTree& tree, const WalkedFolders::Use& folder, int error) const;

 private:
  [[nodiscard]] bool isCaller() const { return std::this_thread::get_id() == caller_; }
  [[nodiscard]] bool hasWork() const { return !parts_.empty() || !subFolders_.empty() || nextTree_ < trees_.size(); }
  bool pop(SizingTask& task);
  bool popTree(SizingTask& task);
  bool popPutOff(SizingTask& task);
  void addTotals(UnsharedTotals& unshared);
  [[nodiscard]] TreeSizer::Totals sumOfTrees() const;
  void wait(UnsharedTotals& unshared, std::unique_lock<std::mutex>& lock);
  void doCallersWork(UnsharedTotals& unshared);
  void startHelper();
  void help();
  void addBusy(int threads);
  void stopAndJoin();

  const FileManager& files_;
  const TreeSizer::Options& options_;
  const KeptListings* const kept_;
  const std::thread::id caller_ = std::this_thread::get_id();
  const HelperCount::Clock::time_point started_ = HelperCount::Clock::now();
  WalkedFolders folders_;  // outlives the uses in the queue
  HelperCount helperCount_;

  // Constants, what is read for every entry, and what changes under the lock are on cache lines of their own: a thread
  // that writes to a line slows down all threads that read it.
  static constexpr std::size_t kCacheLine = 64;
  alignas(kCacheLine) std::atomic<unsigned> waiting_ = 0;  // written under the lock, read without it as a hint
  alignas(kCacheLine) std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::shared_ptr<SubFolders>> subFolders_;  // none is empty; the last is taken from first
  std::vector<SizingTask> parts_;                        // taken before subfolders
  std::vector<SizingTask> putOff_;                       // taken last, by a thread that is alone
  std::vector<SizedTree> trees_;                         // never grows or shrinks; see `SizedTree::found`
  std::size_t nextTree_ = 0;                             // begun after the queue
  int busy_ = 1;                // threads that may still queue something; the caller from the start. 0 only at the end
  bool stopped_ = false;        // never reset
  std::exception_ptr failure_;  // the first of a helper

  // The calling thread's; no lock.
  std::function<void()> helper_;
  HelperCount::Clock::time_point lastProgress_ = started_;
  std::vector<std::thread> helpers_;
};

}  // namespace quarn

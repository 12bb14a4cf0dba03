#include "QuarnPlatform/walking/SizingScheduler.h"

#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/HelperThread.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/WalkOptions.h"

namespace quarn {
namespace {

// The start of a thread costs about this much. Work that is done sooner is not worth one (more).
constexpr auto kTimePerThread = std::chrono::microseconds(300);

unsigned mostHelpers(unsigned threads) { return threads != 0 ? threads - 1 : WalkOptions::kMostHelpers; }

}  // namespace

SizingScheduler::SizingScheduler(const FileManager& files, const std::vector<TreeSizer::Tree>& trees,
                                 const TreeSizer::Options& options)
    : files_(files),
      options_(options),
      kept_(options.observer == nullptr && options.linked == nullptr ? options.kept : nullptr),
      folders_(files.accessTimes()),
      helperCount_(mostHelpers(options.threads), options.threads != 0 ? options.threads : HelperCount::furtherCores()),
      trees_(trees.begin(), trees.end()) {}

std::vector<TreeSizer::TreeTotals> SizingScheduler::finish() {
  stopAndJoin();
  if (failure_) std::rethrow_exception(failure_);
  std::vector<TreeSizer::TreeTotals> found;
  found.reserve(trees_.size());
  for (SizedTree& tree : trees_) found.push_back(std::move(tree.found));
  return found;
}

WalkedFolders::Use SizingScheduler::openRoot(const SizedTree& tree, std::shared_ptr<ReadReport>& refused) {
  for (;;) {
    refused = std::make_shared<ReadReport>();
    try {
      return folders_.addRoot(files_.reportingTo(refused).openDirectory(tree.tree.root, Links::doNotFollow));
    } catch (const FileError& error) {
      if (!meansNoDescriptor(error.error()) || !folders_.makeRoom()) throw;
    }
  }
}

void SizingScheduler::report(const ReadReport& refused) const {
  if (files_.readReport() != nullptr) files_.readReport()->add(refused);
}

void SizingScheduler::push(std::shared_ptr<SubFolders> folders) {
  const std::lock_guard lock(mutex_);
  subFolders_.push_back(std::move(folders));
  // The thread that pushes is about to take one of them itself.
  if (hasIdleThread() && (subFolders_.size() > 1 || subFolders_.back()->items.size() > 1)) changed_.notify_one();
}

void SizingScheduler::push(SizingTask part) {
  const std::lock_guard lock(mutex_);
  parts_.push_back(std::move(part));
  changed_.notify_one();
}

bool SizingScheduler::pop(SizingTask& task) {
  if (!parts_.empty()) {
    task = std::move(parts_.back());
    parts_.pop_back();
    return true;
  }
  if (subFolders_.empty()) return popTree(task) || popPutOff(task);
  const std::shared_ptr<SubFolders> top = subFolders_.back();
  task.tree = top->tree;
  task.siblings = top;
  task.item = top->items[top->nextItem++];
  task.name = top->names.c_str() + top->nextName;
  top->nextName += std::string_view(task.name).size() + 1;
  if (top->nextItem == top->items.size()) subFolders_.pop_back();
  return true;
}

bool SizingScheduler::popTree(SizingTask& task) {
  if (nextTree_ == trees_.size()) return false;
  task.tree = &trees_[nextTree_++];
  task.tree->found.isStarted = true;
  return true;
}

bool SizingScheduler::popPutOff(SizingTask& task) {
  if (busy_ != 0 || putOff_.empty()) return false;
  task = std::move(putOff_.back());
  putOff_.pop_back();
  return true;
}

bool SizingScheduler::putOff(UnsharedTotals& unshared, SizingTask& task) {
  std::unique_lock lock(mutex_);
  if (busy_ == 1) return false;
  putOff_.push_back(std::move(task));
  helperCount_.limit(0);
  addTotals(unshared);
  --busy_;
  while (!stopped_) wait(unshared, lock);
  ++busy_;
  return true;
}

void SizingScheduler::addTotals(UnsharedTotals& unshared) {
  if (unshared.files == 0) return;
  TreeSizer::Totals& totals = unshared.tree->found.totals;
  try {
    for (std::size_t bucket = 0; bucket < totals.size(); ++bucket) totals[bucket] += unshared.totals[bucket];
  } catch (const SizeOverflow&) {
    throw SizeOverflow(unshared.tree->tree.root.path());
  }
  unshared.totals = {};
  unshared.files = 0;
}

TreeSizer::Totals SizingScheduler::sumOfTrees() const {
  TreeSizer::Totals sum{};
  for (const SizedTree& tree : trees_) {
    for (std::size_t bucket = 0; bucket < sum.size(); ++bucket) sum[bucket] += tree.found.totals[bucket];
  }
  return sum;
}

bool SizingScheduler::take(UnsharedTotals& unshared, SizingTask& task) {
  if (isCaller()) doCallersWork(unshared);
  std::unique_lock lock(mutex_);
  --busy_;
  if (unshared.files >= kEntriesBetweenChecks) addTotals(unshared);
  for (;;) {
    if (options_.cancellation.isCancelled()) stopped_ = true;
    if (!stopped_ && pop(task)) break;
    addTotals(unshared);
    if (busy_ == 0) stopped_ = true;
    if (stopped_) {
      changed_.notify_all();
      return false;
    }
    wait(unshared, lock);
  }
  ++busy_;
  if (task.tree != unshared.tree) {
    addTotals(unshared);
    unshared.tree = task.tree;
  }
  // Each thread that is woken wakes the next one while there is work left.
  if (hasIdleThread() && hasWork()) changed_.notify_one();
  return true;
}

bool SizingScheduler::shareTotals(UnsharedTotals& unshared) {
  if (isCaller()) doCallersWork(unshared);
  const std::lock_guard lock(mutex_);
  addTotals(unshared);
  if (options_.cancellation.isCancelled()) stopped_ = true;
  return !stopped_;
}

void SizingScheduler::wait(UnsharedTotals& unshared, std::unique_lock<std::mutex>& lock) {
  ++waiting_;
  if (isCaller() && options_.onProgress) {
    changed_.wait_until(lock, lastProgress_ + options_.interval);
  } else {
    changed_.wait(lock);
  }
  --waiting_;
  if (!isCaller()) return;
  lock.unlock();
  doCallersWork(unshared);
  lock.lock();
}

// What only the calling thread does, without the lock: it starts helpers and reports progress.
void SizingScheduler::doCallersWork(UnsharedTotals& unshared) {
  const bool startsHelpers = helper_ && helpers_.size() < helperCount_.wanted() && !hasIdleThread();
  if (!options_.onProgress && !startsHelpers) return;
  const HelperCount::Clock::time_point now = HelperCount::Clock::now();
  if (startsHelpers && (options_.threads != 0 || now > started_ + kTimePerThread * (helpers_.size() + 1)))
    startHelper();
  if (!options_.onProgress || now < lastProgress_ + options_.interval) return;
  lastProgress_ = now;
  std::unique_lock lock(mutex_);
  addTotals(unshared);
  const TreeSizer::Totals soFar = sumOfTrees();
  lock.unlock();
  options_.onProgress(soFar);
}

// A system that gives no more threads is not an error: the walk takes longer.
void SizingScheduler::startHelper() {
  addBusy(1);
  try {
    helpers_.emplace_back([this] { help(); });
  } catch (const std::system_error&) {
    addBusy(-1);
    helperCount_.limit(static_cast<unsigned>(helpers_.size()));
  }
}

// What ends a helper ends the walk, and is thrown on the calling thread.
void SizingScheduler::help() {
  becomeHelperThread();
  try {
    helper_();
  } catch (...) {
    const std::lock_guard lock(mutex_);
    if (!failure_) failure_ = std::current_exception();
    stopped_ = true;
    changed_.notify_all();
  }
}

void SizingScheduler::addBusy(int threads) {
  const std::lock_guard lock(mutex_);
  busy_ += threads;
}

void SizingScheduler::stopAndJoin() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
  }
  for (std::thread& helper : helpers_) helper.join();
  helpers_.clear();
}

void SizingScheduler::reportUnreadable(const SizedTree& tree, const SizedFolder& folder, std::string_view name,
                                       int error) const {
  if (files_.readReport() != nullptr) files_.readReport()->add(tree.pathOf(folder.pathOf(name)), error);
}

void SizingScheduler::reportUnreadable(const SizedTree& tree, const WalkedFolders::Use& parent, std::string_view name,
                                       int error) const {
  if (files_.readReport() != nullptr)
    files_.readReport()->add(tree.pathOf(parent.path().append("/").append(name)), error);
}

void SizingScheduler::reportUnreadable(const SizedTree& tree, const WalkedFolders::Use& folder, int error) const {
  if (files_.readReport() != nullptr) files_.readReport()->add(tree.pathOf(folder.path()), error);
}

}  // namespace quarn

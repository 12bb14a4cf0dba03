#include "QuarnPlatform/walking/SizingScheduler.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/HelperThread.h"
#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {
namespace {

// The start of a thread costs about this much. Work that is done sooner is not worth one (more).
constexpr auto kTimePerThread = std::chrono::microseconds(300);

}  // namespace

SizingScheduler::SizingScheduler(const FileManager& files, const FileURL& root, const Attribution& attribution,
                                 const TreeSizer::Options& options)
    : files_(files),
      root_(root),
      attribution_(attribution),
      options_(options),
      needsPackages_(attribution.needsPackages()),
      folders_(files.openDirectory(root, Links::doNotFollow), files.accessTimes()),
      helperCount_(options.helperCount ? options.helperCount : TreeSizer::makeHelperCount(options.threads)) {}

TreeSizer::Totals SizingScheduler::finish() {
  stopAndJoin();
  if (failure_) std::rethrow_exception(failure_);
  return totals_;
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
  if (subFolders_.empty()) return false;
  const std::shared_ptr<SubFolders> top = subFolders_.back();
  task.siblings = top;
  task.item = top->items[top->nextItem++];
  task.name = top->names.c_str() + top->nextName;
  top->nextName += std::string_view(task.name).size() + 1;
  if (top->nextItem == top->items.size()) subFolders_.pop_back();
  return true;
}

void SizingScheduler::addTotals(UnsharedTotals& unshared) {
  if (unshared.files == 0) return;
  for (std::size_t bucket = 0; bucket < totals_.size(); ++bucket) totals_[bucket] += unshared.totals[bucket];
  unshared.totals = {};
  unshared.files = 0;
}

bool SizingScheduler::take(UnsharedTotals& unshared, SizingTask& task) {
  if (isCaller()) doCallersWork();
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
    wait(lock);
  }
  ++busy_;
  // Each thread that is woken wakes the next one while there is work left.
  if (hasIdleThread() && !(parts_.empty() && subFolders_.empty())) changed_.notify_one();
  return true;
}

bool SizingScheduler::shareTotals(UnsharedTotals& unshared) {
  if (isCaller()) doCallersWork();
  const std::lock_guard lock(mutex_);
  addTotals(unshared);
  if (options_.cancellation.isCancelled()) stopped_ = true;
  return !stopped_;
}

void SizingScheduler::wait(std::unique_lock<std::mutex>& lock) {
  ++waiting_;
  if (isCaller() && options_.onProgress) {
    changed_.wait_until(lock, lastProgress_ + options_.interval);
  } else {
    changed_.wait(lock);
  }
  --waiting_;
  if (!isCaller()) return;
  lock.unlock();
  doCallersWork();
  lock.lock();
}

// What only the calling thread does, without the lock: it starts helpers and reports progress.
void SizingScheduler::doCallersWork() {
  const bool startsHelpers = helper_ && helpers_.size() < helperCount_->wanted() && !hasIdleThread();
  if (!options_.onProgress && !startsHelpers) return;
  const HelperCount::Clock::time_point now = HelperCount::Clock::now();
  if (startsHelpers && (options_.threads != 0 || now > started_ + kTimePerThread * (helpers_.size() + 1)))
    startHelper();
  if (!options_.onProgress || now < lastProgress_ + options_.interval) return;
  lastProgress_ = now;
  std::unique_lock lock(mutex_);
  const TreeSizer::Totals soFar = totals_;
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
    helperCount_->limit(static_cast<unsigned>(helpers_.size()));
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

void SizingScheduler::reportUnreadable(const SizedFolder& folder, std::string_view name, int error) const {
  if (files_.readReport() == nullptr) return;
  report(folder.pathOf(name), error);
}

void SizingScheduler::reportUnreadable(const WalkedFolders::Use& parent, std::string_view name, int error) const {
  if (files_.readReport() != nullptr) report(parent.path().append("/").append(name), error);
}

void SizingScheduler::reportUnreadable(const WalkedFolders::Use& folder, int error) const {
  if (files_.readReport() != nullptr) report(folder.path(), error);
}

void SizingScheduler::report(const std::string& pathBelowRoot, int error) const {
  const std::string path = root_.path() == "/" ? pathBelowRoot : root_.path() + pathBelowRoot;
  files_.readReport()->add(path.empty() ? "/" : path, error);
}

}  // namespace quarn

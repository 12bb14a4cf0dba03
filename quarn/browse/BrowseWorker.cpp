#include "quarn/browse/BrowseWorker.h"

#include <utility>

#include "QuarnPlatform/base/HelperThread.h"

namespace quarn {

BrowseWorker::BrowseWorker(const BrowseTree& tree) : tree_(tree) {
  thread_ = std::thread([this] {
    becomeHelperThread();
    work();
  });
}

BrowseWorker::~BrowseWorker() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
    current_.cancel();
  }
  forWork_.notify_one();
  thread_.join();
}

void BrowseWorker::requestListing(const ListingRequest& request, const OwnerNames& owners) {
  {
    const std::lock_guard lock(mutex_);
    current_.cancel();
    listingJob_ = ListingJob{.request = request, .owners = owners};
  }
  forWork_.notify_one();
}

void BrowseWorker::requestUnion(std::vector<BrowseTree::Node> items) {
  {
    const std::lock_guard lock(mutex_);
    unionJob_ = std::move(items);
  }
  forWork_.notify_one();
}

BrowseWorker::Results BrowseWorker::take(std::chrono::milliseconds wait) {
  std::unique_lock lock(mutex_);
  forResults_.wait_for(lock, wait, [this] { return isIdle() || failure_; });
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  return std::exchange(results_, {});
}

bool BrowseWorker::isBusy() const {
  const std::lock_guard lock(mutex_);
  return !isIdle() || results_.listing || results_.sum || failure_;
}

void BrowseWorker::work() {
  std::unique_lock lock(mutex_);
  while (true) {
    forWork_.wait(lock, [this] { return isEnding_ || listingJob_ || unionJob_; });
    if (isEnding_) return;
    isWorking_ = true;
    try {
      runOne(lock);
    } catch (...) {
      if (!lock.owns_lock()) lock.lock();
      failure_ = std::current_exception();
    }
    isWorking_ = false;
    forResults_.notify_all();
  }
}

// Listings come first, because a person waits for them.
void BrowseWorker::runOne(std::unique_lock<std::mutex>& lock) {
  if (auto job = std::exchange(listingJob_, std::nullopt)) {
    current_ = job->cancellation;
    lock.unlock();
    std::optional<Listing> listing = makeListing(tree_, job->request, job->owners, job->cancellation);
    lock.lock();
    if (listing) results_.listing = std::make_shared<const Listing>(std::move(*listing));
    return;
  }
  const std::vector<BrowseTree::Node> items = *std::exchange(unionJob_, std::nullopt);
  lock.unlock();
  const BrowseTree::Union sum = tree_.unionOf(items);
  lock.lock();
  results_.sum = sum;
}

}  // namespace quarn

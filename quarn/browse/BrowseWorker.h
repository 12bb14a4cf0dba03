#pragma once

#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "quarn/browse/BrowseListing.h"

namespace quarn {

/// Sorts and filters folders and adds up marks on a thread of its own, so that the screen answers every key at once,
/// also in a folder of a million items.
///
/// Who owns what: this owns the requests and the results. `mutex_` guards them; the thread takes them and puts results
/// back, and holds no lock while it works. The tree's lock is never taken while `mutex_` is held. States: idle (no
/// request), working, ending. A new request for a listing cancels the one that is being made. `request…` wakes the
/// thread, a result wakes `take`. Memory: one request and one result of each kind, and the listing in the making.
class BrowseWorker {
 public:
  struct Results {
    std::shared_ptr<const Listing> listing{};  ///< null if nothing changed
    std::optional<BrowseTree::Union> sum{};
  };

  explicit BrowseWorker(const BrowseTree& tree);
  ~BrowseWorker();
  BrowseWorker(const BrowseWorker&) = delete;
  BrowseWorker& operator=(const BrowseWorker&) = delete;

  /// Asks for a listing. `owners` may be null.
  void requestListing(const ListingRequest& request, const OwnerNames& owners);
  /// Asks what the items hold together.
  void requestUnion(std::vector<BrowseTree::Node> items);
  /// The results since the last call. Waits until nothing is requested, but not longer than `wait`. Throws what the
  /// work threw.
  Results take(std::chrono::milliseconds wait);
  /// True while a request is open, or results wait for `take`.
  [[nodiscard]] bool isBusy() const;

 private:
  struct ListingJob {
    ListingRequest request{};
    OwnerNames owners{};
    Cancellation cancellation{};
  };

  void work();
  void runOne(std::unique_lock<std::mutex>& lock);
  [[nodiscard]] bool isIdle() const { return !listingJob_ && !unionJob_ && !isWorking_; }

  const BrowseTree& tree_;
  mutable std::mutex mutex_;
  std::condition_variable forWork_;
  std::condition_variable forResults_;
  std::optional<ListingJob> listingJob_;
  std::optional<std::vector<BrowseTree::Node>> unionJob_;
  Cancellation current_ = Cancellation::never();  // of the listing that is being made
  Results results_;
  std::exception_ptr failure_;
  bool isWorking_ = false;
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace quarn

#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>
#include <vector>

#include "QuarnPlatform/walking/FoundItems.h"

namespace quarn {

/// Reads the sizes of a huge folder's files on its own thread, in the order in which they are found, while another
/// thread (the lister) still lists and sorts the folder. Without it one core idles meanwhile: on two cores
/// `walk ordered` takes 0.29 s with it and 0.34 s without on a folder of `gentree flat DIR 300000`, the least of 20
/// runs each. It may read any number of sizes; others read the rest.
///
/// The lister owns the items and this object. In a full block only `sizes` changes; it belongs to the thread of this
/// object from `add` until `finish` returns. `mutex_` guards `blocks_`; no other lock is taken while it is held.
/// `add` and `finish` wake the thread. `isEnding_` is atomic, so that the thread sees it in the middle of a block.
/// Memory: one pointer per block, and 16 bytes per item of the blocks that were read.
class EarlySizes {
 public:
  /// `folder` must stay open. If no thread can be started, reads no sizes.
  explicit EarlySizes(int folder);
  ~EarlySizes();
  EarlySizes(const EarlySizes&) = delete;
  EarlySizes& operator=(const EarlySizes&) = delete;

  /// Hands over the blocks that became full since the last call. Their sizes belong to this object until `finish`.
  void add(FoundItems& items);
  /// Stops reading, even in the middle of a block, and joins the thread.
  void finish();

 private:
  void work();
  void readSizes(FoundItems::Block& block) const;

  const int folder_;
  std::mutex mutex_;
  std::condition_variable forWork_;
  std::vector<FoundItems::Block*> blocks_;
  std::atomic<bool> isEnding_ = false;
  std::thread thread_;
};

}  // namespace quarn

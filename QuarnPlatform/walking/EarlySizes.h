#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>
#include <vector>

#include "QuarnPlatform/walking/FoundItems.h"

namespace quarn {

/// Reads the sizes of a huge folder's files on a thread of its own, in the order in which they are found, while another
/// thread still lists the folder and sorts it: without that one core idles for as long as that takes. How far it
/// comes is open, and nothing depends on it: whatever it has no sizes of is left for others to read.
class EarlySizes {
 public:
  /// The open folder must stay open. Without a thread to be had no sizes are read.
  explicit EarlySizes(int folder);
  ~EarlySizes();
  EarlySizes(const EarlySizes&) = delete;
  EarlySizes& operator=(const EarlySizes&) = delete;

  /// Hands over what is full of the items since the last call, whose sizes are then this object's until `finish`.
  void add(FoundItems& items);
  /// Stops reading, also in the middle of a block, and waits until the thread has ended.
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

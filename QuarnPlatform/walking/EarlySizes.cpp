#include "QuarnPlatform/walking/EarlySizes.h"

#include <new>
#include <system_error>

#include "QuarnPlatform/base/HelperThread.h"
#include "QuarnPlatform/files/DirectoryReader.h"

namespace quarn {

EarlySizes::EarlySizes(int folder) : folder_(folder) {
  try {
    thread_ = std::thread([this] { work(); });
  } catch (const std::system_error&) {
    // The system gives no further thread.
  }
}

EarlySizes::~EarlySizes() { finish(); }

void EarlySizes::add(FoundItems& items) {
  const std::lock_guard lock(mutex_);
  while (blocks_.size() < items.fullBlocks()) blocks_.push_back(&items.fullBlock(blocks_.size()));
  forWork_.notify_one();
}

void EarlySizes::finish() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
    forWork_.notify_one();
  }
  thread_.join();
}

void EarlySizes::readSizes(FoundItems::Block& block) const {
  block.sizes.resize(block.items.size(), FoundItems::kNoSizes);
  for (std::size_t i = 0; i < block.items.size() && !isEnding_; ++i) {
    const ListedItem& item = block.items[i];
    ByteCounts sizes;
    if (item.type() != FileType::regular || block.sizes[i] != FoundItems::kNoSizes) continue;
    if (DirectoryReader::readSizes(folder_, block.name(item), sizes)) block.sizes[i] = sizes;
  }
}

void EarlySizes::work() {
  becomeHelperThread();
  std::unique_lock lock(mutex_);
  for (std::size_t next = 0;; ++next) {
    forWork_.wait(lock, [&] { return isEnding_ || next < blocks_.size(); });
    if (isEnding_) return;
    FoundItems::Block& block = *blocks_[next];
    lock.unlock();
    try {
      readSizes(block);
    } catch (const std::bad_alloc&) {
      return;  // the others read the sizes
    }
    lock.lock();
  }
}

}  // namespace quarn

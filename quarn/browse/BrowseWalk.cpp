#include "quarn/browse/BrowseWalk.h"

#include <utility>

namespace quarn {

void BrowseWalk::append(Batch& batch, const File& file) {
  batch.files.push_back(file);
  batch.lengths.push_back(file.name.size());
  batch.names += file.name;
}

void BrowseWalk::keep(Folder folder, const File& file) {
  Share& share = shareOf(folder);
  Batch full;
  {
    const std::lock_guard lock(share.mutex);
    Batch& batch = share.batches[folder];
    append(batch, file);
    if (batch.files.size() < kFilesTogether) return;
    full = std::exchange(batch, {});
  }
  handOver(folder, std::move(full));
}

void BrowseWalk::add(Folder folder, const Counted& /*files*/) {
  Share& share = shareOf(folder);
  Batch batch;
  {
    const std::lock_guard lock(share.mutex);
    const auto found = share.batches.find(folder);
    if (found == share.batches.end()) return;
    batch = std::move(found->second);
    share.batches.erase(found);
  }
  handOver(folder, std::move(batch));
}

void BrowseWalk::finish() {
  for (Share& share : shares_) {
    std::unordered_map<Folder, Batch> batches;
    {
      const std::lock_guard lock(share.mutex);
      batches = std::exchange(share.batches, {});
    }
    for (auto& [folder, batch] : batches) handOver(folder, std::move(batch));
  }
}

// The names may have moved while the batch grew.
void BrowseWalk::handOver(Folder folder, Batch batch) {
  std::size_t start = 0;
  for (std::size_t i = 0; i < batch.files.size(); ++i) {
    batch.files[i].name = std::string_view(batch.names).substr(start, batch.lengths[i]);
    start += batch.lengths[i];
  }
  tree_.keepAll(folder, batch.files);
}

}  // namespace quarn

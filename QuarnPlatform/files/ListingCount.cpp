#include "QuarnPlatform/files/ListingCount.h"

#include <atomic>
#include <mutex>
#include <utility>

// `listedEntries` and `isFolderWanted` are atomic and order nothing. The mutex guards the folder; it is a leaf, and is
// taken once for each look at the progress, however many folders a walk enters.

namespace quarn {
namespace {

std::atomic<std::uint64_t> listedEntries = 0;
std::atomic<bool> isFolderWanted = false;
std::mutex listedFolderMutex;

std::string& listedFolder() {
  static std::string folder;
  return folder;
}

}  // namespace

ListingCount ListingCount::now() {
  isFolderWanted.store(true, std::memory_order_relaxed);
  const std::lock_guard lock(listedFolderMutex);
  return {.entries = listedEntries.load(std::memory_order_relaxed), .folder = listedFolder()};
}

void ListingCount::add(std::uint64_t entries) { listedEntries.fetch_add(entries, std::memory_order_relaxed); }

bool ListingCount::wantsFolder() { return isFolderWanted.load(std::memory_order_relaxed); }

void ListingCount::tell(std::string path) {
  if (!isFolderWanted.exchange(false, std::memory_order_relaxed)) return;
  const std::lock_guard lock(listedFolderMutex);
  listedFolder() = std::move(path);
}

}  // namespace quarn

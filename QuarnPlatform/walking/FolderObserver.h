#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <string_view>

#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

/// Is told what a sizing walk counts, folder by folder. The walk calls it from several threads at once.
class FolderObserver {
 public:
  /// The observer's own number of a folder.
  using Folder = std::uint32_t;

  static constexpr std::int64_t kNoTime = std::numeric_limits<std::int64_t>::min();

  struct FolderFacts {
    std::string_view name;
    bool isHidden = false;
    bool isPackage = false;           ///< the Finder shows it as one item
    bool isRead = true;               ///< false for a folder that could not be opened
    std::int64_t modified = kNoTime;  ///< the last change of the folder itself, in seconds since 1970
  };
  /// The regular files directly in a folder, or some of them.
  struct Counted {
    ByteCounts sizes;
    ByteCounts ofHidden;  ///< the part of `sizes` that is in hidden files
    std::int64_t files = 0;
    std::int64_t newest = kNoTime;  ///< the latest change of a file's content, in seconds since 1970
  };
  struct File {
    std::string_view name;
    ByteCounts sizes{};
    std::int64_t modified = 0;
    std::uint64_t device = 0;  ///< identifies the file together with `inode`
    std::uint64_t inode = 0;
    std::uint64_t links = 1;  ///< the number of its names
    bool isHidden = false;
  };

  FolderObserver() = default;
  FolderObserver(const FolderObserver&) = delete;
  FolderObserver& operator=(const FolderObserver&) = delete;
  virtual ~FolderObserver() = default;

  /// The walk begins to read a folder. Called before any other call for this folder and for the folders in it.
  virtual Folder enter(Folder parent, const FolderFacts& facts) = 0;
  /// The walk leaves a folder out, with all below it.
  virtual void leaveOut(Folder parent, const FolderFacts& facts) = 0;
  /// Adds files of a folder. A big folder is added in parts.
  virtual void add(Folder folder, const Counted& files) = 0;
  /// A file for which `wants` was true.
  virtual void keep(Folder folder, const File& file) = 0;

  /// True if the file may be one of the largest. Costs no lock.
  [[nodiscard]] bool wants(const ByteCounts& sizes) const {
    return std::max(sizes.allocatedBytes, sizes.logicalBytes) > limit_.load(std::memory_order_relaxed);
  }

 protected:
  /// From now on, `wants` refuses files whose larger size is at most this.
  void refuseUpTo(std::int64_t bytes) { limit_.store(bytes, std::memory_order_relaxed); }

 private:
  std::atomic<std::int64_t> limit_ = -1;
};

}  // namespace quarn

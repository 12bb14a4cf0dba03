#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/walking/FolderObserver.h"

namespace quarn {

/// One name of a regular file that has several (hard links). A plain value.
struct LinkedName {
  std::uint64_t device = 0;  ///< identifies the file together with `inode`
  std::uint64_t inode = 0;
  std::uint64_t links = 0;  ///< the number of the file's names, on the whole disk
  ByteCounts sizes{};
  FolderObserver::Folder folder = 0;  ///< the observer's number of its folder; 0 without an observer
  friend bool operator==(const LinkedName&, const LinkedName&) = default;
};

/// Collects the names of files with several names, so that a sum can count each file once. Thread-safe. Memory is
/// bounded: it keeps `most` names, about 60 bytes each; files with one name cost nothing.
class LinkedNames {
 public:
  static constexpr std::size_t kMostNames = 250'000;

  explicit LinkedNames(std::size_t most = kMostNames) : most_(most) {}

  void add(const LinkedName& name);
  /// Moves the names out, in no particular order.
  [[nodiscard]] std::vector<LinkedName> take();
  /// False if there were more names than it keeps.
  [[nodiscard]] bool isWhole() const;

 private:
  const std::size_t most_;
  mutable std::mutex mutex_;
  std::vector<LinkedName> names_;
  bool isWhole_ = true;
};

/// Sorts the names by file and calls `consume` with all names of each file.
void forEachLinkedFile(std::vector<LinkedName>& names, const std::function<void(std::span<const LinkedName>)>& consume);

}  // namespace quarn

#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarn {

/// The reason why an item could not be read.
enum class UnreadableCause : std::uint8_t {
  permission,
  vanished,
  otherDevice,
  loop,
  limit,
  other,
  privacy,      ///< macOS: privacy protection refused it
  onlyInCloud,  ///< macOS: the content is not on the disk, and downloads are refused
};
inline constexpr std::size_t kUnreadableCauses = 8;

/// A folder or item that a walk or a lookup skipped.
struct UnreadableItem {
  std::string path;  ///< path on the Mac
  UnreadableCause cause = UnreadableCause::other;
  int error = 0;  ///< errno; 0 for a mount point that was not entered

  friend bool operator==(const UnreadableItem&, const UnreadableItem&) = default;
};

/// Collects the items that operations could not read. An item counts once per cause, however often it is met.
/// Thread-safe. Memory is bounded: the report keeps at most `kKeptItems` items with at most `kKeptBytes` of paths,
/// and only counts the others, without detecting repetitions. The order of items from a parallel walk is unspecified.
class ReadReport {
 public:
  static constexpr std::size_t kKeptItems = 10'000;
  static constexpr std::size_t kKeptBytes = 4'000'000;

  /// `error` is an errno; EXDEV means a mount point that was not entered.
  void add(std::string path, int error);
  void addOtherDevice(std::string path);
  /// Adds the items that another report keeps.
  void add(const ReadReport& other);

  [[nodiscard]] std::vector<UnreadableItem> items() const;
  [[nodiscard]] std::uint64_t count() const;
  [[nodiscard]] std::uint64_t count(UnreadableCause cause) const;

 private:
  void add(UnreadableItem item);

  mutable std::mutex mutex_;
  std::vector<UnreadableItem> items_;
  std::set<std::pair<UnreadableCause, std::string>> known_;  ///< causes and paths of the kept items
  std::size_t keptBytes_ = 0;
  std::uint64_t counts_[kUnreadableCauses] = {};
};

/// Maps an errno to a cause. EFBIG means that a limit of this library is exceeded. One file per operating system.
UnreadableCause unreadableCause(int error);

/// What a user can do about a cause: "run as root"; empty if nothing helps. One file per operating system.
std::string_view remedyFor(UnreadableCause cause);

}  // namespace quarn

#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace quarn {

/// Why an item could not be read.
enum class UnreadableCause : std::uint8_t { permission, vanished, otherDevice, loop, limit, other };

/// One folder or item that a walk or a look-up left out.
struct UnreadableItem {
  std::string path;  ///< as the Mac names it
  UnreadableCause cause = UnreadableCause::other;
  int error = 0;  ///< errno; 0 for a mount point that was not entered

  friend bool operator==(const UnreadableItem&, const UnreadableItem&) = default;
};

/// Collects what could not be read while operations go on past it. An item counts once for each cause, however often it
/// is come by. Safe from any thread; memory is bounded: the first items are kept, `kKeptItems` at most and with paths
/// of `kKeptBytes` at most, the rest only counted, and each time. A walk on several threads adds in no particular
/// order.
class ReadReport {
 public:
  static constexpr std::size_t kKeptItems = 10'000;
  static constexpr std::size_t kKeptBytes = 4'000'000;

  /// `error` is an errno; EXDEV stands for a mount point that was not entered.
  void add(std::string path, int error);
  void addOtherDevice(std::string path);

  [[nodiscard]] std::vector<UnreadableItem> items() const;
  [[nodiscard]] std::uint64_t count() const;
  [[nodiscard]] std::uint64_t count(UnreadableCause cause) const;

 private:
  void add(UnreadableItem item);

  mutable std::mutex mutex_;
  std::vector<UnreadableItem> items_;
  std::set<std::pair<UnreadableCause, std::string>> known_;  ///< cause and path of the items kept
  std::size_t keptBytes_ = 0;
  std::uint64_t counts_[6] = {};
};

/// The cause that an errno stands for; EFBIG for what is beyond a limit of this library.
UnreadableCause unreadableCause(int error);

}  // namespace quarn

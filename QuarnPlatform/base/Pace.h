#pragma once

#include <algorithm>
#include <chrono>

namespace quarn {

/// Limits how often something is reported: at most once per interval, and for at most a tenth of the time. Not
/// thread-safe.
class Pace {
 public:
  static constexpr std::chrono::milliseconds kOfProgress{100};

  /// The first report is due when one interval has passed.
  explicit Pace(std::chrono::milliseconds interval = kOfProgress) : interval_(interval) {}

  /// Calls `report` if it is due.
  template <class Report>
  void offer(const Report& report) {
    const Clock::time_point begin = Clock::now();
    if (begin < next_) return;
    report();
    const Clock::time_point end = Clock::now();
    next_ = end + std::max<Clock::duration>(interval_, kRest * (end - begin));
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr int kRest = 9;  ///< rests so many times as long as a report took

  std::chrono::milliseconds interval_;
  Clock::time_point next_ = Clock::now() + interval_;
};

}  // namespace quarn

#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace quarn {

/// The line on a terminal that says what goes on. A step is shown at once; if the work takes longer than `kSilence`, a
/// thread adds how many items were read, how many a second, and a folder.
///
/// Threads: the owner calls everything; the thread paints. `mutex_` guards all members but the thread, and is held
/// while painting, so that nothing is painted after `end` returned. The thread waits for `changed_`: with a limit of
/// time while work goes on, else until there is work or the line is destroyed. It blocks all signals.
class ProgressLine {
 public:
  static constexpr std::chrono::milliseconds kSilence{500};
  static constexpr std::chrono::milliseconds kInterval{200};

  /// What was read so far.
  struct Read {
    std::uint64_t items = 0;
    std::string folder{};
  };

  /// Paints on standard error, `width` columns. Without `read`, and without a thread to spare, shows steps alone.
  ProgressLine(std::size_t width, std::function<Read()> read);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Work goes on. An empty step paints nothing yet.
  void begin(std::string_view step);
  /// The work is done: removes the line.
  void end();

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  void paint(std::string_view text);
  [[nodiscard]] std::string readText(Clock::time_point now) const;

  const std::size_t width_;
  const std::function<Read()> read_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::string step_;
  Clock::time_point since_{};      // of the work that goes on
  std::uint64_t itemsBefore_ = 0;  // read before it
  bool isWorking_ = false;
  bool isShown_ = false;
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace quarn

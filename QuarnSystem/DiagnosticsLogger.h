#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarn {

/// The severity of a line, in ascending order.
enum class DiagnosticsLevel : std::uint8_t { trace, debug, info, warning, error };

/// The diagnostics log of the process. A background thread writes the lines, so callers never wait. The log is off
/// until `writeTo` is called. Thread-safe. Never fails: if the log cannot be written, the work continues.
class DiagnosticsLogger {
 public:
  /// Keys and values in output order.
  using Metadata = std::vector<std::pair<std::string, std::string>>;

  static DiagnosticsLogger& shared();
  ~DiagnosticsLogger();
  DiagnosticsLogger(const DiagnosticsLogger&) = delete;
  DiagnosticsLogger& operator=(const DiagnosticsLogger&) = delete;

  /// Appends to a host file from now on, one line per call, and closes the previous file. Returns false and turns the
  /// log off if the file cannot be opened; does not create folders and does not wait for a pipe without a reader. The
  /// caller must check that the file is not on the inspected volume.
  bool writeTo(const std::string& hostFile);
  /// Queues one line and returns at once:
  ///
  ///     2026-11-20T21:23:05.123Z trace [StorageScan] Enumerating root category=photos root="/Users/ann/My Pictures"
  ///
  /// Control characters, line ends of any script and backslashes are escaped ("\x0a", "\\"). Bytes that are not UTF-8
  /// become U+FFFD. Empty values and values with a space, "=" or a quote are quoted. So no text can imitate a line or
  /// control a terminal. If lines arrive faster than they can be written, the oldest queued lines are dropped, and a
  /// last line reports how many.
  void log(DiagnosticsLevel level, std::string_view category, std::string_view message, const Metadata& metadata);
  /// True if lines are written. Check this before you build expensive metadata.
  [[nodiscard]] bool isEnabled() const;
  /// Writes all queued lines and turns the log off. Returns false if the file did not take all of them.
  bool close();

 private:
  DiagnosticsLogger();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quarn

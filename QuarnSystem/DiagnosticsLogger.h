#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quarn {

/// How much a diagnostic line matters, rising.
enum class DiagnosticsLevel : std::uint8_t { trace, debug, info, warning, error };

/// The process-wide diagnostics log: a serial executor of its own writes the lines, so that no caller waits for it.
/// Silent until `writeTo` is called. Safe from any thread; nothing here fails: a log that cannot be written never
/// disturbs the work.
class DiagnosticsLogger {
 public:
  /// Metadata in the order in which it is written.
  using Metadata = std::vector<std::pair<std::string, std::string>>;

  static DiagnosticsLogger& shared();
  ~DiagnosticsLogger();
  DiagnosticsLogger(const DiagnosticsLogger&) = delete;
  DiagnosticsLogger& operator=(const DiagnosticsLogger&) = delete;

  /// Appends to a file of the host from now on, one line a call, and ends the file before. False, and silence, when it
  /// cannot be opened: its folder is not made, and a pipe that nobody reads is not waited for. Whether the file may be
  /// written at all (never on the inspected volume) is the caller's to know.
  bool writeTo(const std::string& hostFile);
  /// Hands one line to the executor and returns at once:
  ///
  ///     2026-11-20T21:23:05.123Z trace [StorageScan] Enumerating root category=photos root="/Users/ann/My Pictures"
  ///
  /// Control characters, line ends of any script and backslashes are escaped ("\x0a", "\\"), bytes that are not UTF-8
  /// become U+FFFD, and a value that is empty or holds a blank, "=" or a quote is quoted, so that no text can pass for
  /// a line of its own or drive a terminal. Should lines come faster than they are written for long, the oldest waiting
  /// ones are lost, and a last line tells how many.
  void log(DiagnosticsLevel level, std::string_view category, std::string_view message, const Metadata& metadata);
  /// Whether a line would be written at all: building metadata is worth it only then.
  [[nodiscard]] bool isEnabled() const;
  /// Waits until every line handed over is written, and stops writing. Whether the file took all of them.
  bool close();

 private:
  DiagnosticsLogger();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quarn

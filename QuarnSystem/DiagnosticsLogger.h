#pragma once

#include <cstdint>
#include <memory>
#include <string>
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

  /// Appends to a file of the host from now on, one line a call. False when it cannot be opened.
  bool writeTo(const std::string& hostFile);
  /// Hands one line to the executor and returns at once.
  void log(DiagnosticsLevel level, std::string category, std::string message, Metadata metadata);
  /// Whether a line would be written at all: building metadata is worth it only then.
  [[nodiscard]] bool isEnabled() const;
  /// Waits until every line handed over is written, and stops writing.
  void close();

 private:
  DiagnosticsLogger();
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace quarn

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "quarn/commands/Arguments.h"
#include "quarn/commands/CommandError.h"
#include "quarn/services/Services.h"
#include "quarn/terminal/SizeText.h"
#include "quarn/terminal/Terminal.h"
#include "quarn/terminal/UnreadSummary.h"

namespace quarn {

/// What a command works with: its words, the volume's services, and the two outputs. Data goes to standard output,
/// progress and warnings to standard error. One command, one context, one thread.
class CommandContext {
 public:
  explicit CommandContext(Arguments arguments);
  ~CommandContext();
  CommandContext(const CommandContext&) = delete;
  CommandContext& operator=(const CommandContext&) = delete;

  [[nodiscard]] const Arguments& arguments() const { return arguments_; }
  /// The services of the volume that the options name; opened when first asked for. Throws CommandError or FileError.
  const Services& services();
  /// What could not be read so far.
  [[nodiscard]] UnreadSummary unread() const { return unreadSummary(*report_); }
  /// Adds what an operation threw over, where the command goes on without it.
  void noteUnread(const FileError& error) { report_->add(error.path(), error.error()); }
  /// Set by Ctrl-C from the first time it is asked for; until then Ctrl-C ends the process as usual.
  const Cancellation& cancellation();

  [[nodiscard]] const Terminal& out() const { return out_; }
  [[nodiscard]] const Terminal& err() const { return err_; }
  [[nodiscard]] bool wantsJSON() const { return arguments_.has("--json"); }
  [[nodiscard]] bool wantsLines() const { return arguments_.has("--ndjson"); }
  [[nodiscard]] bool isVerbose() const { return arguments_.has("--verbose"); }
  [[nodiscard]] bool isQuiet() const { return arguments_.has("--quiet"); }
  [[nodiscard]] SizeUnits units() const { return units_; }
  [[nodiscard]] std::string size(std::int64_t bytes) const { return sizeText(bytes, units_); }
  /// A Mac path for people: the home folder as "~".
  [[nodiscard]] std::string displayPath(const FileURL& url);

  /// Writes text for people to standard output. Throws FileError when it is not taken.
  void print(std::string_view text) const;
  /// Whether Ctrl-C ended what was asked for, so that only a part of it is there.
  [[nodiscard]] bool isInterrupted() const { return cancellation_ && cancellation_->isCancelled(); }

  /// Writes one JSON document: the schema's version, the members given, and what could not be read.
  void printDocument(nlohmann::ordered_json members) const;
  /// Writes each element of an array on a line of its own.
  void printLines(const nlohmann::ordered_json& list) const;
  /// Shows a line of progress in place of the one before; only people on a terminal see it.
  void progress(std::string_view line);
  void endProgress();
  void warn(std::string_view text);
  /// Says what could not be read, a line a cause, each item with --verbose.
  void tellUnread();
  /// The same, and how the command ends.
  ExitCode finish(ExitCode code = ExitCode::ok);

 private:
  std::unique_ptr<Services> openServices();
  void warnIfWritable(const FileManager& files);
  void openLog(const std::string& file, const std::string& volumeFolder);

  Arguments arguments_;
  Terminal out_;
  Terminal err_;
  SizeUnits units_;
  std::shared_ptr<ReadReport> report_;
  std::optional<Cancellation> cancellation_;
  std::unique_ptr<Services> services_;
  bool isProgressShown_ = false;
};

/// The version of the JSON documents' shape.
inline constexpr int kSchemaVersion = 1;

/// A JSON document: the version, and these members behind it.
nlohmann::ordered_json versioned(const nlohmann::ordered_json& members);

/// A JSON value as text, on one line without `indent`, and a line's end. Bytes that are no UTF-8 are replaced.
std::string documentText(const nlohmann::ordered_json& value, int indent = -1);

}  // namespace quarn

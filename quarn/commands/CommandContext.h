#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnCore/scans/Scan.h"
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

class ProgressLine;

/// The environment of one run of a command: arguments, services and output. Data goes to standard output, progress
/// and warnings to standard error. Not thread-safe.
class CommandContext {
 public:
  explicit CommandContext(Arguments arguments);
  ~CommandContext();
  CommandContext(const CommandContext&) = delete;
  CommandContext& operator=(const CommandContext&) = delete;

  [[nodiscard]] const Arguments& arguments() const { return arguments_; }
  /// The services of the selected volume; opens it on first use. Throws CommandError or FileError.
  const Services& services();
  /// The scan that --scan names, and null without that option. The first call opens it, adds what the scan could not
  /// read to `unread`, and confines the process. Throws ScanError or FileError.
  const Scan* scan();
  /// Confines the process to the files that are open and to its output, for commands that read no volume.
  void confineToOpenFiles() const;
  /// The items that could not be read so far.
  [[nodiscard]] UnreadSummary unread() const { return unreadSummary(*report_); }
  /// Records an error that the command survives.
  void noteUnread(const FileError& error) { report_->add(error.path(), error.error()); }
  /// The flag that Ctrl-C sets. The first call installs the handler; before it, Ctrl-C terminates the process as
  /// usual.
  const Cancellation& cancellation();

  [[nodiscard]] const Terminal& out() const { return out_; }
  [[nodiscard]] const Terminal& err() const { return err_; }
  [[nodiscard]] bool wantsJSON() const { return arguments_.has("--json"); }
  [[nodiscard]] bool wantsLines() const { return arguments_.has("--ndjson"); }
  [[nodiscard]] bool isVerbose() const { return arguments_.has("--verbose"); }
  [[nodiscard]] bool isQuiet() const { return arguments_.has("--quiet"); }
  [[nodiscard]] SizeUnits units() const { return units_; }
  [[nodiscard]] std::string size(std::int64_t bytes) const { return sizeText(bytes, units_); }
  /// The path for display, with the home folder as "~"; with --all-users as it is.
  [[nodiscard]] std::string displayPath(const FileURL& url);
  /// The home folder of the volume or of the scan.
  [[nodiscard]] FileURL home();
  /// True with --all-users, and for answers from a scan of all users. Then no home folder is special.
  [[nodiscard]] bool isOfAllUsers();

  /// Writes text to standard output. Throws FileError if the write fails.
  void print(std::string_view text) const;
  /// True if Ctrl-C stopped the command early, so its result is partial.
  [[nodiscard]] bool isInterrupted() const { return cancellation_ && cancellation_->isCancelled(); }

  /// Writes a JSON document: the schema version, the members, and the items that could not be read.
  void printDocument(nlohmann::ordered_json members) const;
  /// Writes each element of an array on its own line.
  void printLines(const nlohmann::ordered_json& list) const;
  /// Replaces the progress line. Does nothing unless standard error is a terminal.
  void progress(std::string_view line);
  void endProgress() const;
  void warn(std::string_view text);
  /// Prints the causes of unread items, one per line; with --verbose also each item.
  void tellUnread();
  /// Calls tellUnread() and returns the exit code: `code`, or `incomplete` or `interrupted`.
  ExitCode finish(ExitCode code = ExitCode::ok);

 private:
  [[nodiscard]] bool isStoppable() const;
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
  std::optional<Scan> scan_;
  std::unique_ptr<ProgressLine> progress_;  ///< null if nothing is to be shown
};

/// The version of the form of the JSON documents.
inline constexpr int kSchemaVersion = 1;

/// Returns a JSON document: the schema version, then the members.
nlohmann::ordered_json versioned(const nlohmann::ordered_json& members);

/// Serialises a JSON value with a final newline; without `indent` on one line. Replaces invalid UTF-8.
std::string documentText(const nlohmann::ordered_json& value, int indent = -1);

}  // namespace quarn

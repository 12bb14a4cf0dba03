#pragma once

#include <map>
#include <string>

#include "quarn/commands/CommandContext.h"
#include "quarn/report/ReportPage.h"

namespace quarn {

/// How many items each list of a report has.
inline constexpr std::size_t kReportedItems = 40;

/// English for the sentences of leftovers that a scan keeps in the language of the run that made it.
class ScannedSentences {
 public:
  /// Reads the catalogue, so it comes before the process confines itself. The process has the locale of the scan until
  /// the next `useLocalization`. Throws ScanError and FileError.
  explicit ScannedSentences(const std::string& scanFile);

  /// The sentence itself if it is not a known one.
  [[nodiscard]] std::string english(const std::string& sentence) const;

 private:
  std::map<std::string, std::string> english_;
};

/// The report on a volume from a scan of it. Says on standard error what the scan does not have.
VolumeReport scannedVolumeReport(const Scan& scan, const ScannedSentences& sentences, CommandContext& context);

}  // namespace quarn

#pragma once

#include "quarn/commands/CommandContext.h"
#include "quarn/report/ReportPage.h"

namespace quarn {

/// How many items each list of a report has.
inline constexpr std::size_t kReportedItems = 40;

/// The report on a volume from a scan of it. Says on standard error what the scan does not have.
VolumeReport scannedVolumeReport(const Scan& scan, CommandContext& context);

}  // namespace quarn

#pragma once

#include <string>

#include "QuarnCore/scans/ScanDifference.h"
#include "quarn/report/ReportPage.h"

namespace quarn {

/// The section "changes" of a report: what differs from an earlier scan.
std::string changesSection(const ScanDifference& difference, const ReportFrame& frame);

}  // namespace quarn

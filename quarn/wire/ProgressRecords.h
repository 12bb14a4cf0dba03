#pragma once

#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/storage/StorageDashboardService.h"

namespace quarn {

/// The progress value of an inspection: a phase begins.
struct PhaseProgress {
  AppInspectionService::Phase phase = AppInspectionService::Phase::uninstallers;
  friend bool operator==(const PhaseProgress&, const PhaseProgress&) = default;
};

/// The progress value of the partitioned scan.
struct TotalsProgress {
  StorageDashboardService::CategorySizes totals;  ///< so far
  friend bool operator==(const TotalsProgress&, const TotalsProgress&) = default;
};

}  // namespace quarn

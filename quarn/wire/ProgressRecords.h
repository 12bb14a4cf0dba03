#pragma once

#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/storage/StorageDashboardService.h"

namespace quarn {

/// What an inspection reports when a phase begins.
struct PhaseProgress {
  AppInspectionService::Phase phase = AppInspectionService::Phase::uninstallers;
  friend bool operator==(const PhaseProgress&, const PhaseProgress&) = default;
};

/// What the partitioned scan reports while it runs.
struct TotalsProgress {
  StorageDashboardService::CategorySizes totals;  ///< so far
  friend bool operator==(const TotalsProgress&, const TotalsProgress&) = default;
};

}  // namespace quarn

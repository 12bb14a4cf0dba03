#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/Storage.h"

namespace quarn {

/// The progress value of an inspection: a phase begins, or changes what was found. A client applies a change in this
/// order: it replaces its uninstallers, removes the artifacts with the ids in `removed`, then replaces each artifact
/// whose id it knows and appends the others.
struct PhaseProgress {
  AppInspectionService::Phase phase = AppInspectionService::Phase::uninstallers;
  std::optional<std::vector<UninstallerCandidate>> uninstallers{};
  std::optional<std::vector<std::string>> removed{};
  std::optional<std::vector<Artifact>> artifacts{};
  friend bool operator==(const PhaseProgress&, const PhaseProgress&) = default;
};

/// The progress value of the inspection of many apps: the next element of the result.
struct InspectionProgress {
  AppInspection inspection;
  friend bool operator==(const InspectionProgress&, const InspectionProgress&) = default;
};

/// The progress value of a list of items. The list so far is the first `kept` items of the list before, then `items`.
struct ItemsProgress {
  std::int64_t kept = 0;
  std::vector<TopItem> items;
  friend bool operator==(const ItemsProgress&, const ItemsProgress&) = default;
};

/// The progress value of a size.
struct SizeProgress {
  SizeInfo size;  ///< so far
  friend bool operator==(const SizeProgress&, const SizeProgress&) = default;
};

/// The progress value of the partitioned scan.
struct TotalsProgress {
  StorageDashboardService::CategorySizes totals;  ///< so far
  friend bool operator==(const TotalsProgress&, const TotalsProgress&) = default;
};

}  // namespace quarn

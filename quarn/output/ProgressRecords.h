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

/// The whole table of storage signatures.
struct SignatureTable {
  std::int64_t version = 0;
  std::vector<StorageSignatureRegistry::Signature> signatures;
  friend bool operator==(const SignatureTable&, const SignatureTable&) = default;
};

}  // namespace quarn

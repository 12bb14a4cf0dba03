#include "quarn/wire/UsualOptions.h"

#include "QuarnCore/scans/ScanStore.h"

namespace quarn {

const AppInspectionService::Options& usualInspectionOptions() { return ScanStore::kInspection; }

ArtifactScanner::Options usualScanOptions() {
  const AppInspectionService::Options& options = usualInspectionOptions();
  return {.includeHeuristicSearch = options.includeHeuristicSearch,
          .heuristicMaxDepth = options.heuristicMaxDepth,
          .heuristicMaxResults = options.heuristicMaxResults,
          .includeVendorHeuristics = options.includeVendorHeuristics,
          .includeSystemArtifacts = options.includeSystemArtifacts,
          .includeSystemHeuristicSearch = options.includeSystemHeuristicSearch,
          .computeSizes = options.computeArtifactSizes};
}

}  // namespace quarn

#pragma once

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/inspection/AppInspectionService.h"

namespace quarn {

/// The part of an inspection's options that the artifact scanner takes.
[[nodiscard]] inline ArtifactScanner::Options scannerOptions(const AppInspectionService::Options& options) {
  return {.includeHeuristicSearch = options.includeHeuristicSearch,
          .heuristicMaxDepth = options.heuristicMaxDepth,
          .heuristicMaxResults = options.heuristicMaxResults,
          .includeVendorHeuristics = options.includeVendorHeuristics,
          .includeSystemArtifacts = options.includeSystemArtifacts,
          .includeSystemHeuristicSearch = options.includeSystemHeuristicSearch,
          .computeSizes = options.computeArtifactSizes};
}

}  // namespace quarn

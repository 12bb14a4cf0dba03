#pragma once

#include "QuarnCore/inspection/AppInspectionService.h"

namespace quarn {

/// Options with every flag off and every limit 0.
inline AppInspectionService::Options leastInspectionOptions() {
  return {.includeHeuristicSearch = false,
          .heuristicMaxDepth = 0,
          .heuristicMaxResults = 0,
          .includeDocumentsHeuristicSearch = false,
          .documentsHeuristicMaxDepth = 0,
          .documentsHeuristicMaxResults = 0,
          .includeVendorHeuristics = false,
          .includeSystemArtifacts = false,
          .includeSystemHeuristicSearch = false,
          .includeGroupContainers = false,
          .includeLaunchd = false,
          .includeReceipts = false,
          .includeKernelExtensions = false,
          .computeArtifactSizes = false};
}

inline ArtifactScanner::Options leastScanOptions() {
  return {.includeHeuristicSearch = false,
          .heuristicMaxDepth = 0,
          .heuristicMaxResults = 0,
          .includeVendorHeuristics = false,
          .includeSystemArtifacts = false,
          .includeSystemHeuristicSearch = false,
          .computeSizes = false};
}

}  // namespace quarn

#pragma once

#include <vector>

#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Ensures that each item is part of at most one artifact. Applies to all artifacts, not only those of vendor
/// profiles: `ArtifactScanner::scan` uses it for the standard locations and the searches. Stateless.
struct VendorArtifactDeduplicator {
  VendorArtifactDeduplicator() = delete;

  /// Returns the artifacts, shortest first path first, without the items that an earlier artifact covers. Drops
  /// artifacts without items; artifacts that lost items get a new id.
  static std::vector<Artifact> deduplicate(const std::vector<Artifact>& artifacts, const FileManager& files);
};

}  // namespace quarn

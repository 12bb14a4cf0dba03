#pragma once

#include <vector>

#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Makes sure that one item on the disk is reported by at most one artifact. Stateless.
struct VendorArtifactDeduplicator {
  VendorArtifactDeduplicator() = delete;

  /// The artifacts, shortest first path first, without the items that an artifact before them covers; an artifact left
  /// without items is dropped, one that keeps some gets a new id.
  static std::vector<Artifact> deduplicate(const std::vector<Artifact>& artifacts, const FileManager& files);
};

}  // namespace quarn

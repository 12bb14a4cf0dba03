#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Builds a removal plan from an inspection and a cleanup mode. Does not execute it. Never fails.
class AppRemovalPlanner {
 public:
  explicit AppRemovalPlanner(FileManager files);

  /// The artifacts that the mode selects by default, in the order of the inspection.
  [[nodiscard]] static std::vector<Artifact> defaultSelectedArtifacts(const AppInspection& inspection,
                                                                      CleanupMode mode);

  /// The plan for `selectedArtifacts`, or for the default selection of the mode if absent. An empty list is a
  /// selection.
  [[nodiscard]] AppRemovalPlanPreview buildPreview(
      const AppInspection& inspection, CleanupMode mode,
      const std::optional<std::vector<Artifact>>& selectedArtifacts = std::nullopt) const;

 private:
  FileManager files_;
};

}  // namespace quarn

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Turns an inspection and a cleanup mode into the plan of a removal. Performs nothing. A plain value; never fails.
class AppRemovalPlanner {
 public:
  explicit AppRemovalPlanner(FileManager files);

  /// The inspection's artifacts that the mode selects by itself, in the inspection's order.
  [[nodiscard]] static std::vector<Artifact> defaultSelectedArtifacts(const AppInspection& inspection,
                                                                      CleanupMode mode);

  /// The plan for `selectedArtifacts`, or for the mode's own selection when they are absent (an empty list is a
  /// selection).
  [[nodiscard]] AppRemovalPlanPreview buildPreview(
      const AppInspection& inspection, CleanupMode mode,
      const std::optional<std::vector<Artifact>>& selectedArtifacts = std::nullopt) const;

 private:
  FileManager files_;
};

}  // namespace quarn

#pragma once

#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/Date.h"
#include "QuarnModels/SystemRecords.h"

namespace quarn {

/// The result of inspecting an app.
struct AppInspection {
  AppEntity app{};
  std::vector<UninstallerCandidate> uninstallers{};
  std::vector<Artifact> artifacts{};  ///< merged by id, in the order of the phases that found them
  Date inspectedAt{};
  friend bool operator==(const AppInspection&, const AppInspection&) = default;
};

}  // namespace quarn

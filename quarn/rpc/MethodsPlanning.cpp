#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

/// A byte sum that overflows 64 bits terminates the program, because no disk is that large. The sizes in a request
/// are untrusted, so check their sum first.
void requireSumFits(const std::vector<Artifact>& artifacts, const std::string& param) {
  std::int64_t sum = 0;
  for (const Artifact& artifact : artifacts) {
    if (artifact.size && __builtin_add_overflow(sum, artifact.size->allocatedBytes, &sum)) {
      throw DecodingError(param, "the sum of the sizes overflows 64 bits");
    }
  }
}

std::vector<Artifact> defaultSelectedArtifacts(const Context& /*context*/, const AppInspection& inspection,
                                               CleanupMode mode) {
  return AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode);
}

AppRemovalPlanPreview buildPreview(const Context& context, const AppInspection& inspection, CleanupMode mode,
                                   const std::optional<std::vector<Artifact>>& selectedArtifacts) {
  if (selectedArtifacts) {
    requireSumFits(*selectedArtifacts, "selectedArtifacts");
  } else {
    requireSumFits(AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode), "inspection.artifacts");
  }
  return context.services.appRemovalPlanner.buildPreview(inspection, mode, selectedArtifacts);
}

// clang-format off
constexpr std::array kPlanningMethods{
    method<&defaultSelectedArtifacts>("AppRemovalPlanner.defaultSelectedArtifacts", "inspection", "mode"),
    method<&buildPreview>("AppRemovalPlanner.buildPreview", "inspection", "mode", "selectedArtifacts"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> planningMethods() { return kPlanningMethods; }

}  // namespace quarn

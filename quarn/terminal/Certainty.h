#pragma once

#include "QuarnModels/Artifact.h"

namespace quarn {

/// Below this certainty, a find merely resembles the app. Tables and reports mark such finds.
inline constexpr double kLikely = 0.5;

[[nodiscard]] inline bool isUncertain(const Artifact& artifact) { return artifact.confidence < kLikely; }

}  // namespace quarn

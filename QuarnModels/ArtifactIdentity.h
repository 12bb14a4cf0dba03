#pragma once

#include <utility>

#include "QuarnModels/Artifact.h"

namespace quarn {

/// Sets the id with `Artifact::makeID` and returns the artifact. Create every artifact through this function, so that
/// none lacks an id.
inline Artifact identified(Artifact artifact) {
  artifact.id = Artifact::makeID(artifact.kind, artifact.scope, artifact.urls);
  return artifact;
}

}  // namespace quarn

#pragma once

#include <utility>

#include "QuarnModels/Artifact.h"

namespace quarn {

/// The artifact with the id that `Artifact::makeID` makes of it. Every artifact is made through this function, so that
/// none leaves its finder without an id.
inline Artifact identified(Artifact artifact) {
  artifact.id = Artifact::makeID(artifact.kind, artifact.scope, artifact.urls);
  return artifact;
}

}  // namespace quarn

#pragma once

#include <functional>
#include <string_view>

#include "QuarnCore/ownership/OwnershipState.h"
#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// Lists the places, judges their entries, and then looks among those without an owner for leftovers. Fills the state's
/// entries.
void buildOwnership(OwnershipState& state, bool includeSystem,
                    const std::function<void(std::string_view place)>& progress, const Cancellation& cancellation);

}  // namespace quarn

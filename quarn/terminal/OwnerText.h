#pragma once

#include <string>

#include "QuarnCore/ownership/Ownership.h"

namespace quarn {

/// The owners of an entry for people: "Lumen Notes", "A, B and 3 more", "macOS", "Old Editor (not installed)", "–".
std::string ownerText(const Ownership& ownership);

}  // namespace quarn

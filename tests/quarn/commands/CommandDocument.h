#pragma once

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"

namespace quarn {

/// The standard output of a run as JSON; a discarded value if it is not one document.
inline nlohmann::json document(const CommandRun& run) { return nlohmann::json::parse(run.out, nullptr, false); }

}  // namespace quarn

#pragma once

#include <string_view>

#include "QuarnPlatform/json/JSONValue.h"

namespace quarn {

/// Reads usual JSON many times as fast as the library: every text that it accepts, the library accepts with the same
/// values. Returns false for everything else, which the library must judge: whatever is not JSON, and a few rare
/// numbers. Afterwards the builder holds rubbish.
[[nodiscard]] bool readPlainJSON(std::string_view text, JSONBuilder& builder);

}  // namespace quarn

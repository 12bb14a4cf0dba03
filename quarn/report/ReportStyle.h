#pragma once

#include <string_view>

namespace quarn {

/// The style sheet of the reports, for light and dark themes, all screen widths, and print. The classes with white
/// text are "c0" to "c8" (storage categories) and "risk-safe", "risk-caution", "risk-danger".
std::string_view reportStyle();

}  // namespace quarn

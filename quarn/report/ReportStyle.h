#pragma once

#include <string_view>

namespace quarn {

/// The look of the reports: one style sheet, light and dark, on screens of any width and on paper. Colours that stand
/// under white text are the classes "c0" to "c8" (storage categories) and "risk-safe", "risk-caution", "risk-danger".
std::string_view reportStyle();

}  // namespace quarn

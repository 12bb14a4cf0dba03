#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace quarn {

/// A time in UTC with a resolution of one second.
using Date = std::chrono::sys_seconds;

/// "2026-11-20T21:23:05Z".
std::string toISO8601(Date date);
/// Parses exactly that form. Absent for any other text and for dates that do not exist.
std::optional<Date> dateFromISO8601(std::string_view text);

}  // namespace quarn

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace quarn {

/// A moment in UTC, to the second.
using Date = std::chrono::sys_seconds;

/// "2026-11-20T21:23:05Z".
std::string toISO8601(Date date);
/// Reads exactly that form; absent for anything else or a date that does not exist.
std::optional<Date> dateFromISO8601(std::string_view text);

}  // namespace quarn

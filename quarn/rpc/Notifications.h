#pragma once

#include <array>
#include <string_view>

namespace quarn {

/// A kind of message without a response.
struct NotificationRow {
  struct Param {
    std::string_view name;
    std::string_view type;
  };

  std::string_view name;
  std::string_view sender;      ///< "process" or "client"
  std::array<Param, 2> params;  ///< unused entries have no name
  std::string_view meaning;
};

inline constexpr std::string_view kProgressNotification = "$/progress";
inline constexpr std::string_view kCancelNotification = "$/cancelRequest";

// clang-format off
inline constexpr std::array<NotificationRow, 2> kNotifications{{
    {.name = kProgressNotification, .sender = "process", .params = {{{"id", "string or number or null"}, {"value", "PhaseProgress or TotalsProgress"}}}, .meaning = "progress of the request with that id; only if its params hold \"progress\": true"},
    {.name = kCancelNotification,   .sender = "client",  .params = {{{"id", "string or number or null"}}}, .meaning = "cancels the request with that id"},
}};
// clang-format on

}  // namespace quarn

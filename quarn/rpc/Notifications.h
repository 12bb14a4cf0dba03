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
inline constexpr std::string_view kUnreadNotification = "$/unread";
inline constexpr std::string_view kCancelNotification = "$/cancelRequest";

// clang-format off
inline constexpr std::array<NotificationRow, 3> kNotifications{{
    {.name = kProgressNotification, .sender = "process", .params = {{{"id", "string or number or null"}, {"value", "PhaseProgress or InspectionProgress or ItemsProgress or SizeProgress or TotalsProgress"}}}, .meaning = "progress of the request with that id; only if its params hold \"progress\": true"},
    {.name = kUnreadNotification, .sender = "process",
     .params = {{{"id", "string or number or null"}, {"value", "Unread"}}},
     .meaning = "what the request with that id could not read; only if its params hold \"reportUnread\": true"},
    {.name = kCancelNotification, .sender = "client", .params = {{{"id", "string or number or null"}}},
     .meaning = "cancels the request with that id"},
}};
// clang-format on

}  // namespace quarn

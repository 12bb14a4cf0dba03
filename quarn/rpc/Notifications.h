#pragma once

#include <array>
#include <string_view>

namespace quarn {

/// A message that is not answered.
struct NotificationRow {
  struct Param {
    std::string_view name;
    std::string_view type;
  };

  std::string_view name;
  std::string_view sender;      ///< "process" or "client"
  std::array<Param, 2> params;  ///< those without a name do not count
  std::string_view meaning;
};

inline constexpr std::string_view kProgressNotification = "$/progress";
inline constexpr std::string_view kCancelNotification = "$/cancelRequest";

// clang-format off
inline constexpr std::array<NotificationRow, 2> kNotifications{{
    {.name = kProgressNotification, .sender = "process", .params = {{{"id", "string or number or null"}, {"value", "PhaseProgress or TotalsProgress"}}}, .meaning = "how far the request of that id has come, when its params hold \"progress\": true"},
    {.name = kCancelNotification,   .sender = "client",  .params = {{{"id", "string or number or null"}}}, .meaning = "the request of that id is no longer wanted"},
}};
// clang-format on

}  // namespace quarn

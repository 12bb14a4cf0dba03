#pragma once

#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "quarn/rpc/Method.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {

/// The param that every method takes besides its own: `true` asks for the notification "$/unread".
inline constexpr ParamRow kReportUnreadParam{.name = "reportUnread", .type = &typeName<std::optional<bool>>};

/// The value of "$/unread": whether the answer is complete, and the record of unread items that the documents of
/// `--json` have. An answer is not complete if data of the volume is missing from it, or if its request was cancelled.
[[nodiscard]] nlohmann::ordered_json unreadValue(const ReadReport& report, const Cancellation& cancellation);

/// The records and enumerations of the interface: those of the library, and those of that value.
[[nodiscard]] std::vector<RecordDescription> interfaceRecords();
[[nodiscard]] std::vector<EnumerationDescription> interfaceEnumerations();

}  // namespace quarn

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

/// What a command could not read, as it stood when it ended: a plain value that tables, JSON and reports are made from.
struct UnreadSummary {
  /// One cause, in the order in which causes are always told.
  struct Cause {
    std::string_view id;       ///< "permission"
    std::string_view meaning;  ///< "permission denied"
    std::uint64_t count = 0;
  };

  std::vector<Cause> causes;          ///< every cause, those without items too
  std::vector<UnreadableItem> items;  ///< as many as the read report keeps, by path

  [[nodiscard]] std::uint64_t count() const;
  /// Whether the result lacks something that is on the volume: what vanished is not there any more, and a mount point
  /// is another volume's.
  [[nodiscard]] bool isIncomplete() const;
};

UnreadSummary unreadSummary(const ReadReport& report);

/// The raw string of a cause: "otherDevice".
std::string_view causeID(UnreadableCause cause);

/// "3 items: permission denied".
std::string causeLine(const UnreadSummary::Cause& cause);

/// "other: /Library/x: Input/output error"; the error is left out where the cause says it all.
std::string itemLine(const UnreadableItem& item);

/// The member "unreadable" of every document: how many, how many a cause, and which.
nlohmann::ordered_json toJSON(const UnreadSummary& summary);

}  // namespace quarn

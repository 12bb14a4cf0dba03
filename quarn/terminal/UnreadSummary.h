#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

/// A snapshot of the items that a command could not read. Tables, JSON and reports are made from it.
struct UnreadSummary {
  /// One cause of failure; causes have a fixed order.
  struct Cause {
    std::string_view id;       ///< "permission"
    std::string_view meaning;  ///< "permission denied"
    std::string_view remedy;   ///< "run as root"; may be empty
    std::uint64_t count = 0;
  };

  std::vector<Cause> causes;          ///< all causes, including those without items
  std::vector<UnreadableItem> items;  ///< as many as the read report keeps, sorted by path

  [[nodiscard]] std::uint64_t count() const;
  /// True if the result lacks data that is on the volume. Vanished items are gone, and mount points belong to other
  /// volumes; neither makes a result incomplete.
  [[nodiscard]] bool isIncomplete() const;
};

UnreadSummary unreadSummary(const ReadReport& report);

/// The raw string of a cause: "otherDevice".
std::string_view causeID(UnreadableCause cause);

/// "3 items: permission denied".
std::string causeLine(const UnreadSummary::Cause& cause);

/// The same with the first item and what the user can do: "3 items: permission denied, such as /Users/bob (run as root;
/// use --verbose to list them)". With `areListed` without the item, because the list of all items follows.
std::string noteLine(const UnreadSummary& summary, const UnreadSummary::Cause& cause, bool areListed);

/// "other: /Library/x: Input/output error"; the error is left out where the cause says it all.
std::string itemLine(const UnreadableItem& item);

/// The member "unreadable" of every document: the total, the count of each cause, and the items.
nlohmann::ordered_json toJSON(const UnreadSummary& summary);

}  // namespace quarn

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "QuarnModels/Storage.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/CommandRow.h"

namespace quarn {

/// The filters of lists. A command names those that its list can take; another one is a usage error.
enum class Filter : std::uint8_t { minSize, olderThan, newerThan, exclude, owner, category, sort, limit };

/// The order of a list.
enum class ListOrder : std::uint8_t { size, name, age };
template <>
struct RawValues<ListOrder> {
  static constexpr std::array<std::string_view, 3> kStrings{"size", "name", "age"};
};

/// The one table of filters, in the order of `Filter`.
// clang-format off
inline constexpr std::array kFilterOptions{
    OptionRow{.name = "--min-size", .argument = "SIZE",
              .help = "Leave out what is smaller on disk: 500KB, 10MB, 1.5GiB"},
    OptionRow{.name = "--older-than", .argument = "AGE",
              .help = "Only what did not change for AGE: 90d, 12w, 6m or 2y"},
    OptionRow{.name = "--newer-than", .argument = "AGE", .help = "Only what changed in the last 90d, 12w, 6m or 2y"},
    OptionRow{.name = "--exclude", .argument = "GLOB", .help = "Leave out what matches (* in one name) and all in it",
              .isRepeatable = true},
    OptionRow{.name = "--owner", .argument = "APP", .help = "Only what belongs to APP, a name or bundle identifier"},
    OptionRow{.name = "--category", .argument = "C", .help = "Only this storage category",
              .choices = kChoices<StorageCategoryID, StorageCategoryID::other>},
    OptionRow{.name = "--sort", .argument = "KEY", .help = "Order: size (largest first), name, or age (oldest first)",
              .choices = kChoices<ListOrder>},
    OptionRow{.name = "--limit", .argument = "N", .help = "List at most N rows", .isNumber = true},
};
// clang-format on
static_assert(kFilterOptions.size() == static_cast<std::size_t>(Filter::limit) + 1);

/// The rows of some filters, for the table of a command.
template <Filter... filters>
inline constexpr std::array<OptionRow, sizeof...(filters)> kFilters{
    kFilterOptions[static_cast<std::size_t>(filters)]...};

/// One array of options after another.
template <std::size_t left, std::size_t right>
constexpr std::array<OptionRow, left + right> operator+(const std::array<OptionRow, left>& first,
                                                        const std::array<OptionRow, right>& second) {
  std::array<OptionRow, left + right> rows{};
  std::copy(second.begin(), second.end(), std::copy(first.begin(), first.end(), rows.begin()));
  return rows;
}

/// The options of a command that are filters, as words: "--min-size, --sort and --limit"; empty if there are none.
std::string filterNames(const CommandRow& command);

}  // namespace quarn

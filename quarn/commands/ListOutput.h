#pragma once

#include <functional>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "quarn/commands/CommandContext.h"
#include "quarn/terminal/Table.h"

namespace quarn {

class ListFilters;

/// {"rows": 12, "bytes": 4096, "isExact": true}: what a list left out. "bytes" is null if no size of these rows is
/// known.
nlohmann::ordered_json leftOutJSON(const ListFilters& filters);

/// Prints a table, and below it what `filters` left out, if it is not null. For an empty table, warns "nothing found",
/// unless items could not be read or the command was interrupted. After an interruption, also prints that the list is
/// incomplete.
void showTable(CommandContext& context, const Table& table, const ListFilters* filters = nullptr);

/// Prints a list as the options require: a JSON document with the list as the member `name`, one JSON value per line,
/// or the table. A document says in the member "leftOut" what `filters` left out, and has the members of `more`, if it
/// is not null.
void showList(CommandContext& context, std::string_view name, const nlohmann::ordered_json& list, const Table& table,
              const ListFilters* filters = nullptr, const nlohmann::ordered_json* more = nullptr);

/// The two forms of a list. Only the one that is printed is made.
struct ListForms {
  std::function<nlohmann::ordered_json()> json;
  std::function<Table()> table;
};
void showList(CommandContext& context, std::string_view name, const ListForms& list,
              const ListFilters* filters = nullptr, const nlohmann::ordered_json* more = nullptr);

}  // namespace quarn

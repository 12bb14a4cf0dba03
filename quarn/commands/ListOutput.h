#pragma once

#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "quarn/commands/CommandContext.h"
#include "quarn/terminal/Table.h"

namespace quarn {

/// Prints a table. For an empty table, warns "nothing found", unless items could not be read or the command was
/// interrupted. After an interruption, also prints that the list is incomplete.
void showTable(CommandContext& context, const Table& table);

/// Prints a list as the options require: a JSON document with the list as the member `name`, one JSON value per line,
/// or the table.
void showList(CommandContext& context, std::string_view name, const nlohmann::ordered_json& list, const Table& table);

}  // namespace quarn

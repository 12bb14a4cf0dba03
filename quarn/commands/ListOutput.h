#pragma once

#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "quarn/commands/CommandContext.h"
#include "quarn/terminal/Table.h"

namespace quarn {

/// Shows a table. In place of one without rows it says that nothing was found, unless there is more that could not be
/// read or was not come to; says behind it when it was interrupted.
void showTable(CommandContext& context, const Table& table);

/// Shows a list in the form that the options ask for: a document with the list as the member `name`, a value a line, or
/// the table.
void showList(CommandContext& context, std::string_view name, const nlohmann::ordered_json& list, const Table& table);

}  // namespace quarn

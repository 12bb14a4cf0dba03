#pragma once

#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "quarn/commands/CommandContext.h"
#include "quarn/output/Table.h"

namespace quarn {

/// Shows a list in the form that the options ask for: a document with the list as the member `name`, a value a line, or
/// the table.
void showList(CommandContext& context, std::string_view name, const nlohmann::ordered_json& list, const Table& table);

}  // namespace quarn

#include "quarn/commands/ListOutput.h"

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Filters.h"
#include "quarn/terminal/CountText.h"

namespace quarn {

namespace {

// "12 rows left out, 4.50 GB on disk.", or "At least 12 rows …".
std::string leftOutText(const LeftOut& leftOut, CommandContext& context) {
  if (leftOut.rows == 0) return "";
  const std::string size = leftOut.bytes.value_or(0) > 0 ? ", " + context.size(*leftOut.bytes) + " on disk" : "";
  const std::string start = leftOut.isExact ? "\n" : "\nAt least ";
  return start + countText(static_cast<std::uint64_t>(leftOut.rows), "row") + " left out" + size + ".\n";
}

}  // namespace

nlohmann::ordered_json leftOutJSON(const ListFilters& filters) {
  const auto& [rows, bytes, isExact] = filters.leftOut();
  return {{"rows", rows},
          {"bytes", bytes ? nlohmann::ordered_json(*bytes) : nlohmann::ordered_json()},
          {"isExact", isExact}};
}

void showTable(CommandContext& context, const Table& table, const ListFilters* filters) {
  if (!table.isEmpty()) {
    context.print(table.text(context.out()));
  } else if (!context.unread().isIncomplete() && !context.isInterrupted()) {
    context.warn("nothing found");
  }
  if (filters != nullptr) context.print(leftOutText(filters->leftOut(), context));
  if (context.isInterrupted()) context.print("\nIncomplete: interrupted.\n");
}

void showList(CommandContext& context, std::string_view name, const nlohmann::ordered_json& list, const Table& table,
              const ListFilters* filters, const nlohmann::ordered_json* more) {
  showList(context, name, {.json = [&] { return list; }, .table = [&] { return table; }}, filters, more);
}

void showList(CommandContext& context, std::string_view name, const ListForms& list, const ListFilters* filters,
              const nlohmann::ordered_json* more) {
  if (context.wantsJSON()) {
    nlohmann::ordered_json members;
    members[std::string(name)] = list.json();
    if (more != nullptr) members.update(*more);
    if (filters != nullptr && filters->leftOut().rows > 0) members["leftOut"] = leftOutJSON(*filters);
    if (context.isInterrupted()) members["isComplete"] = false;
    context.printDocument(std::move(members));
  } else if (context.wantsLines()) {
    context.printLines(list.json());
  } else {
    showTable(context, list.table(), filters);
  }
}

}  // namespace quarn

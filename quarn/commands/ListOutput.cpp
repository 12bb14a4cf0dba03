#include "quarn/commands/ListOutput.h"

#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {

void showTable(CommandContext& context, const Table& table) {
  if (!table.isEmpty()) {
    context.print(table.text(context.out()));
  } else if (!context.unread().isIncomplete() && !context.isInterrupted()) {
    context.warn("nothing found");
  }
  if (context.isInterrupted()) context.print("\nIncomplete: interrupted.\n");
}

void showList(CommandContext& context, std::string_view name, const nlohmann::ordered_json& list, const Table& table) {
  if (context.wantsJSON()) {
    nlohmann::ordered_json members{{std::string(name), list}};
    if (context.isInterrupted()) members["isComplete"] = false;
    context.printDocument(std::move(members));
  } else if (context.wantsLines()) {
    context.printLines(list);
  } else {
    showTable(context, table);
  }
}

}  // namespace quarn

#include "quarn/commands/ListOutput.h"

#include "QuarnPlatform/JSONLibrary.h"

namespace quarn {

void showList(CommandContext& context, std::string_view name, const nlohmann::ordered_json& list, const Table& table) {
  if (context.wantsJSON()) {
    context.printDocument({{std::string(name), list}});
  } else if (context.wantsLines()) {
    context.printLines(list);
  } else {
    context.print(table.text(context.out()));
  }
}

}  // namespace quarn

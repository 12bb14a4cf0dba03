#include "quarn/commands/FilterTable.h"

#include <vector>

namespace quarn {

std::string filterNames(const CommandRow& command) {
  std::vector<std::string> names;
  for (const OptionRow& option : command.options) {
    const bool isFilter = std::any_of(kFilterOptions.begin(), kFilterOptions.end(),
                                      [&](const OptionRow& row) { return row.name == option.name; });
    if (isFilter) names.emplace_back(option.name);
  }
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) text += i + 1 == names.size() ? " and " : ", ";
    text += names[i];
  }
  return text;
}

}  // namespace quarn

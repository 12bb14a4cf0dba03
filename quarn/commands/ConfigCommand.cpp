#include <array>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/Settings.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

// The value of a switch is its name: --iec sets the unit "iec".
std::vector<std::string> valuesOf(const SettingRow& row, const Arguments& arguments) {
  for (const std::string& flag : choiceWords(row.otherFlags)) {
    if (arguments.has(flag)) return {flag.substr(2)};
  }
  if (arguments.has(row.option)) return arguments.texts(row.option);
  return row.usual.empty() ? std::vector<std::string>() : std::vector<std::string>{std::string(row.usual)};
}

std::string joined(const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) text += (text.empty() ? "" : ", ") + value;
  return text.empty() ? "–" : text;
}

nlohmann::ordered_json valueJSON(const SettingRow& row, const std::vector<std::string>& values) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const std::string& value : values) list.push_back(Text::validUTF8(value));
  if (row.isList) return list;
  return values.empty() ? nlohmann::ordered_json() : list.front();
}

ExitCode runConfig(CommandContext& context) {
  context.confineToOpenFiles();
  const Arguments& arguments = context.arguments();
  const std::optional<std::string> file = configurationFile(arguments);
  Table table({{.title = "SETTING"}, {.title = "VALUE", .isFlexible = true}, {.title = "FROM", .isFlexible = true}});
  nlohmann::ordered_json settings = nlohmann::ordered_json::array();
  for (const SettingRow& row : settingTable()) {
    const std::vector<std::string> values = valuesOf(row, arguments);
    const OptionSource source = sourceOf(row, arguments);
    const bool isBuiltIn = source.kind == SourceKind::builtIn;
    table.addRow({std::string(row.key), joined(values), isBuiltIn ? std::string("built in") : source.place});
    settings.push_back(
        {{"name", row.key},
         {"value", valueJSON(row, values)},
         {"source", rawValue(source.kind)},
         {"place", isBuiltIn ? nlohmann::ordered_json() : nlohmann::ordered_json(Text::validUTF8(source.place))}});
  }
  if (context.wantsJSON()) {
    context.printDocument({{"file", file ? nlohmann::ordered_json(Text::validUTF8(*file)) : nlohmann::ordered_json()},
                           {"settings", std::move(settings)}});
  } else if (context.wantsLines()) {
    context.printLines(settings);
  } else {
    context.print("Configuration file: " + (file ? escapedForTerminal(*file) : "none") + "\n\n");
    showTable(context, table);
  }
  return context.finish();
}

constexpr std::array kConfigExamples{
    ExampleRow{.line = "quarn config", .meaning = "the file that is read, each setting, and where it comes from"},
    ExampleRow{.line = "quarn --no-config config", .meaning = "what holds without the file"},
};
constexpr CommandRow kConfigRow{
    .name = "config",
    .summary = "Show the settings and where they come from",
    .description =
        "An option on the command line wins over a variable of the environment (QUARN_VOLUME, QUARN_HOME, NO_COLOR), "
        "and "
        "that wins over ~/.config/quarn/config.toml, a TOML file with the keys volume, home, units, color and "
        "knowledge: knowledge = [\"~/profiles\"]. QUARN_CONFIG names another file; if it is empty, no file is read.",
    .examples = kConfigExamples,
    .run = runConfig,
    .hasList = true,
    .needsVolume = false};

}  // namespace

const CommandRow& configCommand() { return kConfigRow; }

}  // namespace quarn

#include "quarn/commands/Settings.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "QuarnPlatform/files/HostFile.h"
#include "quarn/commands/CommandError.h"
#include "quarn/commands/ConfigurationFile.h"
#include "quarn/commands/Suggestions.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

constexpr std::array kSettingRows{
    SettingRow{.key = "volume", .option = "--volume", .variable = "QUARN_VOLUME", .isFolder = true},
    SettingRow{.key = "home", .option = "--home", .variable = "QUARN_HOME"},
    SettingRow{.key = "units", .option = "--units", .otherFlags = "--iec|--bytes", .usual = "decimal"},
    SettingRow{.key = "color", .option = "--color", .variable = "NO_COLOR", .variableMeans = "never", .usual = "auto"},
    SettingRow{.key = "knowledge", .option = "--knowledge", .isFolder = true, .isList = true},
};

std::string variableText(std::string_view name) {
  const char* value = name.empty() ? nullptr : std::getenv(std::string(name).c_str());
  return value == nullptr ? "" : value;
}

const SettingRow& settingOf(const ConfiguredKey& key, const std::string& file) {
  std::vector<std::string> names;
  for (const SettingRow& row : kSettingRows) {
    if (row.key == key.key) return row;
    names.emplace_back(row.key);
  }
  throw CommandError(ExitCode::usage,
                     configurationProblem(file, key.line, withSuggestion(key.key + ": unknown key", key.key, names)));
}

// A path in the file does not depend on the folder in which the command runs.
std::string folderOfFile(const std::string& text, const std::string& problem) {
  if (text.starts_with('/')) return text;
  const std::string home = variableText("HOME");
  if (text.starts_with("~/") && !home.empty()) return home + text.substr(1);
  throw CommandError(ExitCode::usage,
                     problem + escapedForTerminal("expected an absolute path or one below ~/, got \"" + text + "\""));
}

std::vector<std::string> checkedValues(const ConfiguredKey& key, const SettingRow& row, const std::string& file) {
  const std::string problem = configurationProblem(file, key.line, key.key + ": ");
  if (key.isList && !row.isList) throw CommandError(ExitCode::usage, problem + "expected one text, not a list");
  const std::string_view choices = optionRow(row.option, nullptr)->choices;
  const std::vector<std::string> words = choiceWords(choices);
  std::vector<std::string> values = key.values;
  for (std::string& value : values) {
    if (!words.empty() && std::find(words.begin(), words.end(), value) == words.end()) {
      throw CommandError(ExitCode::usage, problem + withSuggestion("expected " + std::string(choices) + ", got \"" +
                                                                       escapedForTerminal(value) + "\"",
                                                                   value, words));
    }
    if (row.isFolder) value = folderOfFile(value, problem);
  }
  return values;
}

struct FoundValue {
  std::vector<std::string> values{};
  OptionSource source{};
};

using FileValues = std::map<std::string_view, FoundValue>;

FileValues valuesOfFile(const std::string& file) {
  FileValues found;
  for (const ConfiguredKey& key : readConfigurationFile(file)) {
    const SettingRow& row = settingOf(key, file);
    found[row.key] = {.values = checkedValues(key, row, file),
                      .source = {.kind = SourceKind::file, .place = file + ":" + std::to_string(key.line)}};
  }
  return found;
}

// The usual file may be missing; a file that QUARN_CONFIG names must not.
FileValues valuesOfFileIfAny(const Arguments& arguments) {
  const std::optional<std::string> file = configurationFile(arguments);
  if (!file) return {};
  const bool isNamed = !variableText("QUARN_CONFIG").empty();
  return isNamed || !isMissingOnHost(*file) ? valuesOfFile(*file) : FileValues{};
}

std::optional<FoundValue> valueOfEnvironment(const SettingRow& row) {
  std::string text = variableText(row.variable);
  if (text.empty()) return std::nullopt;
  if (!row.variableMeans.empty()) text = row.variableMeans;
  return FoundValue{.values = {text}, .source = {.kind = SourceKind::environment, .place = std::string(row.variable)}};
}

bool isOnCommandLine(const SettingRow& row, const Arguments& arguments) {
  const std::vector<std::string> others = choiceWords(row.otherFlags);
  return arguments.has(row.option) ||
         std::any_of(others.begin(), others.end(), [&](const std::string& flag) { return arguments.has(flag); });
}

}  // namespace

std::span<const SettingRow> settingTable() { return kSettingRows; }

std::optional<std::string> configurationFile(const Arguments& arguments) {
  if (arguments.has("--no-config")) return std::nullopt;
  if (const char* named = std::getenv("QUARN_CONFIG")) {
    return *named == '\0' ? std::nullopt : std::optional<std::string>(named);
  }
  // The standard says that a relative folder is to be ignored.
  const std::string folder = variableText("XDG_CONFIG_HOME");
  if (folder.starts_with('/')) return folder + "/quarn/config.toml";
  const std::string home = variableText("HOME");
  return home.starts_with('/') ? std::optional(home + "/.config/quarn/config.toml") : std::nullopt;
}

void addSettings(Arguments& arguments) {
  FileValues ofFile = valuesOfFileIfAny(arguments);
  for (const SettingRow& row : kSettingRows) {
    if (isOnCommandLine(row, arguments)) continue;
    std::optional<FoundValue> found = valueOfEnvironment(row);
    if (const auto listed = ofFile.find(row.key); !found && listed != ofFile.end()) found = listed->second;
    if (!found || found->values.empty()) continue;
    if (row.key == "home" && found->source.kind < sourceOf(kSettingRows.front(), arguments).kind) continue;
    const std::string option(row.option);
    arguments.options[option] = std::move(found->values);
    arguments.sources[option] = std::move(found->source);
  }
}

OptionSource sourceOf(const SettingRow& row, const Arguments& arguments) {
  const auto found = arguments.sources.find(row.option);
  if (found != arguments.sources.end()) return found->second;
  if (!isOnCommandLine(row, arguments)) return {};
  return {.kind = SourceKind::commandLine, .place = std::string(row.option)};
}

}  // namespace quarn

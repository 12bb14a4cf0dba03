#include "quarn/commands/ConfigurationFile.h"

#include <toml++/toml.h>

#include "QuarnPlatform/files/HostFile.h"
#include "quarn/commands/CommandError.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

long lineOf(const toml::node& node) { return static_cast<long>(node.source().begin.line); }

[[noreturn]] void refuseKey(const std::string& file, long line, std::string_view key) {
  throw CommandError(ExitCode::usage,
                     configurationProblem(file, line, std::string(key) + ": expected a text in quotes"));
}

std::string textOf(const toml::node& node, const std::string& file, std::string_view key) {
  const toml::value<std::string>* text = node.as_string();
  if (text == nullptr) refuseKey(file, lineOf(node), key);
  return text->get();
}

toml::table parsed(const std::string& content, const std::string& file) {
  try {
    return toml::parse(content, std::string_view(file));
  } catch (const toml::parse_error& error) {
    const auto line = static_cast<long>(error.source().begin.line);
    throw CommandError(ExitCode::usage, configurationProblem(file, line, error.description()));
  }
}

}  // namespace

std::string configurationProblem(const std::string& file, long line, std::string_view problem) {
  return escapedForTerminal(file + ":" + std::to_string(line) + ": " + std::string(problem));
}

std::vector<ConfiguredKey> readConfigurationFile(const std::string& file) {
  const toml::table table = parsed(readHostFile(file, kMostConfigurationBytes), file);
  std::vector<ConfiguredKey> keys;
  for (const auto& [name, node] : table) {
    ConfiguredKey key{.key = std::string(name.str()), .isList = node.is_array(), .line = lineOf(node)};
    if (const toml::array* list = node.as_array()) {
      for (const toml::node& element : *list) key.values.push_back(textOf(element, file, key.key));
    } else {
      key.values.push_back(textOf(node, file, key.key));
    }
    keys.push_back(std::move(key));
  }
  return keys;
}

}  // namespace quarn

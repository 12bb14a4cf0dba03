#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Server.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/quarn/rpc/RPCSession.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/ProjectFolder.h"

// docs/rpc.md is the contract for clients. Its tables match the code, and its conversations show real responses.
// QUARN_UPDATE_GOLDEN=1 in the environment writes the tables.

namespace quarn::documentation_tests {
namespace {

using nlohmann::ordered_json;

const std::filesystem::path kPage = projectFolder() / "docs/rpc.md";

std::string code(const std::string& text) { return "`" + text + "`"; }

void join(std::string& list, const std::string& part) { list += (list.empty() ? "" : ", ") + part; }

// ---- the tables, from the OpenRPC document

/// A type in a few words: "[AppEntity]", "SizeInfo?".
std::string typeText(const ordered_json& schema) {
  if (schema.contains("$ref")) return schema["$ref"].get<std::string>().substr(sizeof("#/components/schemas/") - 1);
  if (schema.contains("items")) return "[" + typeText(schema["items"]) + "]";
  if (schema.contains("additionalProperties")) {
    const std::string key = schema.contains("propertyNames") ? typeText(schema["propertyNames"]) : "string";
    return "{" + key + ": " + typeText(schema["additionalProperties"]) + "}";
  }
  if (schema.contains("anyOf")) {
    const ordered_json& types = schema["anyOf"];
    if (types.back().value("type", "") == "null") return typeText(types[0]) + "?";
    std::string text;
    for (const ordered_json& type : types) text += (text.empty() ? "" : " or ") + typeText(type);
    return text;
  }
  return schema.value("format", "") == "uri" ? "URL" : schema["type"].get<std::string>();
}

std::string paramsText(const ordered_json& params) {
  std::string text;
  for (const ordered_json& param : params) {
    if (param.contains("name")) join(text, code(param["name"]) + (param["required"].get<bool>() ? "" : "?"));
  }
  return text;
}

std::string methodsTable(const ordered_json& document) {
  std::string table = "| method | params | result |\n| --- | --- | --- |\n";
  for (const ordered_json& method : document["methods"]) {
    std::string result = typeText(method["result"]["schema"]);
    if (method.contains("x-progress")) result += "; " + typeText(method["x-progress"]);
    table += "| " + code(method["name"]) + " | " + paramsText(method["params"]) + " | " + result + " |\n";
  }
  return table;
}

std::string errorsTable(const ordered_json& document) {
  std::string table = "| code | when | `data` |\n| --- | --- | --- |\n";
  for (const auto& [number, error] : document["components"]["errors"].items()) {
    std::string data;
    if (error.contains("data")) {
      for (const ordered_json& name : error["data"]["members"]) join(data, code(name));
    }
    table += "| " + number + " | " + error["message"].get<std::string>() + " | " + data + " |\n";
  }
  return table;
}

std::string notificationsTable(const ordered_json& document) {
  std::string table = "| notification | sender | params | meaning |\n| --- | --- | --- | --- |\n";
  for (const ordered_json& row : document["x-notifications"]) {
    table += "| " + code(row["name"]) + " | " + row["sender"].get<std::string>() + " | " + paramsText(row["params"]) +
             " | " + row["summary"].get<std::string>() + " |\n";
  }
  return table;
}

struct Table {
  std::string_view name;
  std::string (*make)(const ordered_json& document);
};
constexpr std::array kTables{Table{"methods", &methodsTable}, Table{"notifications", &notificationsTable},
                             Table{"errors", &errorsTable}};

/// The page with all tables inserted between their marks.
std::string withTables(std::string page) {
  const ordered_json document = openRPCDocument();
  for (const Table& table : kTables) {
    const std::string begin = "<!-- " + std::string(table.name) + " -->\n";
    const std::string end = "<!-- end of " + std::string(table.name) + " -->";
    const std::size_t from = page.find(begin);
    const std::size_t to = page.find(end);
    if (from == std::string::npos || to == std::string::npos) return "no marks for " + std::string(table.name);
    page.replace(from + begin.size(), to - from - begin.size(), table.make(document));
  }
  return page;
}

TEST(RPCPage, HoldsTheTablesOfTheInterface) { EXPECT_TRUE(isGolden(kPage, withTables(contentOf(kPage)))); }

// ---- the conversations

/// The lines sent ("> ") and received ("< ").
std::vector<std::string> conversation() {
  std::vector<std::string> lines;
  std::istringstream page(contentOf(kPage));
  bool isWithin = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("```")) {
      isWithin = line == "```jsonrpc";
    } else if (isWithin) {
      lines.push_back(line);
    }
  }
  return lines;
}

std::string withoutDates(const std::string& line) {
  static const std::regex kDate(R"re("inspectedAt":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ")re");
  return std::regex_replace(line, kDate, R"("inspectedAt":"a date")");
}

TEST(RPCPage, ShowsTheRealResponses) {
  const Services services(FileManager::mounted(sampleFolder(), FileURL("/Users/ann")), ResourceBundle::shipped());
  RPCSession session([&](int input, int output) { return runRPC(services, input, output); });
  const std::vector<std::string> lines = conversation();
  ASSERT_GE(lines.size(), 10U);
  for (const std::string& line : lines) {
    if (line.starts_with("> ")) {
      session.send(line.substr(2));
    } else {
      EXPECT_EQ("< " + withoutDates(session.receive()), withoutDates(line));
    }
  }
  EXPECT_TRUE(session.finish().empty());
}

}  // namespace
}  // namespace quarn::documentation_tests

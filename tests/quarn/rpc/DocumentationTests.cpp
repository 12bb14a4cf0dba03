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

namespace quarn {
namespace {

using nlohmann::ordered_json;

const std::filesystem::path kPage = projectFolder() / "docs/rpc.md";

std::string code(const std::string& text) { return "`" + text + "`"; }

void join(std::string& list, const std::string& part) { list += (list.empty() ? "" : ", ") + part; }

// ---- the tables, from the description of the interface

std::string methodsTable(const ordered_json& interface) {
  std::string table = "| method | params | result |\n| --- | --- | --- |\n";
  for (const ordered_json& method : interface["methods"]) {
    std::string params;
    for (const ordered_json& param : method["params"]) {
      const std::string mark = param["required"].get<bool>() ? "" : "?";
      join(params, code(param["name"]) + mark + " " + param["type"].get<std::string>());
    }
    std::string result = method["result"];
    if (method.contains("progress")) result += "; " + method["progress"].get<std::string>();
    table += "| " + code(method["name"]) + " | " + params + " | " + result + " |\n";
  }
  return table;
}

std::string recordsTable(const ordered_json& interface) {
  std::string table = "| record | members |\n| --- | --- |\n";
  for (const ordered_json& record : interface["records"]) {
    std::string members;
    for (const ordered_json& member : record["members"]) {
      const std::string type = member["type"];
      const std::string text = code(member["name"]) + " " + type;
      const bool isMade = !member["required"].get<bool>() && !type.ends_with('?');
      join(members, isMade ? "(" + text + ")" : text);
    }
    table += "| " + code(record["name"]) + " | " + members + " |\n";
  }
  return table;
}

std::string enumerationsTable(const ordered_json& interface) {
  std::string table = "| enumeration | values |\n| --- | --- |\n";
  for (const ordered_json& enumeration : interface["enumerations"]) {
    std::string values;
    for (const ordered_json& value : enumeration["values"]) join(values, code(value));
    table += "| " + code(enumeration["name"]) + " | " + values + " |\n";
  }
  return table;
}

std::string errorsTable(const ordered_json& interface) {
  std::string table = "| code | when | `data` |\n| --- | --- | --- |\n";
  for (const ordered_json& error : interface["errors"]) {
    std::string data;
    for (const ordered_json& name : error["data"]) join(data, code(name));
    table += "| " + error["code"].dump() + " | " + error["when"].get<std::string>() + " | " + data + " |\n";
  }
  return table;
}

std::string notificationsTable(const ordered_json& interface) {
  std::string table = "| notification | sender | params | meaning |\n| --- | --- | --- | --- |\n";
  for (const ordered_json& notification : interface["notifications"]) {
    std::string params;
    for (const ordered_json& param : notification["params"]) {
      join(params, code(param["name"]) + " " + param["type"].get<std::string>());
    }
    table += "| " + code(notification["name"]) + " | " + notification["sender"].get<std::string>() + " | " + params +
             " | " + notification["meaning"].get<std::string>() + " |\n";
  }
  return table;
}

struct Table {
  std::string_view name;
  std::string (*make)(const ordered_json& interface);
};
constexpr std::array kTables{Table{"methods", &methodsTable}, Table{"notifications", &notificationsTable},
                             Table{"records", &recordsTable}, Table{"enumerations", &enumerationsTable},
                             Table{"errors", &errorsTable}};

/// The page with all tables inserted between their marks.
std::string withTables(std::string page) {
  const ordered_json interface = ordered_json::parse(describeInterface());
  for (const Table& table : kTables) {
    const std::string begin = "<!-- " + std::string(table.name) + " -->\n";
    const std::string end = "<!-- end of " + std::string(table.name) + " -->";
    const std::size_t from = page.find(begin);
    const std::size_t to = page.find(end);
    if (from == std::string::npos || to == std::string::npos) return "no marks for " + std::string(table.name);
    page.replace(from + begin.size(), to - from - begin.size(), table.make(interface));
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
}  // namespace quarn

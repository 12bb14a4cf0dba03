#include <fstream>
#include <set>

#include <gmock/gmock.h>

#include "QuarnCore/scans/ScanSchema.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::osquery_tests {
namespace {

using nlohmann::ordered_json;

ordered_json tablesOf(const std::string& file) {
  std::ifstream stream(projectFolder() / file);
  const ordered_json document = ordered_json::parse(stream);
  EXPECT_EQ(document.size(), 1U);
  return document.at("auto_table_construction");
}

std::set<std::string> columnsOfScan(std::string_view name) {
  for (const ScanTable& table : scanTables()) {
    if (table.name != name) continue;
    const std::vector<std::string> names = columnNames(table);
    return {names.begin(), names.end()};
  }
  return {};
}

// osquery documents four members for a table: the query, the path of the database, the columns of the query in order,
// and the platform. It adds a column "path" itself.
TEST(OsqueryConfiguration, EachTableHasTheDocumentedFormAndReadsATableOfAScan) {
  const ordered_json tables = tablesOf("examples/osquery/quarn_tables.json");
  EXPECT_GE(tables.size(), 8U);
  for (const auto& [name, table] : tables.items()) {
    SCOPED_TRACE(name);
    EXPECT_EQ(table.size(), 4U);
    EXPECT_EQ(table.at("platform"), "darwin");
    EXPECT_TRUE(table.at("path").get<std::string>().starts_with('/'));
    const std::string source = name.substr(std::string_view("quarn_").size());
    const std::set<std::string> known = columnsOfScan(source);
    std::string list;
    for (const ordered_json& column : table.at("columns")) {
      const std::string text = column.get<std::string>();
      EXPECT_NE(text, "path");
      EXPECT_TRUE(known.contains(text)) << text;
      list += (list.empty() ? "" : ", ") + text;
    }
    EXPECT_EQ(table.at("query"), "SELECT " + list + " FROM " + source + ";");
  }
}

}  // namespace
}  // namespace quarn::osquery_tests

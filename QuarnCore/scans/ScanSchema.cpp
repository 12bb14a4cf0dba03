#include "QuarnCore/scans/ScanSchema.h"

#include <algorithm>
#include <array>

namespace quarn {
namespace {

// A path has a column `is_folder` beside it: whether it was known to be a folder. Sizes are bytes, times are seconds
// since 1970, texts that are not UTF-8 are BLOBs.
// clang-format off
constexpr std::array kTables{
    ScanTable{.name = "scan", .columns =
        "program_version, vendor_profiles, locale, started_at, finished_at, home, home_is_folder, volume_name, volume_path, "
        "volume_is_folder, total_bytes, free_bytes, has_capacity, kept_above, files, folders"},
    ScanTable{.name = "users", .columns = "id INTEGER PRIMARY KEY, path, is_folder, location, is_read"},
    ScanTable{.name = "categories", .columns = "category, allocated, logical"},
    ScanTable{.name = "category_roots", .columns =
        "category, is_listed, path, is_folder, allocated, logical, vendor_id, vendor_name, hint_category, hint_kind, hint_data_class, "
        "hint_title, hint_explanation, hint_risk, hint_path, user"},
    ScanTable{.name = "category_paths", .columns = "category, path, is_folder"},
    ScanTable{.name = "vendor_paths", .columns =
        "vendor_id, vendor_name, category, kind, data_class, title, explanation, risk, path"},
    ScanTable{.name = "folders", .columns =
        "id INTEGER PRIMARY KEY, parent, descendants, name, allocated, logical, files, newest, marks"},
    ScanTable{.name = "hidden_sizes", .columns = "folder INTEGER PRIMARY KEY, allocated, logical"},
    ScanTable{.name = "large_files", .columns = "folder, name, allocated, logical, modified, is_hidden"},
    ScanTable{.name = "apps", .columns =
        "id INTEGER PRIMARY KEY, name, bundle_identifier, path, is_folder, app_id, version, allocated, logical, inspected_at"},
    ScanTable{.name = "uninstallers", .columns = "app, path, is_folder, name, confidence"},
    ScanTable{.name = "artifacts", .columns =
        "id INTEGER PRIMARY KEY, app, artifact_id, kind, data_class, scope, allocated, logical, risk, confidence, title, explanation"},
    ScanTable{.name = "artifact_items", .columns = "artifact, path, is_folder"},
    ScanTable{.name = "entries", .columns =
        "id INTEGER PRIMARY KEY, path, is_folder, status, owners_left_out, evidence, confidence, place, kind, scope, data_class, "
        "risk, former_name, former_identifier, orphan_kind"},
    ScanTable{.name = "claims", .columns =
        "entry, is_rival, app_id, app_name, bundle_identifier, path, is_folder, evidence, confidence"},
    ScanTable{.name = "entry_packages", .columns = "entry, package_identifier"},
    ScanTable{.name = "leftovers",
              .columns = "id INTEGER PRIMARY KEY, name, bundle_identifier, modified, allocated, logical"},
    ScanTable{.name = "leftover_items", .columns =
        "leftover, path, is_folder, place, kind, scope, data_class, risk, evidence, modified, allocated, logical"},
    ScanTable{.name = "jobs", .columns = "id INTEGER PRIMARY KEY, label, program, path, is_folder"},
    ScanTable{.name = "job_arguments", .columns = "job, argument"},
    ScanTable{.name = "receipts", .columns = "package_identifier, version, installed_at"},
    ScanTable{.name = "extensions", .columns =
        "name, bundle_identifier, path, is_folder, version, allocated, logical"},
    ScanTable{.name = "unreadable", .columns = "path, error, error_name"},
};
// clang-format on

/// What a format has that the one before it has not.
struct Addition {
  std::int64_t format;
  std::string_view table;
  std::string_view column;  ///< the last one; empty for a whole table
};
constexpr std::array kAdditions{
    Addition{.format = 2, .table = "users", .column = ""},
    Addition{.format = 2, .table = "category_roots", .column = ", user"},
};

}  // namespace

std::vector<ScanTable> scanTables(std::int64_t format) {
  std::vector<ScanTable> tables(kTables.begin(), kTables.end());
  for (const Addition& addition : kAdditions) {
    if (addition.format <= format) continue;
    const auto table = std::find_if(tables.begin(), tables.end(),
                                    [&](const ScanTable& candidate) { return candidate.name == addition.table; });
    table->columns.remove_suffix(addition.column.size());
    if (addition.column.empty()) tables.erase(table);
  }
  return tables;
}

std::string createStatement(const ScanTable& table) {
  return "CREATE TABLE " + std::string(table.name) + "(" + std::string(table.columns) + ")";
}

std::size_t columnCount(const ScanTable& table) {
  return static_cast<std::size_t>(std::count(table.columns.begin(), table.columns.end(), ',')) + 1;
}

std::vector<std::string> columnNames(const ScanTable& table) {
  std::vector<std::string> names;
  std::string_view rest = table.columns;
  while (!rest.empty()) {
    const std::string_view column = rest.substr(0, rest.find(','));
    rest.remove_prefix(std::min(column.size() + 2, rest.size()));
    names.emplace_back(column.substr(0, column.find(' ')));
  }
  return names;
}

std::string insertStatement(std::string_view table, std::size_t rows, RowIDs ids) {
  const auto* row =
      std::find_if(kTables.begin(), kTables.end(), [&](const auto& known) { return known.name == table; });
  const std::vector<std::string> names = columnNames(*row);
  std::string columns;
  std::string values;
  for (std::size_t i = ids == RowIDs::counted ? 1 : 0; i < names.size(); ++i) {
    (columns += columns.empty() ? "(" : ",") += names[i];
    values += values.empty() ? "(?" : ",?";
  }
  columns += ")";
  values += ")";
  std::string sql = "INSERT INTO " + std::string(table) + columns + " VALUES " + values;
  for (std::size_t i = 1; i < rows; ++i) (sql += ",") += values;
  return sql;
}

}  // namespace quarn

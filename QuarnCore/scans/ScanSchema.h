#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// A table of a scan. `docs/scans.md` explains its columns.
struct ScanTable {
  std::string_view name;
  std::string_view columns;  ///< as in CREATE TABLE
};

/// "QRN1" in big-endian: the application_id of a scan.
inline constexpr std::int64_t kScanApplicationID = 0x51524E31;
/// The user_version of a scan. It rises when a table changes.
inline constexpr std::int64_t kScanFormat = 2;

/// All tables, in the order in which they are written. `format` is at most `kScanFormat`: the tables of an older scan
/// have fewer columns at the end, and some are missing.
std::vector<ScanTable> scanTables(std::int64_t format = kScanFormat);
/// The statement that creates a table. SQLite keeps its text, so that a reader can compare it.
std::string createStatement(const ScanTable& table);
/// Where the ids of new rows come from.
enum class RowIDs : std::uint8_t {
  given,    ///< a parameter for each, if the table has ids
  counted,  ///< SQLite counts on from the last row, which costs it no search; the table has ids, and no parameter for
            ///< them
};
/// The statement that adds rows to a table.
std::string insertStatement(std::string_view table, std::size_t rows = 1, RowIDs ids = RowIDs::given);
/// The names of the columns in order.
std::vector<std::string> columnNames(const ScanTable& table);
/// The number of columns.
std::size_t columnCount(const ScanTable& table);

}  // namespace quarn

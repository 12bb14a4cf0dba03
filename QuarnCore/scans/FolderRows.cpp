#include "QuarnCore/scans/FolderRows.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <string_view>

namespace quarn::scans {
namespace {

bool isPossibleName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

void check(const ScannedFolder& folder, std::int64_t marks) {
  const bool isRoot = folder.id == 0;
  const bool isName = isRoot ? folder.name == "/" : isPossibleName(folder.name);
  const bool isAfterParent = isRoot ? folder.parent == 0 : folder.parent < folder.id;
  const bool fits = folder.descendants <= std::numeric_limits<std::uint32_t>::max() - folder.id;
  if (!isName || !isAfterParent || !fits || folder.files < 0 || marks < 0 || marks > 7) {
    throw damage("a folder is impossible");
  }
}

}  // namespace

ScannedFolder readFolder(RowReader& row) {
  ScannedFolder folder;
  std::int64_t marks = 0;
  folderColumns(row, folder.id, folder, marks);
  check(folder, marks);
  folder.isHidden = (marks & kHiddenMark) != 0;
  folder.isPackage = (marks & kPackageMark) != 0;
  folder.isRead = (marks & kUnreadMark) == 0;
  return folder;
}

void FolderOrder::add(std::uint32_t id, std::uint32_t descendants) {
  if (id != count_) throw damage("a folder is out of order");
  if (count_ == 0) expected_ = std::uint64_t{descendants} + 1;
  ++count_;
}

void FolderOrder::finish() const {
  if (count_ == 0 || count_ != expected_) throw damage("folders are missing");
}

// Columns that no row needs are not read: SQLite then only finds where they are.
FolderRows::FolderRows(const Database& database) : statement_(database.prepare("SELECT * FROM folders WHERE id = ?")) {
  FolderOrder order;
  eachRow(database, "SELECT id, descendants, marks FROM folders ORDER BY id", [&](RowReader& row) {
    std::uint32_t id = 0;
    std::uint32_t descendants = 0;
    std::int64_t marks = 0;
    row(id, descendants, marks);
    order.add(id, descendants);
    if ((marks & kPackageMark) != 0) packages_.push_back(id);
  });
  order.finish();
}

ScannedFolder FolderRows::at(std::uint32_t id) {
  statement_.reset();
  statement_.bind(std::int64_t{id});
  if (!statement_.step()) throw damage("a folder is missing");
  RowReader row(statement_);
  return readFolder(row);
}

SizeInfo HiddenRows::of(std::uint32_t folder) {
  statement_.reset();
  statement_.bind(std::int64_t{folder});
  SizeInfo size;
  if (statement_.step()) {
    RowReader row(statement_);
    row(size);
  }
  return size;
}

FileRows::FileRows(const Database& database)
    : statement_(database.prepare("SELECT * FROM large_files WHERE rowid BETWEEN ? AND ? ORDER BY rowid")) {
  eachRow(database, "SELECT folder, rowid FROM large_files ORDER BY rowid", [&](RowReader& row) {
    auto& [folder, id] = rows_.emplace_back();
    row(folder, id);
    if (rows_.size() > 1 && folder < rows_[rows_.size() - 2].first) throw damage("the files are out of order");
  });
}

std::vector<ScannedFile> FileRows::of(std::uint32_t first, std::uint32_t last) {
  std::vector<ScannedFile> files;
  const auto rows = rowsOf(first, last);
  if (!rows) return files;
  statement_.reset();
  statement_.bind(rows->first);
  statement_.bind(rows->second);
  while (statement_.step()) {
    RowReader row(statement_);
    ScannedFile& file = files.emplace_back();
    fileColumns(row, file);
    if (!isPossibleName(file.name)) throw damage("a file is impossible");
  }
  return files;
}

std::optional<std::pair<std::int64_t, std::int64_t>> FileRows::rowsOf(std::uint32_t first, std::uint32_t last) const {
  const auto begin = std::lower_bound(rows_.begin(), rows_.end(), first,
                                      [](const Row& row, std::uint32_t folder) { return row.first < folder; });
  const auto end = std::upper_bound(begin, rows_.end(), last,
                                    [](std::uint32_t folder, const Row& row) { return folder < row.first; });
  return begin == end ? std::nullopt : std::optional(std::pair(begin->second, std::prev(end)->second));
}

}  // namespace quarn::scans

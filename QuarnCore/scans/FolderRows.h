#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "QuarnCore/scans/Database.h"
#include "QuarnCore/scans/ScanContent.h"
#include "QuarnCore/scans/ScanRows.h"

/// Readers of the tables of folders and files, which may have millions of rows. Each keeps its statement, because it is
/// asked thousands of times. They must not outlive the database. All operations throw DatabaseError.
namespace quarn::scans {

/// The folder of a row. Checks that its place in the order is possible, and that its name is a name.
ScannedFolder readFolder(RowReader& row);

/// Checks that the ids of folders count from 0 without a gap. The first folder tells how many there are. That finds
/// pages that are missing, damaged or in another order.
class FolderOrder {
 public:
  void add(std::uint32_t id, std::uint32_t descendants);
  /// After the last folder.
  void finish() const;

 private:
  std::uint64_t count_ = 0;
  std::uint64_t expected_ = 0;
};

/// Reads single folders.
class FolderRows {
 public:
  /// Checks the order of all folders.
  explicit FolderRows(const Database& database);

  /// The ids of all packages, ascending.
  [[nodiscard]] const std::vector<std::uint32_t>& packages() const { return packages_; }
  ScannedFolder at(std::uint32_t id);

  /// Calls `consume` for the folders directly in a folder, by name, until it returns false. Skips what is below them.
  template <class Consume>
  void eachChild(const ScannedFolder& folder, const Consume& consume) {
    const std::uint64_t last = std::uint64_t{folder.id} + folder.descendants;
    for (std::uint64_t next = std::uint64_t{folder.id} + 1; next <= last;) {
      ScannedFolder child = at(static_cast<std::uint32_t>(next));
      next = std::uint64_t{child.id} + child.descendants + 1;
      if (child.parent != folder.id) throw damage("a folder is in another one");
      if (!consume(child)) return;
    }
  }

 private:
  Statement statement_;
  std::vector<std::uint32_t> packages_;
};

/// Reads the sizes of hidden items.
class HiddenRows {
 public:
  explicit HiddenRows(const Database& database)
      : statement_(database.prepare("SELECT allocated, logical FROM hidden_sizes WHERE folder = ?")) {}

  /// The part of a folder's sizes that is hidden.
  SizeInfo of(std::uint32_t folder);

 private:
  Statement statement_;
};

/// Reads the files of folders. Their table has the order of the folders and no index.
class FileRows {
 public:
  explicit FileRows(const Database& database);

  /// The files in the folders `first` to `last`.
  std::vector<ScannedFile> of(std::uint32_t first, std::uint32_t last);

 private:
  using Row = std::pair<std::uint32_t, std::int64_t>;  // a folder, and the id of a row

  /// Their rows, as a first and a last id; absent if there are none.
  [[nodiscard]] std::optional<std::pair<std::int64_t, std::int64_t>> rowsOf(std::uint32_t first,
                                                                            std::uint32_t last) const;

  Statement statement_;
  std::vector<Row> rows_;
};

}  // namespace quarn::scans

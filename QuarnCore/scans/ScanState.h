#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuarnCore/scans/Database.h"
#include "QuarnCore/scans/FolderRows.h"
#include "QuarnCore/scans/Scan.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "QuarnPlatform/base/FileError.h"

/// What the parts of `Scan` share. Private to them.
namespace quarn {

struct Scan::State {
  State(std::string path, Database opened) : file(std::move(path)), database(std::move(opened)) {}

  std::string file;
  Database database;
  std::int64_t format = kScanFormat;
  ScanFacts facts{};
  std::vector<ScannedUser> users{};
  std::set<std::string, std::less<>> checked{};  // tables whose pages are checked
  // Readers of `database`, so destroyed before it.
  std::optional<scans::FolderRows> folderRows{};
  std::optional<scans::HiddenRows> hiddenRows{};
  std::optional<scans::FileRows> fileRows{};

  /// Checks the table of folders when it is called first.
  scans::FolderRows& rowsOfFolders() {
    if (!folderRows) folderRows.emplace(database);
    return *folderRows;
  }
};

/// Checks the tables, reads, and says what the matter is in terms of the file.
template <class Read>
auto Scan::reading(std::initializer_list<std::string_view> tables, const Read& read) const {
  try {
    for (const std::string_view table : tables) {
      if (state_->checked.contains(table)) continue;
      state_->database.checkTable(table);
      state_->checked.emplace(table);
    }
    return read(std::as_const(state_->database));
  } catch (const DatabaseError& error) {
    if (error.isDamage()) throw ScanError(ScanError::Problem::damaged, state_->file);
    throwFileError(error.error(), "read", state_->file);
  }
}

}  // namespace quarn

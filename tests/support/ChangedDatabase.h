#pragma once

#include <string>

#include "QuarnCore/scans/Database.h"

namespace quarn {

/// Runs statements on the database in `file`, and closes it.
inline void changeDatabase(const std::string& file, const std::string& sql) {
  Database database = Database::makeIn(file);
  database.execute(sql);
  database.close();
}

}  // namespace quarn

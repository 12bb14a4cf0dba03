#pragma once

#include <string>

#include "QuarnCore/scans/ScanContent.h"
#include "QuarnCore/storage/RecordedFolders.h"
#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// Writes a scan to a host file: beside it first, then synced and renamed, so that the file is the old one or the new
/// one at any moment. `facts.keptAbove`, `files` and `folders` come from `folders`. Returns false if cancelled. Then,
/// and on an error, no new file is left. Throws FileError (operation "write"). Thread-safe; one file at a time.
bool writeScan(const std::string& file, const ScanContent& content, const RecordedFolders& folders,
               const Cancellation& cancellation);

}  // namespace quarn

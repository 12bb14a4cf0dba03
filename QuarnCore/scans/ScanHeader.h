#pragma once

#include <cstdint>
#include <string>

namespace quarn {

/// Checks the kind, the version and the length of a scan file by its first bytes, before SQLite sees it. Returns the
/// version of its tables. Throws ScanError, and FileError if the file cannot be read or is not a regular file.
std::int64_t checkScanHeader(const std::string& file);

}  // namespace quarn

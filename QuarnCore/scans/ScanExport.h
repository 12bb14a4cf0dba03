#pragma once

#include <cstdint>
#include <string>

#include "QuarnCore/scans/Scan.h"
#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// Writes every table of a scan to two files in a folder of the host: TABLE.csv (RFC 4180, with a header) and
/// TABLE.ndjson (one object per row). Bytes that are not UTF-8 become X'…' in CSV and {"hex": "…"} in NDJSON. Each file
/// is replaced completely or not at all. Returns the number of files; stops early if cancelled. Throws ScanError and
/// FileError.
std::int64_t exportScan(const Scan& scan, const std::string& folder, const Cancellation& cancellation);

}  // namespace quarn

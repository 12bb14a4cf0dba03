#pragma once

#include <string>

#include "quarn/sample/SampleSummary.h"

namespace quarn {

/// Writes a small sample Mac volume: two users, some forty apps with their data, launchd jobs, receipts, kernel
/// extensions, libraries, and the unusual names and links of real disks. The result is deterministic to the byte,
/// including times. It takes less than 60 MB of disk, because large files are sparse.
///
/// `hostFolder` must be new or empty; existing files are never touched. Throws FileError and then removes everything
/// that it wrote. The operation is "write a sample volume to" (ENOTEMPTY, ENOTDIR, EACCES, …) or the operation that
/// failed.
SampleSummary writeSampleVolume(const std::string& hostFolder);

}  // namespace quarn

#pragma once

#include <string>

#include "quarn/sample/SampleSummary.h"

namespace quarn {

/// Writes a small Mac volume to try things on: two users, some forty apps with what they leave behind, jobs, receipts,
/// kernel extensions, libraries, and the odd names and links that real disks have. Two writes are alike to the byte,
/// times included. It takes less than 60 MB of disk; large files are sparse.
///
/// `hostFolder` must be new or empty: nothing that exists is ever touched. Throws FileError (operation "write a sample
/// volume to": ENOTEMPTY, ENOTDIR, EACCES, …; or the operation that failed) and leaves nothing of its own behind then.
SampleSummary writeSampleVolume(const std::string& hostFolder);

}  // namespace quarn

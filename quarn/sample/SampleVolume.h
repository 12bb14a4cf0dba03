#pragma once

#include <cstdint>
#include <string>

namespace quarn {

/// What was written; for the command's last line and the tests.
struct SampleSummary {
  std::string folder;             ///< on the host, as it was given
  std::string home;               ///< the inspected user's home, as the Mac names it
  std::int64_t apps = 0;          ///< folders called ".app" that count as installed
  std::int64_t files = 0;         ///< regular files; a hard link counts by itself
  std::int64_t folders = 0;       ///< below `folder`
  std::int64_t links = 0;         ///< symbolic links
  std::int64_t logicalBytes = 0;  ///< of the regular files, a hard link's content once

  friend bool operator==(const SampleSummary&, const SampleSummary&) = default;
};

/// Writes a small Mac volume to try things on: two users, some forty apps with what they leave behind, jobs, receipts,
/// kernel extensions, libraries, and the odd names and links that real disks have. Two writes are alike to the byte,
/// times included. It takes less than 60 MB of disk; large files are sparse.
///
/// `hostFolder` must be new or empty: nothing that exists is ever touched. Throws FileError (operation "write a sample
/// volume to": ENOTEMPTY, ENOTDIR, EACCES, …; or the operation that failed) and leaves nothing of its own behind then.
SampleSummary writeSampleVolume(const std::string& hostFolder);

}  // namespace quarn

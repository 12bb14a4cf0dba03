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

}  // namespace quarn

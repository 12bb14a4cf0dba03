#pragma once

#include <cstdint>
#include <string>

namespace quarn {

/// Counts of the written volume, for the command's output and the tests.
struct SampleSummary {
  std::string folder;             ///< host path, as passed in
  std::string home;               ///< home folder of the inspected user, a path on the Mac
  std::int64_t apps = 0;          ///< installed apps
  std::int64_t files = 0;         ///< regular files; each hard link counts
  std::int64_t folders = 0;       ///< below `folder`
  std::int64_t links = 0;         ///< symbolic links
  std::int64_t logicalBytes = 0;  ///< length of the regular files; hard links count once

  friend bool operator==(const SampleSummary&, const SampleSummary&) = default;
};

}  // namespace quarn

#pragma once

#include <cstdint>
#include <string>

namespace quarn {

/// What this process has listed so far, for a progress line. One for the process, because the readers of one operation
/// share nothing else. Thread-safe; costs one addition per batch of entries.
struct ListingCount {
  std::uint64_t entries = 0;
  std::string folder{};  ///< one that was being read lately, a path on the Mac; may be empty

  /// What was listed so far. Asks the walks for the next folder that they enter.
  static ListingCount now();

  static void add(std::uint64_t entries);
  /// True if a walk is asked for its folder: then it calls `tell`.
  static bool wantsFolder();
  static void tell(std::string path);
};

}  // namespace quarn

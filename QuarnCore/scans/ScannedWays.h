#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnCore/scans/Scan.h"

namespace quarn {

/// The ways from a folder of a scan down to others. Reads each folder once and keeps its name only, so that neither
/// time nor memory grows with the lengths of the ways. All operations throw ScanError and FileError.
class ScannedWays {
 public:
  struct Way {
    std::uint32_t parent = 0;
    std::string name{};
    long length = 0;  ///< the number of names from the root; 0 for the root
    bool isHidden = false;
    bool isInPackage = false;
  };

  /// `root` must be in the scan.
  ScannedWays(const Scan& scan, std::uint32_t root) : scan_(scan), root_(root), known_{{root, Way{}}} {}

  /// The way to a folder below the root. Throws ScanError if it does not come from the root.
  const Way& to(std::uint32_t folder);
  /// The names from the root to an item in a folder, with slashes. The way to the folder must be known.
  [[nodiscard]] std::string path(std::uint32_t folder, std::string_view name) const;

  /// A folder, and the name of an item in it.
  using Place = std::pair<std::uint32_t, std::string_view>;
  /// The positions of the places in the order of a walk from the root: name by name. The ways must be known.
  [[nodiscard]] std::vector<std::size_t> walkOrder(const std::vector<Place>& places) const;

 private:
  Way read(std::uint32_t folder) const;

  const Scan& scan_;
  std::uint32_t root_;
  std::unordered_map<std::uint32_t, Way> known_;
};

}  // namespace quarn

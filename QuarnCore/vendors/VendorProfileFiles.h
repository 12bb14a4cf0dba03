#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfile.h"
#include "QuarnPlatform/resources/ResourceBundle.h"

namespace quarn {

/// The files of vendor profiles that "vendors/index.json" (else "index.json") of some bundles names, bundle by bundle.
/// Keeps their names; reads a file when it is asked for. Thread-safe.
class VendorProfileFiles {
 public:
  /// Reads the indexes. One that cannot be read or decoded names no files.
  explicit VendorProfileFiles(const std::vector<ResourceBundle>& bundles);

  [[nodiscard]] std::size_t size() const { return files_.size(); }
  /// Reads the file at this position. Absent if it cannot be read.
  [[nodiscard]] std::optional<std::string> text(std::size_t position) const;
  /// Reads the profile at this position. Absent if the file cannot be read or decoded.
  [[nodiscard]] std::optional<VendorProfile> read(std::size_t position) const;

 private:
  struct File {
    std::size_t bundle;
    std::string name;  ///< without its ending
  };

  std::vector<ResourceBundle> bundles_;
  std::vector<File> files_;
};

}  // namespace quarn

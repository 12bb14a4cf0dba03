#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfile.h"
#include "QuarnCore/vendors/VendorProfileIndex.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/resources/ResourceBundle.h"

namespace quarn {

class VendorMatcher;

/// The vendor profiles in the order of their index. Loaded once; copies share the data.
class VendorProfileRegistry {
 public:
  using Index = VendorProfileIndex;

  explicit VendorProfileRegistry(std::vector<VendorProfile> profiles = {});

  /// Loads "vendors/index.json" (else "index.json") and the files that it names. Never fails: silently skips files
  /// that cannot be read or decoded.
  static VendorProfileRegistry loadDefault(const ResourceBundle& bundle = ResourceBundle::shipped());

  [[nodiscard]] const std::vector<VendorProfile>& profiles() const { return *profiles_; }
  /// The profiles that match the app, in the order of the index.
  [[nodiscard]] std::vector<VendorProfile> matchingProfiles(const AppEntity& app) const;
  /// Their positions in `profiles()`, ascending.
  [[nodiscard]] std::vector<std::size_t> matchingIndices(const AppEntity& app) const;
  /// The artifacts of all matching profiles, in the order of the profiles.
  [[nodiscard]] std::vector<Artifact> artifacts(const AppEntity& app, const FileManager& files,
                                                const FileURL& home) const;

 private:
  std::shared_ptr<const std::vector<VendorProfile>> profiles_;
  std::shared_ptr<const std::vector<VendorMatcher>> matchers_;  ///< in the order of the profiles
};

}  // namespace quarn

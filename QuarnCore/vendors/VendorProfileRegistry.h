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

/// The vendor profiles in the order of their index. A plain value, loaded once and passed on;
/// copies share what was loaded.
class VendorProfileRegistry {
 public:
  using Index = VendorProfileIndex;

  explicit VendorProfileRegistry(std::vector<VendorProfile> profiles = {});

  /// Loads "vendors/index.json" (else "index.json") and the files that it names. Never fails: what cannot be read or
  /// decoded is left out as a whole, silently.
  static VendorProfileRegistry loadDefault(const ResourceBundle& bundle = ResourceBundle::shipped());

  [[nodiscard]] const std::vector<VendorProfile>& profiles() const { return *profiles_; }
  /// The profiles that match the app, in registry order.
  [[nodiscard]] std::vector<VendorProfile> matchingProfiles(const AppEntity& app) const;
  /// The artifacts of every matching profile, profile by profile.
  [[nodiscard]] std::vector<Artifact> artifacts(const AppEntity& app, const FileManager& files,
                                                const FileURL& home) const;

 private:
  std::shared_ptr<const std::vector<VendorProfile>> profiles_;
  std::shared_ptr<const std::vector<VendorMatcher>> matchers_;  ///< of the profiles, in their order
};

}  // namespace quarn

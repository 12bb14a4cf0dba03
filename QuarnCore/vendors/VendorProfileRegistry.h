#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfile.h"
#include "QuarnCore/vendors/VendorProfileFiles.h"
#include "QuarnCore/vendors/VendorProfileIndex.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/resources/ResourceBundle.h"

namespace quarn {

/// The vendor profiles in the order of their index. Loaded once; copies share the data.
class VendorProfileRegistry {
 public:
  using Index = VendorProfileIndex;
  /// Identifies the bundle with the library's own resources.
  struct BundleAnchor {};

  explicit VendorProfileRegistry(std::vector<VendorProfile> profiles = {});

  /// Loads "vendors/index.json" (else "index.json") and the files that it names. Never fails: silently skips files
  /// that cannot be read or decoded.
  static VendorProfileRegistry loadDefault(const ResourceBundle& bundle = ResourceBundle::containing<BundleAnchor>());
  /// Loads all files.
  static VendorProfileRegistry load(const VendorProfileFiles& files);

  [[nodiscard]] const std::vector<VendorProfile>& profiles() const;
  /// The profiles that match the app, in the order of the index.
  [[nodiscard]] std::vector<VendorProfile> matchingProfiles(const AppEntity& app) const;
  /// Their positions in `profiles()`, ascending.
  [[nodiscard]] std::vector<std::size_t> matchingIndices(const AppEntity& app) const;
  /// The artifacts of all matching profiles, in the order of the profiles.
  [[nodiscard]] std::vector<Artifact> artifacts(const AppEntity& app, const FileManager& files,
                                                const FileURL& home) const;

 private:
  struct Content;  ///< the profiles, and their matchers once an app is matched

  std::shared_ptr<const Content> content_;
};

}  // namespace quarn

#include "QuarnCore/vendors/VendorProfileRegistry.h"

#include <mutex>

#include "QuarnCore/vendors/VendorMatcher.h"
#include "QuarnPlatform/base/Parallel.h"

namespace quarn {

// The matchers are made when an app is matched for the first time; a storage scan matches none.
struct VendorProfileRegistry::Content {
  explicit Content(std::vector<VendorProfile> all) : profiles(std::move(all)) {}

  [[nodiscard]] const std::vector<VendorMatcher>& matchers() const {
    std::call_once(once, [this] {
      made.reserve(profiles.size());
      for (const VendorProfile& profile : profiles) made.emplace_back(profile);
    });
    return made;
  }

  std::vector<VendorProfile> profiles;
  mutable std::once_flag once;
  mutable std::vector<VendorMatcher> made;  // in the order of the profiles
};

VendorProfileRegistry::VendorProfileRegistry(std::vector<VendorProfile> profiles)
    : content_(std::make_shared<const Content>(std::move(profiles))) {}

const std::vector<VendorProfile>& VendorProfileRegistry::profiles() const { return content_->profiles; }

VendorProfileRegistry VendorProfileRegistry::loadDefault(const ResourceBundle& bundle) {
  return load(VendorProfileFiles({bundle}));
}

VendorProfileRegistry VendorProfileRegistry::load(const VendorProfileFiles& files) {
  return VendorProfileRegistry(
      collectInParallel<VendorProfile>(files.size(), [&](std::size_t i) { return files.read(i); }));
}

std::vector<VendorProfile> VendorProfileRegistry::matchingProfiles(const AppEntity& app) const {
  std::vector<VendorProfile> matching;
  for (const std::size_t index : matchingIndices(app)) matching.push_back(profiles()[index]);
  return matching;
}

std::vector<std::size_t> VendorProfileRegistry::matchingIndices(const AppEntity& app) const {
  const AppTexts texts(app);
  const std::vector<VendorMatcher>& matchers = content_->matchers();
  std::vector<std::size_t> matching;
  for (std::size_t i = 0; i < matchers.size(); ++i) {
    if (matchers[i].matches(texts)) matching.push_back(i);
  }
  return matching;
}

std::vector<Artifact> VendorProfileRegistry::artifacts(const AppEntity& app, const FileManager& files,
                                                       const FileURL& home) const {
  std::vector<Artifact> found;
  for (const VendorProfile& profile : matchingProfiles(app)) append(found, profile.makeArtifacts(files, home));
  return found;
}

}  // namespace quarn

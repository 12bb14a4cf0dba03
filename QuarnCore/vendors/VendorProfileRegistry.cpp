#include "QuarnCore/vendors/VendorProfileRegistry.h"

#include "QuarnCore/vendors/VendorMatcher.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/base/Parallel.h"

namespace quarn {
namespace {

constexpr std::string_view kExtension = "json";
constexpr std::string_view kSubdirectory = "vendors";

// A file in the subdirectory hides a file of the same name in the bundle's folder, even if it cannot be read.
std::optional<std::string> readResource(const ResourceBundle& bundle, std::string_view name) {
  return bundle.contains(name, kExtension, kSubdirectory) ? bundle.read(name, kExtension, kSubdirectory)
                                                          : bundle.read(name, kExtension);
}

std::string withoutExtension(std::string file) {
  constexpr std::string_view kEnding = ".json";
  for (std::size_t found = file.find(kEnding); found != std::string::npos; found = file.find(kEnding, found)) {
    file.erase(found, kEnding.size());
  }
  return file;
}

}  // namespace

VendorProfileRegistry::VendorProfileRegistry(std::vector<VendorProfile> profiles)
    : profiles_(std::make_shared<const std::vector<VendorProfile>>(std::move(profiles))) {
  std::vector<VendorMatcher> matchers;
  matchers.reserve(profiles_->size());
  for (const VendorProfile& profile : *profiles_) matchers.emplace_back(profile);
  matchers_ = std::make_shared<const std::vector<VendorMatcher>>(std::move(matchers));
}

VendorProfileRegistry VendorProfileRegistry::loadDefault(const ResourceBundle& bundle) {
  const std::optional<std::string> indexText = readResource(bundle, "index");
  const std::optional<Index> index = indexText ? decodeVendorIndex(*indexText) : std::nullopt;
  if (!index) return VendorProfileRegistry();
  return VendorProfileRegistry(
      collectInParallel<VendorProfile>(index->vendors.size(), [&](std::size_t i) -> std::optional<VendorProfile> {
        const std::optional<std::string> text = readResource(bundle, withoutExtension(index->vendors[i].file));
        return text ? decodeVendorProfile(*text) : std::nullopt;
      }));
}

std::vector<VendorProfile> VendorProfileRegistry::matchingProfiles(const AppEntity& app) const {
  std::vector<VendorProfile> matching;
  for (const std::size_t index : matchingIndices(app)) matching.push_back((*profiles_)[index]);
  return matching;
}

std::vector<std::size_t> VendorProfileRegistry::matchingIndices(const AppEntity& app) const {
  const AppTexts texts(app);
  std::vector<std::size_t> matching;
  for (std::size_t i = 0; i < profiles_->size(); ++i) {
    if ((*matchers_)[i].matches(texts)) matching.push_back(i);
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

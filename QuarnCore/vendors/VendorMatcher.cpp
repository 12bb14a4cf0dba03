#include "QuarnCore/vendors/VendorMatcher.h"

#include <algorithm>

#include "QuarnCore/vendors/PatternText.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextComposition.h"

namespace quarn {
namespace {

// The form for comparisons: ignores case and normalisation. "cafe" does not match "café", whatever its normalisation.
std::string comparable(std::string_view text) { return composed(Text::lowercased(text)); }

std::vector<std::string> allComparable(const std::vector<std::string>& texts) {
  std::vector<std::string> result;
  result.reserve(texts.size());
  for (const std::string& text : texts) result.push_back(comparable(text));
  return result;
}

std::vector<std::string> appBundleNames(const VendorProfile& profile) {
  std::vector<std::string> names;
  for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) {
    if (definition.kind != ArtifactKind::appBundle) continue;
    for (const std::string& path : definition.paths) {
      const std::vector<std::string_view> pieces = path::names(trimmed(path));
      if (!pieces.empty()) names.push_back(comparable(pieces.back()));
    }
  }
  return names;
}

}  // namespace

AppTexts::AppTexts(const AppEntity& app)
    : bundleID(comparable(app.bundleIdentifier.value_or(""))),
      name(comparable(app.name)),
      bundleName(comparable(app.bundleURL.lastPathComponent())) {}

// Empty prefixes and fragments would match every app, so they are removed.
VendorMatcher::VendorMatcher(const VendorProfile& profile)
    : bundleIDs_(allComparable(profile.match.bundleIDs)),
      prefixes_(allComparable(profile.match.bundleIDPrefixes)),
      nameParts_(allComparable(profile.match.nameContains)),
      bundleNames_(appBundleNames(profile)) {
  std::erase(prefixes_, "");
  std::erase(nameParts_, "");
}

bool VendorMatcher::matches(const AppTexts& app) const {
  if (std::find(bundleIDs_.begin(), bundleIDs_.end(), app.bundleID) != bundleIDs_.end()) return true;
  const auto beginsBundleID = [&](const std::string& prefix) { return app.bundleID.starts_with(prefix); };
  return std::any_of(prefixes_.begin(), prefixes_.end(), beginsBundleID) || matchesByName(app);
}

bool VendorMatcher::matchesByName(const AppTexts& app) const {
  const auto isInName = [&](const std::string& part) { return app.name.find(part) != std::string::npos; };
  if (std::none_of(nameParts_.begin(), nameParts_.end(), isInName)) return false;
  return bundleNames_.empty() || std::any_of(bundleNames_.begin(), bundleNames_.end(), [&](const std::string& name) {
           return VendorPathResolver::matches(name, app.bundleName);
         });
}

// Defined here, so that the record does not depend on its matcher.
bool VendorProfile::matches(const AppEntity& app) const { return VendorMatcher(*this).matches(AppTexts(app)); }

}  // namespace quarn

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnCore/vendors/PatternText.h"
#include "QuarnCore/vendors/VendorMatcher.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"

namespace {

/// Matches the profile with an app that is named after a text of the profile, and expands its patterns.
void use(const quarn::VendorProfile& profile, const std::string& name) {
  const quarn::AppEntity app{
      .name = name, .bundleIdentifier = name, .bundleURL = quarn::FileURL("/Applications/x.app")};
  (void)quarn::VendorMatcher(profile).matches(quarn::AppTexts(app));
  for (const auto& artifact : profile.artifacts) {
    for (const std::string& pattern : artifact.paths) {
      const auto path = quarn::expandedPattern(pattern, quarn::FileURL("/Users/ann"));
      if (path && !path->starts_with('/')) std::abort();
    }
  }
}

}  // namespace

/// A profile or an index that cannot be read has an error message. One that can survives writing and reading.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string problem;
  if (const auto index = quarn::decodeVendorIndex(text, &problem)) {
    if (!quarn::decodeVendorIndex(quarn::encodeVendorIndex(*index).dump())) std::abort();
  } else if (problem.empty()) {
    std::abort();
  }
  problem.clear();
  const std::optional<quarn::VendorProfile> profile = quarn::decodeVendorProfile(text, &problem);
  if (!profile) {
    if (problem.empty()) std::abort();
    return 0;
  }
  const auto again = quarn::decodeVendorProfile(quarn::encodeVendorProfile(*profile).dump());
  if (!again || !(*again == *profile)) std::abort();
  use(*profile, profile->match.nameContains.empty() ? profile->displayName : profile->match.nameContains.front());
  return 0;
}

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnCore/vendors/PatternText.h"
#include "QuarnCore/vendors/VendorMatcher.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"

/// A profile that is read can be matched against any app; one that is not read says why.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string problem;
  const std::optional<quarn::VendorProfile> profile = quarn::decodeVendorProfile(text, &problem);
  if (!profile && problem.empty()) std::abort();
  (void)quarn::decodeVendorIndex(text);
  if (!profile) return 0;
  const quarn::VendorMatcher matcher(*profile);
  const std::string name(text.substr(0, 64));
  const quarn::AppEntity app{
      .name = name, .bundleIdentifier = name, .bundleURL = quarn::FileURL("/Applications/x.app")};
  (void)matcher.matches(quarn::AppTexts(app));
  (void)quarn::expandedPattern(name, quarn::FileURL("/Users/ann"));
  return 0;
}

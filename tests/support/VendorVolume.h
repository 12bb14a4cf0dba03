#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/AppEntity.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// The profiles as the build lays them out, with the index that it writes.
VendorProfileRegistry shippedVendorProfiles();

/// Names one profile in a message: several products of a vendor have profiles with the vendor's id.
std::string productOf(const VendorProfile& profile);

/// Every path pattern of the profile, those of carve-outs last.
std::vector<std::string> patternsOf(const VendorProfile& profile);

/// The names of the bundles that the profile calls its apps, patterns among them.
std::vector<std::string> appBundleNames(const VendorProfile& profile);

/// An app that the profile recognises as its vendor's: by the first identifier, else by the first prefix, else by the
/// first name, in the first bundle that the profile names. Absent for a profile that recognises no app. Nothing is
/// written.
std::optional<AppEntity> vendorApp(const VendorProfile& profile, const MacVolume& volume);

/// An item for every path pattern of the profile, "1" in the place of each "*", and the profile's app. A pattern that
/// others lie below, or whose name has no ending of a file, becomes a folder with something in it; patterns of app
/// bundles become apps. Returns the items' paths, each once, in the profile's order.
std::vector<std::string> installVendor(MacVolume& volume, const VendorProfile& profile);

/// The paths of these patterns on the volume, `star` in the place of each "*", each once. Nothing is written.
std::vector<std::string> concretePaths(const MacVolume& volume, const std::vector<std::string>& patterns,
                                       std::string_view star);

/// An empty file or folder for each of these patterns, `star` in the place of each "*". Returns the items' paths, each
/// once, in the order of the patterns.
std::vector<std::string> installPatterns(MacVolume& volume, const std::vector<std::string>& patterns,
                                         std::string_view star);

}  // namespace quarn

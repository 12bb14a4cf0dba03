#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/AppEntity.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// The profiles of the build, with their generated index.
VendorProfileRegistry shippedVendorProfiles();

/// A label for a profile in messages. Several products of a vendor have profiles with the vendor's id.
std::string productOf(const VendorProfile& profile);

/// All path patterns of the profile, those of carve-outs last.
std::vector<std::string> patternsOf(const VendorProfile& profile);

/// The names (or patterns) of the profile's app bundles.
std::vector<std::string> appBundleNames(const VendorProfile& profile);

/// An app that the profile matches: by its first identifier, else its first prefix, else its first name, in its first
/// bundle. Absent if the profile matches no app. Writes nothing.
std::optional<AppEntity> vendorApp(const VendorProfile& profile, const MacVolume& volume);

/// Creates an item for every path pattern of the profile, with "1" for each "*", and the profile's app. A pattern
/// becomes a non-empty folder if other patterns are below it or if its name has no file extension; patterns of app
/// bundles become apps. Returns the paths in order, without duplicates.
std::vector<std::string> installVendor(MacVolume& volume, const VendorProfile& profile);

/// The paths of these patterns on the volume, with `star` for each "*", without duplicates. Writes nothing.
std::vector<std::string> concretePaths(const MacVolume& volume, const std::vector<std::string>& patterns,
                                       std::string_view star);

/// Creates an empty file or folder for each of these patterns, with `star` for each "*". Returns the paths in order,
/// without duplicates.
std::vector<std::string> installPatterns(MacVolume& volume, const std::vector<std::string>& patterns,
                                         std::string_view star);

}  // namespace quarn

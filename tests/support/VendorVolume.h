#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/AppEntity.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// The profiles as they stand in the sources.
VendorProfileRegistry shippedVendorProfiles();

/// An app that the profile recognises as its vendor's: by the first identifier, else by the first prefix, else by the
/// first name, in the first bundle that the profile names. Absent for a profile that recognises no app. Nothing is
/// written.
std::optional<AppEntity> vendorApp(const VendorProfile& profile, const MacVolume& volume);

/// An item for every path pattern of the profile, "1" in the place of each "*", and the profile's app. A pattern that
/// others lie below, or whose name has no ending of a file, becomes a folder with something in it; patterns of app
/// bundles become apps. Returns the items' paths, each once, in the profile's order.
std::vector<std::string> installVendor(MacVolume& volume, const VendorProfile& profile);

}  // namespace quarn

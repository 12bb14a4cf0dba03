#pragma once

#include <string>
#include <vector>

namespace quarn {

/// What public package metadata says about a vendor's products, independent of the profiles: the source of truth that
/// the profiles are compared with.
struct VendorFacts {
  std::string id;
  std::vector<std::string> bundleIDs;  ///< of apps, helpers and extensions alike
  std::vector<std::string> paths;      ///< patterns of files that a removal deletes
};

/// All facts of tests/QuarnCore/vendors/vendor-facts.json, by vendor id. Throws when the file is missing or broken.
std::vector<VendorFacts> vendorFacts();

}  // namespace quarn

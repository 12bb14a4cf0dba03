#pragma once

#include <string>
#include <vector>

namespace quarn {

/// Public package metadata of a vendor's products, independent of the profiles. The tests compare the profiles with
/// it.
struct VendorFacts {
  std::string id;
  std::vector<std::string> bundleIDs;  ///< of apps, helpers and extensions
  std::vector<std::string> paths;      ///< patterns of the files that a removal deletes
};

/// All facts in tests/QuarnCore/vendors/vendor-facts.json, by vendor id. Throws if the file is missing or malformed.
std::vector<VendorFacts> vendorFacts();

}  // namespace quarn

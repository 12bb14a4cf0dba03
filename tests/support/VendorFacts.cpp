#include "tests/support/VendorFacts.h"

#include <fstream>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/support/ProjectFolder.h"

namespace quarn {

std::vector<VendorFacts> vendorFacts() {
  std::ifstream file(projectFolder() / "tests/QuarnCore/vendors/vendor-facts.json");
  const nlohmann::json document = nlohmann::json::parse(file);
  std::vector<VendorFacts> facts;
  for (const auto& [id, vendor] : document.at("vendors").items()) {
    const auto texts = [&](const char* key) { return vendor.value(key, std::vector<std::string>{}); };
    VendorFacts one{.id = id, .bundleIDs = texts("bundleIDs"), .paths = texts("zap")};
    for (std::string& path : texts("uninstallDelete")) one.paths.push_back(std::move(path));
    facts.push_back(std::move(one));
  }
  return facts;
}

}  // namespace quarn

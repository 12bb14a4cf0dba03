#include "QuarnCore/vendors/VendorProfileJSON.h"

#include "QuarnCore/vendors/VendorProfileFields.h"
#include "QuarnModels/RecordFile.h"

namespace quarn {

std::optional<VendorProfile> decodeVendorProfile(std::string_view text, std::string* problem) {
  return wire::decodeFile<VendorProfile>(text, problem);
}

std::optional<VendorProfileIndex> decodeVendorIndex(std::string_view text, std::string* problem) {
  return wire::decodeFile<VendorProfileIndex>(text, problem);
}

nlohmann::ordered_json encodeVendorProfile(const VendorProfile& profile) { return wire::treeOf(profile); }

nlohmann::ordered_json encodeVendorIndex(const VendorProfileIndex& index) { return wire::treeOf(index); }

}  // namespace quarn

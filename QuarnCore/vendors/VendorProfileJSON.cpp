#include "QuarnCore/vendors/VendorProfileJSON.h"

#include "QuarnCore/vendors/VendorProfileFields.h"
#include "QuarnModels/RecordFile.h"

namespace quarn {
namespace wire {

template <>
struct Fields<VendorProfilePaths> {
  static constexpr auto kMembers =
      std::tuple(member("id", &VendorProfilePaths::id), member("artifacts", &VendorProfilePaths::artifacts),
                 member("carveOuts", &VendorProfilePaths::carveOuts));
};

template <>
struct Fields<VendorProfilePaths::Definition> {
  static constexpr auto kMembers = std::tuple(member("paths", &VendorProfilePaths::Definition::paths));
};

}  // namespace wire

std::optional<VendorProfile> decodeVendorProfile(std::string_view text, std::string* problem) {
  return wire::decodeFile<VendorProfile>(text, problem);
}

std::optional<VendorProfilePaths> readVendorPaths(std::string_view text) {
  return wire::readUsualFile<VendorProfilePaths>(text);
}

std::optional<VendorProfileIndex> decodeVendorIndex(std::string_view text, std::string* problem) {
  return wire::decodeFile<VendorProfileIndex>(text, problem);
}

nlohmann::ordered_json encodeVendorProfile(const VendorProfile& profile) { return wire::treeOf(profile); }

nlohmann::ordered_json encodeVendorIndex(const VendorProfileIndex& index) { return wire::treeOf(index); }

}  // namespace quarn

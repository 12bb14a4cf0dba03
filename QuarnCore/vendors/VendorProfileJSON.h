#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "QuarnCore/vendors/VendorProfile.h"
#include "QuarnCore/vendors/VendorProfileIndex.h"

namespace quarn {

/// Parses a profile. Absent if a member is missing or wrong; then stores the error in `problem` if it is not null,
/// for example "artifacts[2].kind: not a kind of artifact". The keys are the field names; unknown keys are ignored.
std::optional<VendorProfile> decodeVendorProfile(std::string_view text, std::string* problem = nullptr);

/// Where a vendor's files are: the part of a profile that says whether the rest is needed.
struct VendorProfilePaths {
  struct Definition {
    std::vector<std::string> paths{};
  };
  std::string id{};
  std::vector<Definition> artifacts{};
  std::vector<Definition> carveOuts{};
};

/// Reads that part of a profile. Absent if the text is wrong, or so unusual that only `decodeVendorProfile` can judge
/// it. Does not check the other members.
std::optional<VendorProfilePaths> readVendorPaths(std::string_view text);

/// Parses an index in the same way as a profile.
std::optional<VendorProfileIndex> decodeVendorIndex(std::string_view text, std::string* problem = nullptr);

/// Encode the records in the form of their files: members in order, without absent explanations.
nlohmann::ordered_json encodeVendorProfile(const VendorProfile& profile);
nlohmann::ordered_json encodeVendorIndex(const VendorProfileIndex& index);

}  // namespace quarn

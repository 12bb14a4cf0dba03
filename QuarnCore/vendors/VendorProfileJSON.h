#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "QuarnCore/vendors/VendorProfile.h"
#include "QuarnCore/vendors/VendorProfileIndex.h"

namespace quarn {

/// A vendor file's text as its record; absent when anything in it is missing or wrong, and then `problem`, when given,
/// says what: "artifacts[2].kind: not a kind of artifact". Keys are the field names, unknown keys are ignored.
std::optional<VendorProfile> decodeVendorProfile(std::string_view text, std::string* problem = nullptr);

/// The index file's text as its record, likewise.
std::optional<VendorProfileIndex> decodeVendorIndex(std::string_view text, std::string* problem = nullptr);

/// The records as their resource files have them: keys in field order, an absent explanation left out.
nlohmann::ordered_json encodeVendorProfile(const VendorProfile& profile);
nlohmann::ordered_json encodeVendorIndex(const VendorProfileIndex& index);

}  // namespace quarn

#include "QuarnCore/vendors/VendorProfileJSON.h"

#include "QuarnCore/vendors/VendorProfileFields.h"
#include "QuarnPlatform/json/PlainText.h"

namespace quarn {
namespace {

// Removes white space and then `mark` from the front of a text.
bool takeProfileMark(std::string_view& text, std::string_view mark) {
  text.remove_prefix(whiteBytes(text));
  if (!text.starts_with(mark)) return false;
  text.remove_prefix(mark.size());
  return true;
}

}  // namespace

std::optional<VendorProfile> decodeVendorProfile(std::string_view text, std::string* problem) {
  return wire::decodeFile<VendorProfile>(text, problem);
}

// Of equal keys the first one counts.
std::optional<std::string_view> leadingProfileID(std::string_view text) {
  for (const std::string_view mark : std::initializer_list<std::string_view>{"{", "\"id\"", ":", "\""}) {
    if (!takeProfileMark(text, mark)) return std::nullopt;
  }
  const std::size_t length = plainBytes(text);
  return text.substr(length).starts_with('"') ? std::optional(text.substr(0, length)) : std::nullopt;
}

std::optional<VendorProfileIndex> decodeVendorIndex(std::string_view text, std::string* problem) {
  return wire::decodeFile<VendorProfileIndex>(text, problem);
}

nlohmann::ordered_json encodeVendorProfile(const VendorProfile& profile) { return wire::treeOf(profile); }

nlohmann::ordered_json encodeVendorIndex(const VendorProfileIndex& index) { return wire::treeOf(index); }

}  // namespace quarn

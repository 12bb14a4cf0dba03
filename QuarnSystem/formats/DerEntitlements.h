#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "QuarnSystem/formats/PropertyList.h"

namespace quarn {

/// The entitlements in a DER blob (without its blob header), as the dictionary that the XML form would give: booleans,
/// integers, strings, arrays and dictionaries. Both the form in use, a versioned wrapper (0x70) around a dictionary
/// (0xB0), and the older bare set (0x31). Absent when the bytes are neither, a length is indefinite or leaves what
/// encloses it, a dictionary's entry is not a key and a value, or the bounds of `PropertyList` are exceeded. A value of
/// a type that the format does not have, or an integer of more than 64 bits, is a null; what follows the end is
/// ignored.
std::optional<PropertyList> parseDerEntitlements(std::string_view bytes);

}  // namespace quarn

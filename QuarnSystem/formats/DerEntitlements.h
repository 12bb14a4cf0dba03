#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "QuarnSystem/formats/PropertyList.h"

namespace quarn {

/// Parses a DER entitlements blob (without the blob's header) into the same dictionary as the XML form: booleans,
/// integers, strings, arrays and dictionaries. Accepts the current form, a versioned wrapper (0x70) around a
/// dictionary (0xB0), and the older bare set (0x31). Absent if the bytes are neither, a length is indefinite or
/// exceeds its container, an entry of a dictionary is not a key and a value, or a limit of `PropertyList` is
/// exceeded. Values of unknown types and integers of more than 64 bits become null. Bytes after the end are ignored.
std::optional<PropertyList> parseDerEntitlements(std::string_view bytes);

}  // namespace quarn

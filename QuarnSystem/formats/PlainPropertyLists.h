#pragma once

#include <optional>
#include <string_view>

namespace quarn {

class PropertyList;

/// Read the usual small property list, such as an Info.plist, many times as fast as the library: dictionaries and
/// arrays of strings, integers and booleans, in XML as Apple's tools write it, or binary. Every list that they accept,
/// the library accepts with the same value. Absent for everything else, which the guards and the library must judge.
/// Pure functions.
std::optional<PropertyList> readPlainXmlPropertyList(std::string_view bytes);
std::optional<PropertyList> readPlainBinaryPropertyList(std::string_view bytes);

}  // namespace quarn

#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quarn {

class PropertyList;

/// Checks that run before the property list library. The library recurses as deep as the file says, copies shared
/// values, takes quadratic time for some counts, and terminates the program if a key has a zero byte. The guards walk
/// the bytes first, in time linear in the limits of `PropertyList`, and accept only well-formed lists within these
/// limits. Pure functions.

/// What decides how much memory the library takes for a list.
struct PropertyListCost {
  std::uint64_t values = 0;     ///< values and keys, counted once per reference
  std::uint64_t textBytes = 0;  ///< at least the bytes of strings and data, likewise
};

/// True for a binary list ("bplist00") if its trailer and offset table are valid, and if every object reachable from
/// the top is entirely in the file, has a known type and size, is not its own ancestor, and stays within the limits.
/// A shared value counts as often as it is referred to. Stores the cost of a safe list in `cost` if it is not null.
bool isSafeBinaryPropertyList(std::string_view bytes, PropertyListCost* cost = nullptr);

/// The part of the text up to the end of its value, if it is a well-formed XML list within the limits; else empty.
/// Well-formed here means: only elements of the format, nested by its rules, no document type with declarations, no
/// angle bracket in an attribute, no zero byte. Stores the cost of a safe list in `cost` if it is not null.
std::string_view safeXmlPropertyList(std::string_view text, PropertyListCost* cost = nullptr);

/// `PropertyList::parse` by the guards and the library alone: slower, and the judge of every list.
std::optional<PropertyList> parsePropertyListByLibrary(std::string_view bytes);

}  // namespace quarn

#pragma once

#include <string_view>

namespace quarn {

/// Checks that run before the property list library. The library recurses as deep as the file says, copies shared
/// values, takes quadratic time for some counts, and terminates the program if a key has a zero byte. The guards walk
/// the bytes first, in time linear in the limits of `PropertyList`, and accept only well-formed lists within these
/// limits.
/// them. Free functions without state.

/// True for a binary list ("bplist00") if its trailer and offset table are valid, and if every object reachable from
/// the top is entirely in the file, has a known type and size, is not its own ancestor, and stays within the limits.
/// A shared value counts as often as it is referred to.
bool isSafeBinaryPropertyList(std::string_view bytes);

/// The part of the text up to the end of its value, if it is a well-formed XML list within the limits; else empty.
/// Well-formed here means: only elements of the format, nested by its rules, no document type with declarations, no
/// angle bracket in an attribute, no zero byte.
std::string_view safeXmlPropertyList(std::string_view text);

}  // namespace quarn

#pragma once

#include <string_view>

namespace quarn {

/// What stands between a file and the property list library: that library recurses as deep as the file says, copies
/// what is shared, takes time quadratic in some counts, and ends the program over a zero byte in a key. The guards walk
/// the bytes first, in time linear in the bounds of `PropertyList`, and let through only what is well-formed and within
/// them. Free functions without state.

/// Whether a binary list ("bplist00") has a sound trailer and offset table, and everything reachable from its top lies
/// in the file in full, is of a type and size the format knows, is not its own ancestor, and stays within the bounds
/// when each shared value is counted as often as it is referred to.
bool isSafeBinaryPropertyList(std::string_view bytes);

/// The part of the text from its start to the end of its one value that is a well-formed XML list within the bounds;
/// empty when there is none. Well-formed in the narrow sense of the format: its elements, nested by its rules, no
/// document type with declarations of its own, no angle bracket in an attribute, no zero byte.
std::string_view safeXmlPropertyList(std::string_view text);

}  // namespace quarn

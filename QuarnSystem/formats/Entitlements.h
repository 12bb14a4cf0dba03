#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnSystem/formats/ByteSource.h"
#include "QuarnSystem/formats/CodeSignature.h"
#include "QuarnSystem/formats/PropertyList.h"

namespace quarn {

/// Functions that read the entitlements in a program's signature.

/// The entitlements in a signature: the XML blob, or the DER blob if there is no XML. Absent if there is neither, or
/// if that blob is not a readable dictionary.
std::optional<PropertyList> entitlementsOf(const CodeSignature& signature);

/// The entitlements of a program file: those of the first slice that has any, in the order arm64 (all subtypes),
/// x86_64, others; equal slices in file order. Absent if the file is not Mach-O, is unsigned or has none. Reads only
/// the headers and the signatures, each at most `kMaxSignatureBytes` long.
std::optional<PropertyList> readEntitlements(const ByteSource& program);

/// The team that signed a program file: that of the first slice with a team, in the same order. Empty without a
/// signature or a team.
std::string readTeamIdentifier(const ByteSource& program);

/// The application groups: the strings of "com.apple.security.application-groups" in order, whether it is an array or
/// a single string. A group name is also the name of a folder, so invalid file names (empty, ".", "..", or with "/"
/// or a zero byte) are dropped.
std::vector<std::string> applicationGroups(const PropertyList& entitlements);

/// The application groups of a program file; empty if it has no readable entitlements.
std::vector<std::string> readApplicationGroups(const ByteSource& program);

}  // namespace quarn

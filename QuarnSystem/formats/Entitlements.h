#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnSystem/formats/ByteSource.h"
#include "QuarnSystem/formats/CodeSignature.h"
#include "QuarnSystem/formats/PropertyList.h"

namespace quarn {

/// Readers of what a program's signature entitles it to. Free functions without state.

/// A signature's entitlements: those of the XML blob, or of the DER blob when there is no XML. Absent when it has
/// neither or the one that counts is not a readable dictionary.
std::optional<PropertyList> entitlementsOf(const CodeSignature& signature);

/// A program file's entitlements: those of its first slice that has some, asked in the order arm64 (every subtype),
/// x86_64, others, slices of one rank in file order. Absent for a file that is no Mach-O, is unsigned or has none.
/// Reads the headers and the signatures, each of at most `kMaxSignatureBytes`, not the program.
std::optional<PropertyList> readEntitlements(const ByteSource& program);

/// The application groups in entitlements: the strings of "com.apple.security.application-groups", in order, whether it
/// is an array or a single string. A group's name is the name of a folder, so what cannot name one (empty, "." and
/// "..", or with "/" or a zero byte in it) is left out.
std::vector<std::string> applicationGroups(const PropertyList& entitlements);

/// The application groups of a program file; empty whenever it has no readable entitlements.
std::vector<std::string> readApplicationGroups(const ByteSource& program);

}  // namespace quarn

#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarn {

/// What a code signature says of a program, without any check that it is genuine. A plain value; empty text where the
/// signature has nothing readable.
struct CodeSignature {
  std::string identifier{};       ///< most often the bundle identifier
  std::string teamIdentifier{};   ///< empty for a signature without a developer account
  std::string entitlementsXml{};  ///< an XML property list
  std::string entitlementsDer{};  ///< the same in ASN.1, on signatures since about 2020

  /// The signature in the bytes that a slice's load command points to (an "embedded signature" blob, padding behind it
  /// or not); absent when they are none. A part that does not lie in it, or is not what its place says, is missing.
  static std::optional<CodeSignature> parse(std::string_view bytes);

  friend bool operator==(const CodeSignature&, const CodeSignature&) = default;
};

}  // namespace quarn

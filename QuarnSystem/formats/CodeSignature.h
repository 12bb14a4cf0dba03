#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarn {

/// The content of a code signature. Nothing here checks that the signature is valid. Fields that cannot be read are
/// empty.
struct CodeSignature {
  std::string identifier{};       ///< usually the bundle identifier
  std::string teamIdentifier{};   ///< empty for a signature without a team
  std::string entitlementsXml{};  ///< an XML property list
  std::string entitlementsDer{};  ///< the same in DER, in signatures since about 2020

  /// Parses an embedded signature: the bytes that the load command of a slice points to, possibly with padding.
  /// Absent if the bytes are not a signature. Parts outside the signature or with a wrong magic stay empty.
  static std::optional<CodeSignature> parse(std::string_view bytes);

  friend bool operator==(const CodeSignature&, const CodeSignature&) = default;
};

}  // namespace quarn

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Storage.h"
#include "QuarnPlatform/ResourceBundle.h"

namespace quarn {

/// Which names mark a storage category wherever they lie, and which extensions count wholesale to one. Decoded from one
/// JSON resource; keys are the field names. A plain value, immutable once loaded.
class StorageSignatureRegistry {
 public:
  struct Signature {
    enum class Kind : std::uint8_t { packageExtension, markerFile, markerDirectory };

    StorageCategoryID category = StorageCategoryID::other;
    Kind kind = Kind::packageExtension;
    std::string pattern;
    std::optional<std::string> reason;

    friend bool operator==(const Signature&, const Signature&) = default;
  };

  /// The fallback: version 1, no signatures.
  StorageSignatureRegistry() = default;
  StorageSignatureRegistry(std::int64_t version, std::vector<Signature> signatures)
      : version_(version), signatures_(std::move(signatures)) {}

  /// Reads "storage-signatures.json" of the bundle; the fallback when it is missing or malformed. Never fails.
  static StorageSignatureRegistry loadDefault(const ResourceBundle& bundle = ResourceBundle::shipped());

  [[nodiscard]] std::int64_t version() const { return version_; }
  [[nodiscard]] const std::vector<Signature>& signatures() const { return signatures_; }
  /// The category's marker rules in file order.
  [[nodiscard]] std::vector<Signature> markerSignatures(StorageCategoryID category) const;
  /// Category by lower-cased extension; the last rule for an extension holds.
  [[nodiscard]] std::map<std::string, StorageCategoryID, std::less<>> packageCategoryByExtension() const;

 private:
  std::int64_t version_ = 1;
  std::vector<Signature> signatures_;
};

template <>
struct RawValues<StorageSignatureRegistry::Signature::Kind> {
  static constexpr std::array<std::string_view, 3> kStrings{"packageExtension", "markerFile", "markerDirectory"};
};

}  // namespace quarn

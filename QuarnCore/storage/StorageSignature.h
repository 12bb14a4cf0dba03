#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnModels/Storage.h"
#include "QuarnPlatform/base/RecordHash.h"

namespace quarn {

/// A name or extension that marks a storage category anywhere on the volume. The keys of the JSON resource are the
/// field names.
struct StorageSignature {
  enum class Kind : std::uint8_t { packageExtension, markerFile, markerDirectory };

  StorageCategoryID category = StorageCategoryID::other;
  Kind kind = Kind::packageExtension;
  std::string pattern{};
  std::optional<std::string> reason{};

  friend bool operator==(const StorageSignature&, const StorageSignature&) = default;
};

/// The content of the signature resource. The default is the fallback: version 1, no signatures.
struct StorageSignatureTable {
  std::int64_t version = 1;
  std::vector<StorageSignature> signatures{};

  friend bool operator==(const StorageSignatureTable&, const StorageSignatureTable&) = default;
};

template <>
struct RawValues<StorageSignature::Kind> {
  static constexpr std::array<std::string_view, 3> kStrings{"packageExtension", "markerFile", "markerDirectory"};
};

}  // namespace quarn

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::StorageSignature> {
  std::size_t operator()(const quarn::StorageSignature& record) const {
    const auto& [category, kind, pattern, reason] = record;
    return quarn::hashOfFields(category, kind, pattern, reason);
  }
};

#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/storage/StorageSignature.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/resources/ResourceBundle.h"

namespace quarn {

/// The names that mark a storage category anywhere on the volume, and the extensions that count for one. Decoded from
/// a JSON resource; the keys are the field names. Immutable.
class StorageSignatureRegistry {
 public:
  using Signature = StorageSignature;
  /// Identifies the bundle with the library's own resources.
  struct BundleAnchor {};

  /// The fallback: version 1, no signatures.
  StorageSignatureRegistry() = default;
  explicit StorageSignatureRegistry(StorageSignatureTable table) : table_(std::move(table)) {}

  /// Reads "storage-signatures.json"; the fallback if it is missing or malformed. Never fails.
  static StorageSignatureRegistry loadDefault(
      const ResourceBundle& bundle = ResourceBundle::containing<BundleAnchor>());

  [[nodiscard]] const StorageSignatureTable& table() const { return table_; }
  [[nodiscard]] std::int64_t version() const { return table_.version; }
  [[nodiscard]] const std::vector<Signature>& signatures() const { return table_.signatures; }
  /// The markers of the category, in file order.
  [[nodiscard]] std::vector<Signature> markerSignatures(StorageCategoryID category) const;
  /// Categories by lower-cased extension; the last rule for an extension wins.
  [[nodiscard]] std::map<std::string, StorageCategoryID, std::less<>> packageCategoryByExtension() const;

 private:
  StorageSignatureTable table_;
};

}  // namespace quarn

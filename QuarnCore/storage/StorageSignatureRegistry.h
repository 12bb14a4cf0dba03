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

/// Which names mark a storage category wherever they lie, and which extensions count wholesale to one. Decoded from one
/// JSON resource; keys are the field names. A plain value, immutable once loaded.
class StorageSignatureRegistry {
 public:
  using Signature = StorageSignature;

  /// The fallback: version 1, no signatures.
  StorageSignatureRegistry() = default;
  explicit StorageSignatureRegistry(StorageSignatureTable table) : table_(std::move(table)) {}

  /// Reads "storage-signatures.json" of the bundle; the fallback when it is missing or malformed. Never fails.
  static StorageSignatureRegistry loadDefault(const ResourceBundle& bundle = ResourceBundle::shipped());

  [[nodiscard]] const StorageSignatureTable& table() const { return table_; }
  [[nodiscard]] std::int64_t version() const { return table_.version; }
  [[nodiscard]] const std::vector<Signature>& signatures() const { return table_.signatures; }
  /// The category's marker rules in file order.
  [[nodiscard]] std::vector<Signature> markerSignatures(StorageCategoryID category) const;
  /// Category by lower-cased extension; the last rule for an extension holds.
  [[nodiscard]] std::map<std::string, StorageCategoryID, std::less<>> packageCategoryByExtension() const;

 private:
  StorageSignatureTable table_;
};

}  // namespace quarn

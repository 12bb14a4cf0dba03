#include "QuarnCore/storage/StorageSignatureRegistry.h"

#include <algorithm>
#include <iterator>

#include "QuarnCore/storage/StorageSignatureJSON.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {

StorageSignatureRegistry StorageSignatureRegistry::loadDefault(const ResourceBundle& bundle) {
  const std::optional<std::string> text = bundle.read("storage-signatures", "json");
  std::optional<StorageSignatureTable> table = text ? decodeStorageSignatures(*text) : std::nullopt;
  return table ? StorageSignatureRegistry(std::move(*table)) : StorageSignatureRegistry();
}

std::vector<StorageSignatureRegistry::Signature> StorageSignatureRegistry::markerSignatures(
    StorageCategoryID category) const {
  std::vector<Signature> markers;
  std::copy_if(table_.signatures.begin(), table_.signatures.end(), std::back_inserter(markers),
               [&](const Signature& signature) {
                 return signature.category == category && signature.kind != Signature::Kind::packageExtension;
               });
  return markers;
}

std::map<std::string, StorageCategoryID, std::less<>> StorageSignatureRegistry::packageCategoryByExtension() const {
  std::map<std::string, StorageCategoryID, std::less<>> categories;
  for (const Signature& signature : table_.signatures) {
    if (signature.kind != Signature::Kind::packageExtension) continue;
    categories.insert_or_assign(Text::lowercased(signature.pattern), signature.category);
  }
  return categories;
}

}  // namespace quarn

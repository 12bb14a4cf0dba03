#include "quarn/services/Knowledge.h"

#include <utility>

namespace quarn {

bool addsKnowledge(const ResourceBundle& bundle) {
  return bundle.contains("index", "json", "vendors") || bundle.contains("index", "json") ||
         bundle.contains("storage-signatures", "json");
}

VendorProfileFiles profilesOf(const ResourceBundle& first, const std::vector<ResourceBundle>& more) {
  std::vector<ResourceBundle> bundles{first};
  bundles.insert(bundles.end(), more.begin(), more.end());
  return VendorProfileFiles(bundles);
}

StorageSignatureRegistry signaturesOf(const ResourceBundle& first, const std::vector<ResourceBundle>& more) {
  StorageSignatureTable table = StorageSignatureRegistry::loadDefault(first).table();
  for (const ResourceBundle& bundle : more) {
    const StorageSignatureRegistry added = StorageSignatureRegistry::loadDefault(bundle);
    table.signatures.insert(table.signatures.end(), added.signatures().begin(), added.signatures().end());
  }
  return StorageSignatureRegistry(std::move(table));
}

}  // namespace quarn

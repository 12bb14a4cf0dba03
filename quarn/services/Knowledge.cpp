#include "quarn/services/Knowledge.h"

#include <utility>

namespace quarn {

bool addsKnowledge(const ResourceBundle& bundle) {
  return bundle.contains("index", "json", "vendors") || bundle.contains("index", "json") ||
         bundle.contains("storage-signatures", "json");
}

VendorProfileRegistry profilesOf(const ResourceBundle& first, const std::vector<ResourceBundle>& more) {
  VendorProfileRegistry registry = VendorProfileRegistry::loadDefault(first);
  if (more.empty()) return registry;
  std::vector<VendorProfile> profiles = registry.profiles();
  for (const ResourceBundle& bundle : more) {
    const VendorProfileRegistry added = VendorProfileRegistry::loadDefault(bundle);
    profiles.insert(profiles.end(), added.profiles().begin(), added.profiles().end());
  }
  return VendorProfileRegistry(std::move(profiles));
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

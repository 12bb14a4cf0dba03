#include "QuarnCore/storage/StorageSignatureJSON.h"

#include "QuarnPlatform/JSON.h"
#include "QuarnPlatform/JSONLibrary.h"
#include "QuarnPlatform/JSONRecord.h"

namespace quarn {
namespace {

using Signature = StorageSignatureRegistry::Signature;

Signature decodeSignature(const JSONRecord& record) {
  const auto category = fromRawValue<StorageCategoryID>(record.string("category"));
  const auto kind = fromRawValue<Signature::Kind>(record.string("kind"));
  if (!category) record.fail("category", "not a storage category");
  if (!kind) record.fail("kind", "not a kind of signature");
  return {.category = category.value_or(StorageCategoryID::other),
          .kind = kind.value_or(Signature::Kind::packageExtension),
          .pattern = record.string("pattern"),
          .reason = record.optionalString("reason")};
}

}  // namespace

std::optional<StorageSignatureRegistry> decodeStorageSignatures(std::string_view text, std::string* problem) {
  std::string found;
  std::optional<StorageSignatureRegistry> registry;
  if (const std::optional<nlohmann::json> value = parseJSON(text, &found)) {
    const JSONRecord record(*value, found);
    const std::int64_t version = record.integer("version");
    std::vector<Signature> signatures;
    for (const JSONRecord& signature : record.records("signatures")) signatures.push_back(decodeSignature(signature));
    if (record.valid()) registry.emplace(version, std::move(signatures));
  }
  if (!registry && problem != nullptr) *problem = found;
  return registry;
}

nlohmann::ordered_json encodeSignature(const Signature& signature) {
  nlohmann::ordered_json object{
      {"category", rawValue(signature.category)}, {"kind", rawValue(signature.kind)}, {"pattern", signature.pattern}};
  if (signature.reason) object["reason"] = *signature.reason;
  return object;
}

nlohmann::ordered_json encodeStorageSignatures(const StorageSignatureRegistry& registry) {
  nlohmann::ordered_json signatures = nlohmann::ordered_json::array();
  for (const Signature& signature : registry.signatures()) signatures.push_back(encodeSignature(signature));
  return {{"version", registry.version()}, {"signatures", std::move(signatures)}};
}

}  // namespace quarn

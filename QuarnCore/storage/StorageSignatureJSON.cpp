#include "QuarnCore/storage/StorageSignatureJSON.h"

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/json/JSONRecord.h"

namespace quarn {
namespace {

using Signature = StorageSignature;

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

std::optional<StorageSignatureTable> decodeStorageSignatures(std::string_view text, std::string* problem) {
  std::string found;
  std::optional<StorageSignatureTable> table;
  if (const std::optional<nlohmann::json> value = parseJSON(text, &found)) {
    const JSONRecord record(*value, found);
    StorageSignatureTable read{.version = record.integer("version")};
    for (const JSONRecord& signature : record.records("signatures")) {
      read.signatures.push_back(decodeSignature(signature));
    }
    if (record.valid()) table = std::move(read);
  }
  if (!table && problem != nullptr) *problem = found;
  return table;
}

nlohmann::ordered_json encodeSignature(const Signature& signature) {
  nlohmann::ordered_json object{
      {"category", rawValue(signature.category)}, {"kind", rawValue(signature.kind)}, {"pattern", signature.pattern}};
  if (signature.reason) object["reason"] = *signature.reason;
  return object;
}

nlohmann::ordered_json encodeStorageSignatures(const StorageSignatureTable& table) {
  nlohmann::ordered_json signatures = nlohmann::ordered_json::array();
  for (const Signature& signature : table.signatures) signatures.push_back(encodeSignature(signature));
  return {{"version", table.version}, {"signatures", std::move(signatures)}};
}

}  // namespace quarn

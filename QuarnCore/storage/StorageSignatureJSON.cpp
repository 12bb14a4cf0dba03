#include "QuarnCore/storage/StorageSignatureJSON.h"

#include "QuarnCore/storage/StorageSignatureFields.h"
#include "QuarnModels/RecordFile.h"

namespace quarn {

std::optional<StorageSignatureTable> decodeStorageSignatures(std::string_view text, std::string* problem) {
  return wire::decodeFile<StorageSignatureTable>(text, problem);
}

nlohmann::ordered_json encodeStorageSignatures(const StorageSignatureTable& table) { return wire::treeOf(table); }

}  // namespace quarn

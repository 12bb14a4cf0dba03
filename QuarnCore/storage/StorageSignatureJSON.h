#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "QuarnCore/storage/StorageSignature.h"

namespace quarn {

/// Parses a signature file. Absent if a member is missing or wrong; then stores the error in `problem` if it is not
/// null.
std::optional<StorageSignatureTable> decodeStorageSignatures(std::string_view text, std::string* problem = nullptr);

/// Encodes the records in the form of the file: members in order, without absent reasons.
nlohmann::ordered_json encodeStorageSignatures(const StorageSignatureTable& table);

}  // namespace quarn

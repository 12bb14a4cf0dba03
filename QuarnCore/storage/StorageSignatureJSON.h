#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

#include "QuarnCore/storage/StorageSignature.h"

namespace quarn {

/// The signature file's text as a table; absent when anything in it is missing or wrong, and then `problem`, when
/// given, says what.
std::optional<StorageSignatureTable> decodeStorageSignatures(std::string_view text, std::string* problem = nullptr);

/// The records as the file has them: keys in field order, an absent reason left out.
nlohmann::ordered_json encodeStorageSignatures(const StorageSignatureTable& table);

}  // namespace quarn

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "QuarnCore/storage/MarkerPattern.h"
#include "QuarnCore/storage/StorageSignatureJSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"

/// A table that cannot be read has an error message. One that can survives writing and reading, and its patterns match
/// any name.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string problem;
  const auto table = quarn::decodeStorageSignatures(text, &problem);
  if (!table) {
    if (problem.empty()) std::abort();
    return 0;
  }
  const auto again = quarn::decodeStorageSignatures(quarn::encodeStorageSignatures(*table).dump());
  if (!again || !(*again == *table)) std::abort();
  for (const auto& signature : table->signatures) {
    const quarn::MarkerPattern pattern(signature.pattern);
    (void)pattern.matches("");
    (void)pattern.matches(text.substr(0, 255));
  }
  return 0;
}

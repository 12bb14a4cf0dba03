#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "QuarnCore/storage/StorageSignatureJSON.h"

/// A table that is not read says why.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string problem;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (!quarn::decodeStorageSignatures(text, &problem) && problem.empty()) std::abort();
  return 0;
}

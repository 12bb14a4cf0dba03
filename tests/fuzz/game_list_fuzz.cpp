#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "QuarnCore/storage/SteamLibraries.h"

/// Every path in the result is absolute.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const std::string& path : quarn::steamLibraryPaths(text)) {
    if (!path.starts_with('/')) std::abort();
  }
  return 0;
}

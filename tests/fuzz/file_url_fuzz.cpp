#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/paths/FileURL.h"

/// A parsed URL is absolute, holds no NUL, and its text parses to the same URL.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::optional<quarn::FileURL> url =
      quarn::FileURL::parse(std::string_view(reinterpret_cast<const char*>(data), size));
  if (!url) return 0;
  if (!url->path().starts_with('/') || url->path().find('\0') != std::string::npos) std::abort();
  const std::optional<quarn::FileURL> again = quarn::FileURL::parse(url->string());
  if (!again || *again != *url || again->kind() != url->kind()) std::abort();
  return 0;
}

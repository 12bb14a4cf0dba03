#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "RecordRoundTrip.h"

/// Decodes any JSON text as each record.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (const auto document = quarn::JSONDocument::parse(text)) quarn::roundTripAsEachRecord(document->root());
  return 0;
}

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "QuarnSystem/formats/PropertyList.h"
#include "QuarnSystem/formats/PropertyListGuards.h"

namespace {

bool isLetThrough(std::string_view bytes) {
  if (bytes.starts_with("bplist")) return quarn::isSafeBinaryPropertyList(bytes);
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  return !quarn::safeXmlPropertyList(bytes).empty();
}

}  // namespace

/// Where the guards and the library see the same bytes differently, the guards guard nothing: what the one lets
/// through, the other must read.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (quarn::PropertyList::parse(bytes).has_value() != isLetThrough(bytes)) std::abort();
  return 0;
}

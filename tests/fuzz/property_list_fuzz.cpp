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

/// The guards and the library must agree about the bytes: the library must be able to read whatever the guards accept.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  if (quarn::PropertyList::parse(bytes).has_value() != isLetThrough(bytes)) std::abort();
  return 0;
}

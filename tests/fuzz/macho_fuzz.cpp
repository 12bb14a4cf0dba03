#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "QuarnSystem/formats/Entitlements.h"
#include "QuarnSystem/formats/MachO.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto file = quarn::ByteSource::over({reinterpret_cast<const char*>(data), size});
  for (const auto& slice : quarn::machOSlices(file)) {
    if (slice.offset > size || slice.size > size - slice.offset) std::abort();
    const auto signature = quarn::codeSignatureRange(file, slice);
    if (signature && (signature->offset > size || signature->size > size - signature->offset)) std::abort();
  }
  (void)quarn::readApplicationGroups(file);
  return 0;
}

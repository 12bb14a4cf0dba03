#include <cstddef>
#include <cstdint>
#include <string_view>

#include "QuarnSystem/formats/CodeSignature.h"
#include "QuarnSystem/formats/Entitlements.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto signature = quarn::CodeSignature::parse({reinterpret_cast<const char*>(data), size});
  if (signature) (void)quarn::entitlementsOf(*signature);
  return 0;
}

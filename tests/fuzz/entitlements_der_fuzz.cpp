#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "QuarnSystem/formats/DerEntitlements.h"
#include "QuarnSystem/formats/Entitlements.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto list = quarn::parseDerEntitlements({reinterpret_cast<const char*>(data), size});
  if (!list) return 0;
  if (!list->isDictionary()) std::abort();
  for (const auto& group : quarn::applicationGroups(*list)) {
    if (group.empty() || group == "." || group == ".." || group.find('/') != std::string::npos) std::abort();
  }
  return 0;
}

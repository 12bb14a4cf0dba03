#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "QuarnSystem/formats/BillOfMaterials.h"

namespace {

bool isSound(std::string_view path) {
  std::size_t components = 0;
  for (bool more = true; more; ++components) {
    const std::size_t slash = path.find('/');
    const std::string_view name = path.substr(0, slash);
    if (name.empty() || name == "." || name == "..") return false;
    more = slash != std::string_view::npos;
    if (more) path.remove_prefix(slash + 1);
  }
  return components <= quarn::kMaxBillDepth;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto entries = quarn::readBillOfMaterials({reinterpret_cast<const char*>(data), size});
  if (!entries) return 0;
  if (entries->size() > size / 8) std::abort();
  if (!std::all_of(entries->begin(), entries->end(), [](const auto& entry) { return isSound(entry.path); }))
    std::abort();
  return 0;
}

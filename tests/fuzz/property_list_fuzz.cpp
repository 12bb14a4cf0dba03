#include <cstddef>
#include <cstdint>
#include <string_view>

#include "QuarnSystem/formats/PropertyList.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto list = quarn::PropertyList::parse({reinterpret_cast<const char*>(data), size});
  if (list) (void)list->stringArray("ProgramArguments");
  return 0;
}

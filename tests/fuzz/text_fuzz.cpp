#include <cstddef>
#include <cstdint>

#include "TextOperations.h"

/// Checks the text operations on two texts.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto [left, right] = quarn::twoTexts(data, size);
  quarn::checkTextOperations(left, right);
  return 0;
}

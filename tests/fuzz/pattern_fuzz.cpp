#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace {

using quarn::VendorPathResolver;

/// The wildcard match by its definition, in quadratic time: `row[i]` is true if the pattern so far matches the first
/// `i` bytes of the text.
bool matchesByDefinition(std::string_view pattern, std::string_view text) {
  std::vector<bool> row(text.size() + 1, false);
  row[0] = true;
  for (const char token : pattern) {
    std::vector<bool> next(text.size() + 1, false);
    next[0] = token == '*' && row[0];
    for (std::size_t i = 1; i <= text.size(); ++i) {
      next[i] = token == '*' ? row[i] || next[i - 1] : row[i - 1] && token == text[i - 1];
    }
    row = next;
  }
  return row.back();
}

}  // namespace

/// The match equals its definition for ASCII texts. Any pattern matches itself. If the length of the input is a
/// multiple of 16, the text is also repeated to 200,000 bytes: a match of quadratic time would reach the time limit of
/// the fuzzer.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLong = 200'000;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min(bytes.find('\n'), bytes.size());
  const std::string_view pattern = bytes.substr(0, end);
  const std::string_view text = bytes.substr(std::min(end + 1, bytes.size()));
  const bool matches = VendorPathResolver::matches(pattern, text);
  if (quarn::unicode::isASCII(bytes) && matches != matchesByDefinition(pattern, text)) std::abort();
  if (!VendorPathResolver::matches(pattern, pattern)) std::abort();
  (void)VendorPathResolver::hasFolderLevelWildcard(pattern);
  if (text.empty() || size % 16 != 0) return 0;
  std::string longText;
  while (longText.size() < kLong) longText += text;
  (void)VendorPathResolver::matches(pattern, longText);
  return 0;
}

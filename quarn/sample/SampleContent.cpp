#include "quarn/sample/SampleContent.h"

#include <algorithm>
#include <cstring>

namespace quarn::sample {
namespace {

constexpr std::int64_t kBeginningOf2023 = 1'672'531'200;
constexpr std::uint64_t kThreeYears = 3ULL * 365 * 24 * 60 * 60;

// FNV-1a: every byte of the seed affects the whole number.
std::uint64_t numberOf(std::string_view seed) {
  std::uint64_t number = 0xCBF29CE484222325;
  for (const char character : seed) number = (number ^ static_cast<unsigned char>(character)) * 0x100000001B3;
  return number;
}

}  // namespace

std::string contentFor(std::string_view seed, std::int64_t bytes) {
  std::string content(static_cast<std::size_t>(bytes), '\0');
  std::uint64_t state = numberOf(seed) | 1;
  for (std::size_t i = 0; i < content.size(); i += sizeof state) {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    std::memcpy(content.data() + i, &state, std::min(sizeof state, content.size() - i));
  }
  return content;
}

std::int64_t momentFor(std::string_view seed) {
  return kBeginningOf2023 + static_cast<std::int64_t>(numberOf(seed) % kThreeYears);
}

}  // namespace quarn::sample

#include "tests/support/GoldenFile.h"

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace quarn {

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

testing::AssertionResult isGolden(const std::filesystem::path& file, std::string_view text) {
  const char* update = std::getenv("QUARN_UPDATE_GOLDEN");
  if (update != nullptr && std::string_view(update) == "1") std::ofstream(file, std::ios::binary) << text;
  if (contentOf(file) == text) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "differs from " << file << " (QUARN_UPDATE_GOLDEN=1 rewrites it); it is now:\n"
                                     << text;
}

}  // namespace quarn

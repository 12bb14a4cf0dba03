#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "FuzzTargets.h"
#include "tests/support/ProjectFolder.h"

// The build compiles each fuzz target into this program and gives its function a name of its own. The generated
// FuzzTargets.h defines QUARN_FUZZ_TARGETS, which applies a macro to the name of every target.
#define QUARN_DECLARE(NAME) extern "C" int NAME##_fuzz(const std::uint8_t* data, std::size_t size);
QUARN_FUZZ_TARGETS(QUARN_DECLARE)
#undef QUARN_DECLARE

namespace quarn {
namespace {

struct Target {
  std::string name;
  int (*run)(const std::uint8_t* data, std::size_t size);
};

std::vector<Target> targets() {
#define QUARN_ROW(NAME) {#NAME, &NAME##_fuzz},
  return {QUARN_FUZZ_TARGETS(QUARN_ROW)};
#undef QUARN_ROW
}

const std::filesystem::path& corpora() {
  static const std::filesystem::path folder = projectFolder() / "tests/fuzz/corpus";
  return folder;
}

class Corpus : public testing::TestWithParam<Target> {};

// A target ends the process when a promise does not hold.
TEST_P(Corpus, EachSeedHoldsThePromisesOfItsTarget) {
  std::size_t seeds = 0;
  for (const auto& file : std::filesystem::directory_iterator(corpora() / GetParam().name)) {
    std::ifstream stream(file.path(), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    SCOPED_TRACE(file.path());
    EXPECT_EQ(GetParam().run(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()), 0);
    ++seeds;
  }
  EXPECT_GT(seeds, 0u);
}

INSTANTIATE_TEST_SUITE_P(Fuzz, Corpus, testing::ValuesIn(targets()),
                         [](const auto& target) { return target.param.name; });

TEST(Corpora, EachFolderBelongsToATarget) {
  const std::vector<Target> known = targets();
  for (const auto& folder : std::filesystem::directory_iterator(corpora())) {
    EXPECT_TRUE(std::any_of(known.begin(), known.end(), [&](const Target& target) {
      return target.name == folder.path().filename();
    })) << folder.path();
  }
}

}  // namespace
}  // namespace quarn

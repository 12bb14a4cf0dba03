#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// Runs the command with the library of tests/faults preloaded.
class FaultShim {
 public:
  // The loader separates the names in LD_PRELOAD by spaces, and the build may be in a folder with spaces in its name.
  FaultShim() { std::filesystem::create_symlink(QUARN_FAULT_SHIM, shim_); }

  /// Runs the command on a volume with the home folder of ann; `fault` as the library takes it.
  CommandRun run(const std::string& volume, std::vector<std::string> words, const std::string& fault) {
    std::filesystem::remove(mark_);
    words.insert(words.begin(), {"--volume", volume, "--home", "/Users/ann", "--no-sandbox"});
    CommandRun run =
        runQuarn(words, "", {"LD_PRELOAD=" + shim_, "QUARN_FAULT=" + fault, "QUARN_FAULT_MARK=" + mark_, kLoading});
    EXPECT_TRUE(std::filesystem::exists(mark_)) << "the shim was not loaded";
    return run;
  }
  /// Runs the command as it is; its standard error ends in what confines it (see the library).
  CommandRun runTellingConfinement(const std::vector<std::string>& words) {
    return runQuarn(words, "", {"LD_PRELOAD=" + shim_, "QUARN_FAULT_CONFINEMENT=1", kLoading});
  }
  /// How many calls the library marked in the last run.
  [[nodiscard]] std::uintmax_t marks() const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(mark_, error);
    return error ? 0 : size;
  }

 private:
  // Or the address sanitizer ends a program that loads another library first.
  static constexpr const char* kLoading = "ASAN_OPTIONS=verify_asan_link_order=0";

  MacVolume folder_;
  std::string mark_ = folder_.root() + "/mark";
  std::string shim_ = folder_.root() + "/faults.so";
};

}  // namespace quarn

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include <gtest/gtest.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn {

/// Counts every file to the bucket of the root. A test overrides what it judges otherwise.
struct PlainAttribution : Attribution {
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view /*name*/,
                                           bool /*isPackage*/) const override {
    return parent;
  }
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view /*name*/) const override {
    return parent.bucket;
  }
};

/// A volume whose trees are sized by as many threads as the parameter says; 0 leaves the choice to the sizer.
class SizingWithThreads : public ::testing::TestWithParam<unsigned> {
 protected:
  SizingWithThreads() = default;
  enum class InMemory : std::uint8_t { yes };
  explicit SizingWithThreads(InMemory /*unused*/) : volume(volumeInMemory()) {}

  [[nodiscard]] static TreeSizer::Options options(HiddenItems hidden = HiddenItems::include) {
    TreeSizer::Options options;
    options.hidden = hidden;
    options.threads = GetParam();
    return options;
  }
  [[nodiscard]] FileManager files() const { return volume.files().reportingTo(report); }

  MacVolume volume;
  std::shared_ptr<ReadReport> report = std::make_shared<ReadReport>();
};

}  // namespace quarn

#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace quarn {

/// The whole file; empty when there is none.
std::string contentOf(const std::filesystem::path& file);

/// Whether `text` is what a committed file holds. With QUARN_UPDATE_GOLDEN=1 in the environment it writes the file
/// instead, so that the change shows in the commit. The failure names the file and shows the text.
testing::AssertionResult isGolden(const std::filesystem::path& file, std::string_view text);

}  // namespace quarn

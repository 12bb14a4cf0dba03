#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace quarn {

/// The content of a file; empty if it does not exist.
std::string contentOf(const std::filesystem::path& file);

/// Compares `text` with a committed file. With QUARN_UPDATE_GOLDEN=1 in the environment, writes the file instead, so
/// that the change is visible in the commit. A failure shows the file's name and the text.
testing::AssertionResult isGolden(const std::filesystem::path& file, std::string_view text);

}  // namespace quarn

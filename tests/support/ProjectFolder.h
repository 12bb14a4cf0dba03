#pragma once

#include <filesystem>

namespace quarn {

/// The folder of the sources that the tests were built from; an absolute path.
std::filesystem::path projectFolder();

}  // namespace quarn

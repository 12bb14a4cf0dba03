#pragma once

#include <filesystem>

namespace quarn {

/// The absolute path of the sources of this build.
std::filesystem::path projectFolder();

}  // namespace quarn

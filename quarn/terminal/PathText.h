#pragma once

#include <string>

#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// A path for display, with "~" for the home folder unless that is "/". Not escaped.
std::string pathText(const FileURL& url, const FileURL& home);

}  // namespace quarn

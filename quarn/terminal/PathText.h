#pragma once

#include <string>

#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// A Mac path for people: what lies in the home folder begins with "~". Not escaped.
std::string pathText(const FileURL& url, const FileURL& home);

}  // namespace quarn

#include <cstddef>

#include <unistd.h>

#include "QuarnPlatform/resources/ProgramPath.h"

namespace quarn {

std::string programPath() {
  constexpr std::size_t kLongest = std::size_t{1} << 20;
  for (std::string path(256, '\0'); path.size() <= kLongest; path.resize(path.size() * 2)) {
    const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
    if (length < 0) return {};
    if (static_cast<std::size_t>(length) < path.size()) return path.substr(0, static_cast<std::size_t>(length));
  }
  return {};
}

}  // namespace quarn

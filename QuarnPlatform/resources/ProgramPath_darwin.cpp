#include <cstdint>
#include <cstdlib>
#include <memory>

#include <mach-o/dyld.h>

#include "QuarnPlatform/resources/ProgramPath.h"

namespace quarn {

std::string programPath() {
  std::uint32_t size = 0;
  _NSGetExecutablePath(nullptr, &size);
  std::string path(size, '\0');
  if (_NSGetExecutablePath(path.data(), &size) != 0) return {};
  const std::unique_ptr<char, void (*)(void*)> real(::realpath(path.c_str(), nullptr), std::free);
  return real ? real.get() : std::string();
}

}  // namespace quarn

#pragma once

#include <list>
#include <span>
#include <string>
#include <string_view>

#include "tests/macos/loader/Image.h"

// What programs for macOS import, as functions of this process. The two systems call functions alike on x86_64, so
// glibc's own serve wherever records, flags and numbers are the same. The tables below hold the others.
namespace quarn::loader {

struct Shim {
  std::string_view name;  ///< without the leading underscore and without "$INODE64" and the like
  void* target;
};

template <class Target>
Shim shim(std::string_view name, Target* target) {
  return {name, reinterpret_cast<void*>(target)};
}

std::span<const Shim> errorShims();
std::span<const Shim> fileShims();
std::span<const Shim> recordShims();
std::span<const Shim> processShims();
std::span<const Shim> signalShims();
std::span<const Shim> systemShims();
std::span<const Shim> terminalShims();
std::span<const Shim> textShims();
std::span<const Shim> threadShims();

/// The address for an imported symbol ("_fstatat$INODE64"): a shim, a function of ICU, or one of this process; null
/// when there is none.
void* findImport(std::string_view symbol);

/// Translates an error number of this system into macOS's.
int darwinError(int error);

/// What the running program is: asked for by several shims.
struct RunningProgram {
  std::string path;
  int wordCount = 0;
  char** words = nullptr;
  const std::list<Image>* images = nullptr;  ///< the program first
};
RunningProgram& runningProgram();

}  // namespace quarn::loader

#include "tests/macos/loader/Shims.h"

#include <unordered_map>

#include <dlfcn.h>
#include <unicode/uversion.h>

namespace quarn::loader {
namespace {

const std::unordered_map<std::string_view, void*>& shims() {
  static const auto table = [] {
    std::unordered_map<std::string_view, void*> all;
    for (const auto& shims : {errorShims(), fileShims(), recordShims(), processShims(), signalShims(), systemShims(),
                              terminalShims(), textShims(), threadShims()}) {
      for (const Shim& shim : shims) all.emplace(shim.name, shim.target);
    }
    return all;
  }();
  return table;
}

// The system's ICU of macOS has plain names; Debian's carry its version.
void* findInICU(const std::string& name) {
  return name.starts_with('u') ? ::dlsym(RTLD_DEFAULT, (name + "_" + U_ICU_VERSION_SHORT).c_str()) : nullptr;
}

}  // namespace

void* findImport(std::string_view symbol) {
  std::string name(symbol.starts_with('_') ? symbol.substr(1) : symbol);
  name.resize(std::min(name.size(), name.find('$')));
  if (const auto found = shims().find(name); found != shims().end()) return found->second;
  if (void* function = findInICU(name)) return function;
  return ::dlsym(RTLD_DEFAULT, name.c_str());
}

RunningProgram& runningProgram() {
  static RunningProgram program;
  return program;
}

}  // namespace quarn::loader

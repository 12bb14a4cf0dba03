// Starting other programs, as the tests of the command do.
#include <array>
#include <memory>

#include <pty.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/macos/loader/Shims.h"

namespace quarn::loader {
namespace {

// macOS's file actions are a pointer; here it points to glibc's record.
using DarwinActions = posix_spawn_file_actions_t*;

int initActions(DarwinActions* actions) {
  auto made = std::make_unique<posix_spawn_file_actions_t>();
  const int error = ::posix_spawn_file_actions_init(made.get());
  *actions = made.release();
  return darwinError(error);
}
int destroyActions(DarwinActions* actions) {
  const int error = ::posix_spawn_file_actions_destroy(*actions);
  delete *actions;
  return darwinError(error);
}
int addDuplicate(DarwinActions* actions, int from, int to) {
  return darwinError(::posix_spawn_file_actions_adddup2(*actions, from, to));
}
int addClose(DarwinActions* actions, int descriptor) {
  return darwinError(::posix_spawn_file_actions_addclose(*actions, descriptor));
}
int spawn(pid_t* child, const char* path, const DarwinActions* actions, const void* /*attributes*/, char* const* words,
          char* const* environment) {
  return darwinError(::posix_spawn(child, path, actions != nullptr ? *actions : nullptr, nullptr, words, environment));
}

int forkOnTerminal(int* terminal, char* name, void* /*settings*/, winsize* size) {
  return ::forkpty(terminal, name, nullptr, size);
}

}  // namespace

std::span<const Shim> processShims() {
  static const std::array shims{shim("posix_spawn_file_actions_init", initActions),
                                shim("posix_spawn_file_actions_destroy", destroyActions),
                                shim("posix_spawn_file_actions_adddup2", addDuplicate),
                                shim("posix_spawn_file_actions_addclose", addClose),
                                shim("posix_spawn", spawn),
                                shim("forkpty", forkOnTerminal)};
  return shims;
}

}  // namespace quarn::loader

// For builds without ncurses.

#include <cerrno>

#include "QuarnPlatform/base/FileError.h"
#include "quarn/browse/BrowseScreen.h"

namespace quarn {

bool hasTerminalScreen() { return false; }

std::unique_ptr<BrowseScreen> openTerminalScreen(bool /*usesColors*/) {
  throwFileError(ENOTSUP, "open terminal", "this build has no browser");
}

std::vector<std::string> terminalDescriptionFolders() { return {}; }

}  // namespace quarn

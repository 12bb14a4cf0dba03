#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <vector>

#include "quarn/browse/BrowseFrame.h"
#include "quarn/browse/BrowseState.h"

namespace quarn {

/// A screen with a keyboard. Belongs to one thread.
class BrowseScreen {
 public:
  struct Size {
    std::size_t width = 80;
    std::size_t height = 24;
  };

  BrowseScreen() = default;
  BrowseScreen(const BrowseScreen&) = delete;
  BrowseScreen& operator=(const BrowseScreen&) = delete;
  virtual ~BrowseScreen() = default;

  virtual Size size() = 0;
  /// False if the terminal shows ASCII only.
  virtual bool isUTF8() = 0;
  virtual void show(const std::vector<ScreenLine>& lines) = 0;
  /// The next key; `none` if none came within `wait`.
  virtual BrowseKey read(std::chrono::milliseconds wait) = 0;
};

/// True if this build can show the browser: it was built with ncurses.
bool hasTerminalScreen();

/// Takes over the terminal of standard input and output. The destructor gives it back, and so does every signal that
/// ends the process. One at a time. Throws FileError (operation "open terminal", ENOTTY) if the terminal is not known
/// to the system.
std::unique_ptr<BrowseScreen> openTerminalScreen(bool usesColors);

/// The host folders with the descriptions of terminals, for the sandbox.
std::vector<std::string> terminalDescriptionFolders();

}  // namespace quarn

#include "quarn/terminal/Terminal.h"

#include <array>
#include <cstdlib>
#include <string>

#include <sys/ioctl.h>
#include <unistd.h>

namespace quarn {
namespace {

constexpr std::array<std::string_view, 6> kCodes{"", "1", "2", "32", "33", "31"};
constexpr std::size_t kNarrowest = 40;

bool isDumb() {
  const char* term = std::getenv("TERM");
  return term == nullptr || std::string_view(term) == "dumb";
}

bool wantsColors(bool isInteractive, ColorChoice choice) {
  if (choice != ColorChoice::automatic) return choice == ColorChoice::always;
  const char* noColor = std::getenv("NO_COLOR");
  return isInteractive && !isDumb() && (noColor == nullptr || *noColor == '\0');
}

std::size_t widthOf(int descriptor, bool isInteractive, std::size_t fallback) {
  winsize size{};
  if (isInteractive && ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  const char* columns = std::getenv("COLUMNS");
  const long given = columns == nullptr ? 0 : std::strtol(columns, nullptr, 10);
  return given > 0 ? static_cast<std::size_t>(given) : fallback;
}

}  // namespace

Terminal Terminal::of(int descriptor, ColorChoice choice) {
  Terminal terminal;
  terminal.isInteractive = ::isatty(descriptor) == 1;
  terminal.rewritesLines = terminal.isInteractive && !isDumb();
  terminal.hasColors = wantsColors(terminal.isInteractive, choice);
  terminal.width = std::max(widthOf(descriptor, terminal.isInteractive, terminal.width), kNarrowest);
  return terminal;
}

std::string Terminal::styled(std::string_view text, Style style) const {
  if (!hasColors || style == Style::plain || text.empty()) return std::string(text);
  return "\x1B[" + std::string(kCodes[static_cast<std::size_t>(style)]) + "m" + std::string(text) + "\x1B[0m";
}

}  // namespace quarn

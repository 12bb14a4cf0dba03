// The door to ncurses. Built where CMake finds it; AbsentScreen.cpp takes its place elsewhere.

#ifndef NCURSES_WIDECHAR
#define NCURSES_WIDECHAR 1
#endif
#define NCURSES_NOMACROS 1

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <optional>
#include <string>

#include <curses.h>
#include <langinfo.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/HostFile.h"
#include "quarn/browse/BrowseScreen.h"

namespace quarn {
namespace {

using Code = BrowseKey::Code;

// Every signal that ends a process by default and can be caught, and the ones of crashes.
constexpr std::array kEndingSignals{SIGHUP,  SIGINT,  SIGQUIT, SIGTERM, SIGPIPE, SIGALRM, SIGUSR1,
                                    SIGUSR2, SIGABRT, SIGSEGV, SIGBUS,  SIGFPE,  SIGILL};

/// What a signal handler needs to give the terminal back. Written before the handlers are installed.
struct TerminalToRestore {
  termios modes{};
  std::array<char, 256> sequence{};
  std::size_t length = 0;
};
TerminalToRestore terminalToRestore;

// Calls only what a signal handler may call. The handler is gone by then, so the signal ends the process.
void giveBackAndEnd(int signal) {
  [[maybe_unused]] const ssize_t written =
      ::write(STDOUT_FILENO, terminalToRestore.sequence.data(), terminalToRestore.length);
  ::tcsetattr(STDIN_FILENO, TCSANOW, &terminalToRestore.modes);
  removeUnfinishedFile();
  ::raise(signal);
}

// Without the pauses that old terminals need, "$<5>".
void appendSequence(const char* capability) {
  const char* text = ::tigetstr(capability);
  if (text == nullptr || text == reinterpret_cast<const char*>(-1)) return;
  for (; *text != '\0'; ++text) {
    if (text[0] == '$' && text[1] == '<') {
      text = std::strchr(text, '>');
      if (text == nullptr) return;
    } else if (terminalToRestore.length < terminalToRestore.sequence.size()) {
      terminalToRestore.sequence[terminalToRestore.length++] = *text;
    }
  }
}

/// Handles the signals that end the process while it exists.
class EndingSignals {
 public:
  EndingSignals() {
    struct sigaction action {};
    action.sa_handler = giveBackAndEnd;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i) ::sigaction(kEndingSignals[i], &action, &before_[i]);
  }
  ~EndingSignals() {
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i) ::sigaction(kEndingSignals[i], &before_[i], nullptr);
  }
  EndingSignals(const EndingSignals&) = delete;
  EndingSignals& operator=(const EndingSignals&) = delete;

 private:
  std::array<struct sigaction, kEndingSignals.size()> before_{};
};

constexpr short kGoodPair = 1;
constexpr short kWarningPair = 2;
constexpr short kDangerPair = 3;

attr_t attributesOf(Style style) {
  switch (style) {
    case Style::heading: return A_BOLD;
    case Style::dim: return A_DIM;
    case Style::plain:
    case Style::good:
    case Style::warning:
    case Style::danger: break;
  }
  return A_NORMAL;
}

short pairOf(Style style) {
  switch (style) {
    case Style::good: return kGoodPair;
    case Style::warning: return kWarningPair;
    case Style::danger: return kDangerPair;
    case Style::plain:
    case Style::heading:
    case Style::dim: break;
  }
  return 0;
}

std::wstring wide(const std::string& text) {
  std::wstring result(text.size(), L'\0');
  const std::size_t length = std::mbstowcs(result.data(), text.c_str(), result.size());
  if (length == static_cast<std::size_t>(-1)) return std::wstring(text.begin(), text.end());
  result.resize(length);
  return result;
}

struct KeyCode {
  wint_t number;
  Code code;
};
constexpr std::array kFunctionKeys{
    KeyCode{KEY_UP, Code::up},         KeyCode{KEY_DOWN, Code::down},
    KeyCode{KEY_LEFT, Code::left},     KeyCode{KEY_RIGHT, Code::right},
    KeyCode{KEY_HOME, Code::home},     KeyCode{KEY_END, Code::end},
    KeyCode{KEY_PPAGE, Code::pageUp},  KeyCode{KEY_NPAGE, Code::pageDown},
    KeyCode{KEY_ENTER, Code::enter},   KeyCode{KEY_BACKSPACE, Code::backspace},
    KeyCode{KEY_RESIZE, Code::resize},
};
constexpr std::array kControlKeys{
    KeyCode{3, Code::interrupt}, KeyCode{8, Code::backspace}, KeyCode{9, Code::tab},         KeyCode{10, Code::enter},
    KeyCode{13, Code::enter},    KeyCode{27, Code::escape},   KeyCode{127, Code::backspace},
};

template <std::size_t size>
BrowseKey keyIn(const std::array<KeyCode, size>& keys, wint_t number) {
  for (const KeyCode& key : keys) {
    if (key.number == number) return {.code = key.code};
  }
  return {};
}

bool isClosed() {
  pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  return ::poll(&input, 1, 0) > 0 && (input.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

class CursesScreen final : public BrowseScreen {
 public:
  explicit CursesScreen(bool usesColors) {
    std::setlocale(LC_CTYPE, "");
    isUTF8_ = std::strcmp(::nl_langinfo(CODESET), "UTF-8") == 0;
    ::tcgetattr(STDIN_FILENO, &terminalToRestore.modes);
    terminal_ = ::newterm(nullptr, stdout, stdin);
    if (terminal_ == nullptr) {
      const char* name = std::getenv("TERM");
      throwFileError(ENOTTY, "open terminal", name == nullptr ? "TERM is not set" : name);
    }
    terminalToRestore.length = 0;
    for (const char* capability : {"sgr0", "rmkx", "cnorm", "rmcup"}) appendSequence(capability);
    signals_ = std::make_unique<EndingSignals>();
    setModes();
    if (usesColors) setColors();
  }

  ~CursesScreen() override {
    ::endwin();
    signals_.reset();
    ::delscreen(terminal_);
  }

  Size size() override {
    const int height = ::getmaxy(stdscr);
    const int width = ::getmaxx(stdscr);
    return {.width = static_cast<std::size_t>(width > 0 ? width : 1),
            .height = static_cast<std::size_t>(height > 0 ? height : 1)};
  }

  bool isUTF8() override { return isUTF8_; }

  void show(const std::vector<ScreenLine>& lines) override {
    ::werase(stdscr);
    int row = 0;
    for (const ScreenLine& line : lines) showLine(row++, line);
    ::wrefresh(stdscr);
  }

  BrowseKey read(std::chrono::milliseconds wait) override {
    ::wtimeout(stdscr, static_cast<int>(wait.count()));
    const int key = ::wgetch(stdscr);
    if (key == ERR) return {.code = isClosed() ? Code::closed : Code::none};
    if (key >= KEY_MIN) return keyIn(kFunctionKeys, static_cast<wint_t>(key));
    constexpr int kSpace = 0x20;
    constexpr int kDelete = 0x7F;
    if (key < kSpace || key == kDelete) return keyIn(kControlKeys, static_cast<wint_t>(key));
    const std::optional<wchar_t> character = characterFrom(key);
    if (!character) return {};
    return {.code = Code::character, .character = static_cast<char32_t>(*character)};
  }

 private:
  // Ctrl-C and Ctrl-\ are keys; Ctrl-Z still stops the process.
  static void setModes() {
    ::cbreak();
    termios modes{};
    if (::tcgetattr(STDIN_FILENO, &modes) == 0) {
      modes.c_cc[VINTR] = modes.c_cc[VQUIT] = _POSIX_VDISABLE;
      ::tcsetattr(STDIN_FILENO, TCSANOW, &modes);
      ::def_prog_mode();
    }
    ::noecho();
    ::nonl();
    ::keypad(stdscr, TRUE);
    ::leaveok(stdscr, TRUE);
    ::curs_set(0);
    ::set_escdelay(25);
  }

  void setColors() {
    if (!::has_colors() || ::start_color() == ERR) return;
    const short background = ::use_default_colors() == ERR ? COLOR_BLACK : -1;
    ::init_pair(kGoodPair, COLOR_GREEN, background);
    ::init_pair(kWarningPair, COLOR_YELLOW, background);
    ::init_pair(kDangerPair, COLOR_RED, background);
    hasColors_ = true;
  }

  // The character that begins with a byte. Absent if the bytes are invalid: a key that came after them is kept. The
  // function of ncurses for characters would wait for more bytes and swallow them.
  static std::optional<wchar_t> characterFrom(int byte) {
    constexpr int kPatience = 25;  // milliseconds; a terminal sends the bytes of a character together
    constexpr std::size_t kIncomplete = static_cast<std::size_t>(-2);
    constexpr std::size_t kInvalid = static_cast<std::size_t>(-1);
    std::mbstate_t state{};
    wchar_t character = 0;
    for (bool isFirst = true;; isFirst = false) {
      const char next = static_cast<char>(byte);
      const std::size_t length = std::mbrtowc(&character, &next, 1, &state);
      if (length == kInvalid && !isFirst) ::ungetch(byte);
      if (length == kInvalid) return std::nullopt;
      if (length != kIncomplete) return character;
      ::wtimeout(stdscr, kPatience);
      byte = ::wgetch(stdscr);
      if (byte == ERR) return std::nullopt;
      if (byte >= KEY_MIN) return ::ungetch(byte), std::nullopt;
    }
  }

  // A selected line is in reverse over the whole width.
  void showLine(int row, const ScreenLine& line) const {
    const attr_t selected = line.isSelected ? A_REVERSE : A_NORMAL;
    if (line.isSelected) {
      ::wattr_set(stdscr, selected, 0, nullptr);
      ::wmove(stdscr, row, 0);
      ::whline(stdscr, ' ' | A_REVERSE, ::getmaxx(stdscr));
    }
    for (const ScreenSpan& span : line.spans) {
      ::wattr_set(stdscr, attributesOf(span.style) | selected, hasColors_ ? pairOf(span.style) : short{0}, nullptr);
      ::mvwaddwstr(stdscr, row, static_cast<int>(span.column), wide(span.text).c_str());
    }
    ::wattr_set(stdscr, A_NORMAL, 0, nullptr);
  }

  SCREEN* terminal_ = nullptr;
  std::unique_ptr<EndingSignals> signals_;
  bool isUTF8_ = false;
  bool hasColors_ = false;
};

}  // namespace

bool hasTerminalScreen() { return true; }

std::unique_ptr<BrowseScreen> openTerminalScreen(bool usesColors) { return std::make_unique<CursesScreen>(usesColors); }

std::vector<std::string> terminalDescriptionFolders() {
  std::vector<std::string> folders{"/etc/terminfo", "/lib/terminfo", "/usr/lib/terminfo", "/usr/share/terminfo"};
  if (const char* own = std::getenv("TERMINFO"); own != nullptr && *own == '/') folders.emplace_back(own);
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') {
    folders.push_back(std::string(home) + "/.terminfo");
  }
  return folders;
}

}  // namespace quarn

// Terminals: other modes and records, and the locale of the terminal's characters.
#include <algorithm>
#include <array>
#include <clocale>
#include <string_view>

#include <langinfo.h>
#include <sys/select.h>
#include <termios.h>

#include "tests/macos/loader/Shims.h"

namespace quarn::loader {
namespace {

struct DarwinModes {
  unsigned long input, output, control, local;
  unsigned char characters[20];
  unsigned long inputSpeed, outputSpeed;
};

struct ModeRow {
  unsigned long darwin;
  tcflag_t here;
};
constexpr auto kInputModes = std::to_array<ModeRow>({{0x1, IGNBRK},
                                                     {0x2, BRKINT},
                                                     {0x4, IGNPAR},
                                                     {0x8, PARMRK},
                                                     {0x10, INPCK},
                                                     {0x20, ISTRIP},
                                                     {0x40, INLCR},
                                                     {0x80, IGNCR},
                                                     {0x100, ICRNL},
                                                     {0x200, IXON},
                                                     {0x400, IXOFF},
                                                     {0x800, IXANY},
                                                     {0x2000, IMAXBEL},
                                                     {0x4000, IUTF8}});
constexpr auto kOutputModes =
    std::to_array<ModeRow>({{0x1, OPOST}, {0x2, ONLCR}, {0x4, XTABS}, {0x10, OCRNL}, {0x20, ONOCR}, {0x40, ONLRET}});
constexpr auto kControlModes = std::to_array<ModeRow>({{0x100, CS6},
                                                       {0x200, CS7},
                                                       {0x400, CSTOPB},
                                                       {0x800, CREAD},
                                                       {0x1000, PARENB},
                                                       {0x2000, PARODD},
                                                       {0x4000, HUPCL},
                                                       {0x8000, CLOCAL}});
constexpr auto kLocalModes = std::to_array<ModeRow>({{0x1, ECHOKE},
                                                     {0x2, ECHOE},
                                                     {0x4, ECHOK},
                                                     {0x8, ECHO},
                                                     {0x10, ECHONL},
                                                     {0x20, ECHOPRT},
                                                     {0x40, ECHOCTL},
                                                     {0x80, ISIG},
                                                     {0x100, ICANON},
                                                     {0x400, IEXTEN},
                                                     {0x400000, TOSTOP},
                                                     {0x80000000, NOFLSH}});

struct CharacterRow {
  std::size_t darwin, here;
};
constexpr auto kModeCharacters = std::to_array<CharacterRow>({{0, VEOF},
                                                              {1, VEOL},
                                                              {2, VEOL2},
                                                              {3, VERASE},
                                                              {4, VWERASE},
                                                              {5, VKILL},
                                                              {6, VREPRINT},
                                                              {8, VINTR},
                                                              {9, VQUIT},
                                                              {10, VSUSP},
                                                              {12, VSTART},
                                                              {13, VSTOP},
                                                              {14, VLNEXT},
                                                              {15, VDISCARD},
                                                              {16, VMIN},
                                                              {17, VTIME}});
constexpr unsigned char kDarwinNoCharacter = 0xFF;
constexpr unsigned char kNoCharacter = 0;
constexpr unsigned long kDarwinSpeed = 38400;

bool isCount(std::size_t character) { return character == VMIN || character == VTIME; }

template <std::size_t size>
unsigned long darwinModes(const std::array<ModeRow, size>& rows, tcflag_t here) {
  unsigned long modes = 0;
  for (const ModeRow& row : rows) modes |= (here & row.here) == row.here ? row.darwin : 0;
  return modes;
}

// Modes that macOS does not have stay.
template <std::size_t size>
void setModes(const std::array<ModeRow, size>& rows, unsigned long darwin, tcflag_t& here) {
  for (const ModeRow& row : rows) here &= ~row.here;
  for (const ModeRow& row : rows) here |= (darwin & row.darwin) != 0 ? row.here : 0;
}

int readModes(int descriptor, DarwinModes* modes) {
  termios here{};
  if (::tcgetattr(descriptor, &here) != 0) return -1;
  *modes = {.input = darwinModes(kInputModes, here.c_iflag),
            .output = darwinModes(kOutputModes, here.c_oflag),
            .control = darwinModes(kControlModes, here.c_cflag),
            .local = darwinModes(kLocalModes, here.c_lflag),
            .characters = {},
            .inputSpeed = kDarwinSpeed,
            .outputSpeed = kDarwinSpeed};
  std::fill(std::begin(modes->characters), std::end(modes->characters), kDarwinNoCharacter);
  for (const CharacterRow& row : kModeCharacters) {
    const unsigned char character = here.c_cc[row.here];
    const bool isNone = character == kNoCharacter && !isCount(row.here);
    modes->characters[row.darwin] = isNone ? kDarwinNoCharacter : character;
  }
  return 0;
}

int writeModes(int descriptor, int when, const DarwinModes* modes) {
  termios here{};
  if (::tcgetattr(descriptor, &here) != 0) return -1;
  setModes(kInputModes, modes->input, here.c_iflag);
  setModes(kOutputModes, modes->output, here.c_oflag);
  setModes(kControlModes, modes->control, here.c_cflag);
  setModes(kLocalModes, modes->local, here.c_lflag);
  for (const CharacterRow& row : kModeCharacters) {
    const unsigned char character = modes->characters[row.darwin];
    const bool isNone = character == kDarwinNoCharacter && !isCount(row.here);
    here.c_cc[row.here] = isNone ? kNoCharacter : character;
  }
  constexpr int kWhen = 3;
  return ::tcsetattr(descriptor, when & kWhen, &here);
}

unsigned long outputSpeed(const DarwinModes* modes) { return modes->outputSpeed; }
int dropQueued(int descriptor, int queue) { return ::tcflush(descriptor, queue - 1); }

struct DarwinDuration {
  long seconds;
  int microseconds;
};
// The sets are alike.
int selectDescriptors(int count, fd_set* toRead, fd_set* toWrite, fd_set* errors, const DarwinDuration* wait) {
  timeval here{};
  if (wait != nullptr) here = {.tv_sec = wait->seconds, .tv_usec = wait->microseconds};
  return ::select(count, toRead, toWrite, errors, wait != nullptr ? &here : nullptr);
}
int isInSet(int, const void*, int) { return 1; }

// Numbers and times stay those of the C locale.
char* setLocale(int category, const char* name) {
  constexpr int kDarwinCharacters = 2;
  static char other[] = "C";
  return category == kDarwinCharacters ? std::setlocale(LC_CTYPE, name) : other;
}
char* localeFact(int item) {
  constexpr int kDarwinCodeSet = 0;
  static char unknown[] = "";
  return item == kDarwinCodeSet ? ::nl_langinfo(CODESET) : unknown;
}

}  // namespace

std::span<const Shim> terminalShims() {
  static const std::array shims{shim("tcgetattr", readModes),      shim("tcsetattr", writeModes),
                                shim("cfgetospeed", outputSpeed),  shim("tcflush", dropQueued),
                                shim("select", selectDescriptors), shim("__darwin_check_fd_set_overflow", isInSet),
                                shim("setlocale", setLocale),      shim("nl_langinfo", localeFact)};
  return shims;
}

}  // namespace quarn::loader

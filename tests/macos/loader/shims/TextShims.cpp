// Characters, numbers and locales: the C locale alone, which is all that programs here use of them but for the
// characters of a terminal (TerminalShims.cpp). Regular expressions have records of their own.
#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <memory>

#include <regex.h>

#include "tests/macos/loader/Shims.h"

namespace quarn::loader {
namespace {

struct ClassRow {
  int (*isMember)(int);
  std::uint32_t bit;
};
constexpr std::array kClasses = std::to_array<ClassRow>({{std::isalpha, 0x100},
                                                         {std::iscntrl, 0x200},
                                                         {std::isdigit, 0x400},
                                                         {std::isgraph, 0x800},
                                                         {std::islower, 0x1000},
                                                         {std::ispunct, 0x2000},
                                                         {std::isspace, 0x4000},
                                                         {std::isupper, 0x8000},
                                                         {std::isxdigit, 0x10000},
                                                         {std::isblank, 0x20000},
                                                         {std::isprint, 0x40000}});
constexpr int kCharacters = 256;
constexpr int kASCII = 128;

// What `_DefaultRuneLocale` begins with.
struct RuneLocale {
  char magic[8], encoding[32];
  void *toRunes, *fromRunes;
  std::int32_t invalid;
  std::uint32_t classes[kCharacters];
  std::int32_t lower[kCharacters], upper[kCharacters];
  char rest[128];
};

RuneLocale& runes() {
  static RuneLocale table = [] {
    RuneLocale made{};
    for (int c = 0; c < kCharacters; ++c) {
      const bool isASCII = c < kASCII;
      made.lower[c] = isASCII ? std::tolower(c) : c;
      made.upper[c] = isASCII ? std::toupper(c) : c;
      for (const ClassRow& row : kClasses) made.classes[c] |= isASCII && row.isMember(c) != 0 ? row.bit : 0;
    }
    return made;
  }();
  return table;
}

bool isCharacter(int c) { return c >= 0 && c < kCharacters; }
int classesOf(int c, unsigned long mask) { return isCharacter(c) ? static_cast<int>(runes().classes[c] & mask) : 0; }
int classesIn(int c, unsigned long mask, void*) { return classesOf(c, mask); }
int lowerOf(int c) { return isCharacter(c) ? runes().lower[c] : c; }
int upperOf(int c) { return isCharacter(c) ? runes().upper[c] : c; }
int lowerIn(int c, void*) { return lowerOf(c); }
int upperIn(int c, void*) { return upperOf(c); }
int longestCharacterIn(void*) { return 1; }

void* makeLocale(int, const char* name, void*) {
  static int locale = 0;
  const std::string_view wanted = name;
  if (wanted.empty() || wanted == "C" || wanted == "POSIX") return &locale;
  errno = ENOENT;
  return nullptr;
}
int freeLocale(void*) { return 0; }
lconv* conventionsIn(void*) { return ::localeconv(); }

int printInto(char* buffer, std::size_t size, void*, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const int length = std::vsnprintf(buffer, size, format, values);
  va_end(values);
  return length;
}
int printNew(char** text, void*, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const int length = ::vasprintf(text, format, values);
  va_end(values);
  return length;
}
int scan(const char* text, void*, const char* format, ...) {
  std::va_list places;
  va_start(places, format);
  const int count = std::vsscanf(text, format, places);
  va_end(places);
  return count;
}

double doubleIn(const char* text, char** end, void*) { return std::strtod(text, end); }
float floatIn(const char* text, char** end, void*) { return std::strtof(text, end); }
long double longDoubleIn(const char* text, char** end, void*) { return std::strtold(text, end); }
long long integerIn(const char* text, char** end, int base, void*) { return std::strtoll(text, end, base); }
unsigned long long unsignedIn(const char* text, char** end, int base, void*) { return std::strtoull(text, end, base); }
std::size_t timeIn(char* buffer, std::size_t size, const char* format, const tm* time, void*) {
  return std::strftime(buffer, size, format, time);
}
int compareIn(const char* left, const char* right, void*) { return std::strcmp(left, right); }
std::size_t transformIn(char* to, const char* from, std::size_t size, void*) { return std::strxfrm(to, from, size); }
int compareWideIn(const wchar_t* left, const wchar_t* right, void*) { return std::wcscmp(left, right); }
std::size_t transformWideIn(wchar_t* to, const wchar_t* from, std::size_t size, void*) {
  return std::wcsxfrm(to, from, size);
}
wint_t wideIn(int c, void*) { return std::btowc(c); }
int narrowIn(wint_t c, void*) { return std::wctob(c); }
std::size_t lengthIn(const char* text, std::size_t size, void*, void*) { return size != 0 && *text != 0 ? 1 : 0; }
std::size_t readWideIn(wchar_t* to, const char* from, std::size_t size, void*, void*) {
  if (size == 0) return static_cast<std::size_t>(-2);
  if (to != nullptr) *to = static_cast<unsigned char>(*from);
  return *from != 0 ? 1 : 0;
}
int readOneWideIn(wchar_t* to, const char* from, std::size_t size, void*) {
  return from == nullptr ? 0 : static_cast<int>(readWideIn(to, from, size, nullptr, nullptr));
}
std::size_t writeWideIn(char* to, wchar_t from, void*, void*) {
  *to = static_cast<char>(from);
  return 1;
}
void* openCatalogue(const char*, int) { return reinterpret_cast<void*>(-1); }
char* catalogueText(void*, int, int, char* text) { return text; }
std::size_t unsupported() {
  errno = ENOTSUP;
  return static_cast<std::size_t>(-1);
}
double power10(double exponent) { return ::exp10(exponent); }

struct DarwinRegex {
  int magic;
  std::size_t groups;
  const char* end;
  regex_t* native;
};
struct DarwinMatch {
  std::int64_t from, to;
};
constexpr std::size_t kMostGroups = 16;

int compileRegex(DarwinRegex* regex, const char* pattern, int flags) {
  auto native = std::make_unique<regex_t>();
  const int here = (flags & 3) | ((flags & 4) != 0 ? REG_NOSUB : 0) | ((flags & 8) != 0 ? REG_NEWLINE : 0);
  const int result = ::regcomp(native.get(), pattern, here);
  *regex = {0, native->re_nsub, nullptr, nullptr};
  if (result == 0) regex->native = native.release();
  return result;
}
int runRegex(const DarwinRegex* regex, const char* text, std::size_t count, DarwinMatch* matches, int flags) {
  std::array<regmatch_t, kMostGroups> found{};
  const std::size_t wanted = std::min(count, kMostGroups);
  const int result = ::regexec(regex->native, text, wanted, found.data(), flags);
  for (std::size_t i = 0; i < wanted && result == 0; ++i) matches[i] = {found[i].rm_so, found[i].rm_eo};
  return result;
}
void freeRegex(DarwinRegex* regex) {
  if (regex->native != nullptr) ::regfree(regex->native);
  delete regex->native;
}

}  // namespace

std::span<const Shim> textShims() {
  static const std::array shims{shim("__maskrune", classesOf),
                                shim("__maskrune_l", classesIn),
                                shim("__tolower", lowerOf),
                                shim("__toupper", upperOf),
                                shim("___tolower_l", lowerIn),
                                shim("___toupper_l", upperIn),
                                shim("___mb_cur_max_l", longestCharacterIn),
                                shim("_DefaultRuneLocale", &runes()),
                                shim("newlocale", makeLocale),
                                shim("freelocale", freeLocale),
                                shim("localeconv_l", conventionsIn),
                                shim("snprintf_l", printInto),
                                shim("asprintf_l", printNew),
                                shim("sscanf_l", scan),
                                shim("strtod_l", doubleIn),
                                shim("strtof_l", floatIn),
                                shim("strtold_l", longDoubleIn),
                                shim("strtoll_l", integerIn),
                                shim("strtoull_l", unsignedIn),
                                shim("strftime_l", timeIn),
                                shim("strcoll_l", compareIn),
                                shim("strxfrm_l", transformIn),
                                shim("wcscoll_l", compareWideIn),
                                shim("wcsxfrm_l", transformWideIn),
                                shim("btowc_l", wideIn),
                                shim("wctob_l", narrowIn),
                                shim("mbrlen_l", lengthIn),
                                shim("mbrtowc_l", readWideIn),
                                shim("mbtowc_l", readOneWideIn),
                                shim("wcrtomb_l", writeWideIn),
                                shim("mbsnrtowcs_l", unsupported),
                                shim("mbsrtowcs_l", unsupported),
                                shim("wcsnrtombs_l", unsupported),
                                shim("catopen", openCatalogue),
                                shim("catgets", catalogueText),
                                shim("catclose", unsupported),
                                shim("__exp10", power10),
                                shim("regcomp", compileRegex),
                                shim("regexec", runRegex),
                                shim("regfree", freeRegex)};
  return shims;
}

}  // namespace quarn::loader

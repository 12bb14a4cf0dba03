#include "QuarnCore/ownership/NameKeys.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>

#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn {
namespace {

constexpr std::array<std::string_view, 16> kChannelWords{"alpha",    "beta",     "canary", "dev",     "eap",     "edge",
                                                         "insiders", "latest",   "lts",    "nightly", "preview", "rc",
                                                         "release",  "snapshot", "stable", "version"};
constexpr std::array<std::string_view, 37> kEditionWords{
    "64",           "app",      "application", "ce",     "client",   "community",  "desktop",  "edition",
    "electron",     "free",     "for",         "gui",    "home",     "lite",       "mac",      "macos",
    "macosx",       "mas",      "native",      "one",    "osx",      "plus",       "premium",  "pro",
    "professional", "projects", "se",          "setapp", "standard", "standalone", "standart", "studio",
    "trial",        "ultimate", "v",           "viewer", "x"};
constexpr std::array<std::string_view, 30> kPartWords{
    "agent",  "backup",    "bin",         "browser",     "cache",    "caches",    "crashreporter", "daemon",
    "data",   "extension", "files",       "help",        "helper",   "installer", "launcher",      "log",
    "logs",   "plugin",    "preferences", "prefs",       "renderer", "server",    "service",       "settings",
    "shipit", "support",   "tool",        "uninstaller", "updater",  "widget"};

// Common first parts of identifiers.
constexpr std::array<std::string_view, 36> kFirstParts{
    "ai", "app", "at",  "au", "be",   "biz", "br", "ca", "cc", "ch",  "cn", "co", "com", "cz", "de", "dev", "dk", "edu",
    "eu", "fr",  "gov", "in", "info", "io",  "it", "jp", "me", "net", "nl", "no", "org", "pl", "ru", "se",  "tv", "uk"};

// Hosts of many developers and names of frameworks. The part after them is the vendor.
constexpr std::array<std::string_view, 12> kSharedVendors{
    "com.apple.iokit", "com.electron", "com.github", "com.googlecode",  "com.sourceforge", "com.yourcompany",
    "edu.self",        "io.github",    "me.github",  "net.sourceforge", "net.sf",          "org.github"};

constexpr std::array<std::string_view, 5> kSecondLevels{"co", "com", "edu", "net", "org"};

constexpr std::array<std::string_view, 34> kEndings{
    ".binarycookies", ".bin",   ".bundle",   ".cache",  ".cfg",         ".conf", ".config",     ".crash", ".db",
    ".diag",          ".hang",  ".help",     ".ini",    ".ips",         ".json", ".lockfile",   ".log",   ".lsof",
    ".old",           ".plist", ".prefpane", ".plugin", ".qlgenerator", ".rtf",  ".savedstate", ".sfl",   ".sfl2",
    ".sfl3",          ".sfl4",  ".spin",     ".sqlite", ".txt",         ".xml",  ".yaml"};

/// The lengths of words by the byte at one place in them, as bits. Most texts are none of the words, and are dismissed
/// by it.
using WordLengths = std::array<std::uint32_t, 256>;

constexpr void addLengths(WordLengths& lengths, const auto& words, std::size_t place) {
  for (const std::string_view word : words) lengths[static_cast<unsigned char>(word[place])] |= 1U << word.size();
}
constexpr bool mayBeWord(const WordLengths& lengths, std::string_view text, std::size_t place) {
  if (text.size() <= place || text.size() >= 32) return false;
  return (lengths[static_cast<unsigned char>(text[place])] >> text.size() & 1U) != 0;
}

constexpr WordLengths lengthsOfGenericWords() {
  WordLengths lengths{};
  addLengths(lengths, kChannelWords, 0);
  addLengths(lengths, kEditionWords, 0);
  addLengths(lengths, kPartWords, 0);
  return lengths;
}
constexpr WordLengths kLengthsOfGenericWords = lengthsOfGenericWords();

// By the byte after the dot.
constexpr WordLengths lengthsOfEndings() {
  WordLengths lengths{};
  addLengths(lengths, kEndings, 1);
  return lengths;
}
constexpr WordLengths kLengthsOfEndings = lengthsOfEndings();

template <std::size_t Count>
bool holds(const std::array<std::string_view, Count>& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

bool isAlphanumeric(char character) { return !ascii::isASCII(character) || ascii::isLetterOrDigit(character); }

bool isDigits(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

char lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool isUpper(char c) { return c >= 'A' && c <= 'Z'; }
bool isLower(char c) { return c >= 'a' && c <= 'z'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Whether a word begins inside a run of letters and digits: "myApp", "app2", "2x", "HTMLView".
bool beginsWord(std::string_view text, std::size_t at) {
  const char before = text[at - 1];
  const char here = text[at];
  if (isDigit(before) != isDigit(here)) return true;
  if (isLower(before) && isUpper(here)) return true;
  return isUpper(before) && isUpper(here) && at + 1 < text.size() && isLower(text[at + 1]);
}

struct Word {
  std::size_t begin;
  std::size_t end;
};

// The last word before a position; empty if there is none.
Word lastWord(std::string_view text, std::size_t end) {
  while (end > 0 && !isAlphanumeric(text[end - 1])) --end;
  std::size_t begin = end;
  while (begin > 0 && isAlphanumeric(text[begin - 1])) {
    --begin;
    if (begin > 0 && isAlphanumeric(text[begin - 1]) && beginsWord(text, begin)) break;
  }
  return {begin, end};
}

bool isVersionOrChannel(std::string_view word) { return isDigits(word) || holds(kChannelWords, word); }

std::string keyBefore(std::string_view name, std::size_t end, const std::string& whole) {
  constexpr std::size_t kShortestKept = 2;
  if (end == name.size()) return whole;
  std::string key = nameKey(name.substr(0, end));
  return key.size() < kShortestKept ? whole : key;
}

// The length of a crash report's mark: "_1A2B3C4D-5E6F-…", "-2025-01-02-030405", "_2025-01-02-030405_host".
std::size_t markLength(std::string_view name) {
  constexpr std::size_t kUUID = 36;
  const auto isUUIDAt = [&](std::size_t at) {
    if (at + kUUID > name.size()) return false;
    for (std::size_t i = 0; i < kUUID; ++i) {
      const bool isDash = i == 8 || i == 13 || i == 18 || i == 23;
      const char c = name[at + i];
      if (isDash ? c != '-' : std::isxdigit(static_cast<unsigned char>(c)) == 0) return false;
    }
    return true;
  };
  for (std::size_t at = 1; at < name.size(); ++at) {
    const char separator = name[at];
    if (separator != '_' && separator != '-' && separator != '.') continue;
    if (isUUIDAt(at + 1)) return name.size() - at;
    const std::string_view rest = name.substr(at + 1);
    if (separator != '.' && rest.size() >= 10 && isDigits(rest.substr(0, 4)) && rest[4] == '-' &&
        isDigits(rest.substr(5, 2)) && rest[7] == '-' && isDigits(rest.substr(8, 2))) {
      return name.size() - at;
    }
  }
  return 0;
}

std::size_t endingLength(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return 0;
  std::string ending(name.substr(dot));
  std::transform(ending.begin(), ending.end(), ending.begin(), lower);
  return mayBeWord(kLengthsOfEndings, ending, 1) && holds(kEndings, ending) ? ending.size() : 0;
}

std::size_t partEnd(std::string_view text, std::size_t from) { return std::min(text.find('.', from), text.size()); }

}  // namespace

std::string nameKey(std::string_view name) {
  std::string key;
  if (unicode::isASCII(name)) {
    key.resize(name.size());
    auto end = key.begin();
    for (const char c : name) {
      if (isAlphanumeric(c)) *end++ = lower(c);
    }
    key.erase(end, key.end());
    return key;
  }
  for (const char c : Text::normalizedKey(name)) {
    if (isAlphanumeric(c)) key += c;
  }
  return key;
}

bool isGenericWord(std::string_view word) {
  if (!mayBeWord(kLengthsOfGenericWords, word, 0)) return false;
  return holds(kChannelWords, word) || holds(kEditionWords, word) || holds(kPartWords, word);
}

// What ends in a version or a channel ends in a word that says nothing too, so the shorter key goes on from the longer.
NameKeys nameKeysOf(std::string_view name) {
  std::size_t end = name.size();
  std::size_t unversionedEnd = end;
  bool areVersions = true;
  Word last = lastWord(name, end);
  // The first word stays.
  for (Word before = lastWord(name, last.begin); before.begin < before.end; before = lastWord(name, last.begin)) {
    std::string word(name.substr(last.begin, last.end - last.begin));
    std::transform(word.begin(), word.end(), word.begin(), lower);
    const bool isVersionMark = word == "v" && end != name.size();
    const bool isVersion = isVersionMark || isVersionOrChannel(word);
    areVersions = areVersions && isVersion;
    if (!isVersion && !isGenericWord(word)) break;
    end = before.end;
    if (areVersions) unversionedEnd = end;
    last = before;
  }
  NameKeys keys{.plain = nameKey(name), .unversioned = {}, .reduced = {}};
  keys.unversioned = keyBefore(name, unversionedEnd, keys.plain);
  keys.reduced = end == unversionedEnd ? keys.unversioned : keyBefore(name, end, keys.plain);
  return keys;
}

std::string reducedNameKey(std::string_view name) { return nameKeysOf(name).reduced; }

std::string unversionedNameKey(std::string_view name) { return nameKeysOf(name).unversioned; }

namespace {

bool hasForm(std::string_view text, bool takesSpaces) {
  constexpr std::size_t kLongest = 155;
  if (text.empty() || text.size() > kLongest || text.front() == '.' || text.back() == '.') return false;
  bool hasDot = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '.') {
      if (text[at + 1] == '.') return false;
      hasDot = true;
    } else if (!isAlphanumeric(c) && c != '-' && c != '_' && (c != ' ' || !takesSpaces)) {
      return false;
    }
  }
  return hasDot;
}

}  // namespace

bool hasIdentifierForm(std::string_view text) { return hasForm(text, /*takesSpaces=*/false); }

bool looksLikeIdentifier(std::string_view text) {
  if (!hasForm(text, /*takesSpaces=*/true)) return false;
  const std::string_view first = text.substr(0, text.find('.'));
  // Some identifiers contain the app's name with its spaces.
  const bool hasSpaces = text.find(' ') != std::string_view::npos;
  if (holds(kFirstParts, first)) return !hasSpaces || !vendorOf(text).empty();
  if (hasSpaces) return false;
  const bool hasLetters = std::any_of(first.begin(), first.end(), [](char c) { return !isDigit(c); });
  return hasLetters && std::count(text.begin(), text.end(), '.') >= 2;
}

std::string_view withoutDomain(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || name.find(' ') != std::string_view::npos) return {};
  return holds(kFirstParts, name.substr(dot + 1)) ? name.substr(0, dot) : std::string_view();
}

std::string_view vendorOf(std::string_view identifier) {
  std::size_t end = partEnd(identifier, 0);
  if (end == identifier.size()) return {};
  const std::string_view first = identifier.substr(0, end);
  const std::size_t second = end + 1;
  end = partEnd(identifier, second);
  const std::string_view two = identifier.substr(0, end);
  const bool isCountry = first.size() == 2 && holds(kSecondLevels, identifier.substr(second, end - second));
  if (!isCountry && !holds(kSharedVendors, two)) return two;
  if (end == identifier.size()) return {};
  const std::size_t third = partEnd(identifier, end + 1);
  // The part after a shared vendor is a vendor only if another part follows it.
  if (!isCountry && third == identifier.size()) return {};
  return identifier.substr(0, third);
}

std::string_view vendorNameOf(std::string_view identifier) {
  const std::string_view vendor = vendorOf(identifier);
  return vendor.substr(vendor.rfind('.') + 1);
}

std::string_view lastMeaningfulPart(std::string_view identifier) {
  std::string_view rest = identifier;
  while (!rest.empty()) {
    const std::size_t dot = rest.rfind('.');
    const std::string_view part = dot == std::string_view::npos ? rest : rest.substr(dot + 1);
    std::string word(part);
    std::transform(word.begin(), word.end(), word.begin(), lower);
    const bool isFirst = dot == std::string_view::npos;
    if (isFirst && holds(kFirstParts, word)) return {};
    if (!part.empty() && !isDigits(part)) {
      const NameKeys keys = nameKeysOf(part);
      if (!isGenericWord(keys.plain) && !isGenericWord(keys.reduced)) return part;
    }
    if (isFirst) return {};
    rest = rest.substr(0, dot);
  }
  return {};
}

std::string_view withoutDecorations(std::string_view name) {
  for (int round = 0; round < 2; ++round) name.remove_suffix(endingLength(name));
  name.remove_suffix(markLength(name));
  name.remove_suffix(endingLength(name));
  return name;
}

std::string_view teamPrefixOf(std::string_view identifier) {
  constexpr std::size_t kLength = 10;
  if (identifier.size() <= kLength + 1 || identifier[kLength] != '.') return {};
  const std::string_view team = identifier.substr(0, kLength);
  const bool isTeam = std::all_of(team.begin(), team.end(), [](char c) { return isUpper(c) || isDigit(c); });
  return isTeam ? team : std::string_view();
}

std::string_view withoutIdentifierPrefix(std::string_view identifier) {
  constexpr std::array<std::string_view, 4> kPrefixes{"group.", "icloud.", "icloud~", "systemgroup."};
  const std::string_view team = teamPrefixOf(identifier);
  if (!team.empty()) identifier.remove_prefix(team.size() + 1);
  for (const std::string_view prefix : kPrefixes) {
    if (identifier.size() <= prefix.size()) continue;
    const bool begins = std::equal(prefix.begin(), prefix.end(), identifier.begin(),
                                   [](char left, char right) { return left == lower(right); });
    if (begins) identifier.remove_prefix(prefix.size());
  }
  return identifier;
}

}  // namespace quarn

#include "QuarnPlatform/resources/Localization.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "QuarnPlatform/json/JSONDocument.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {

namespace {

using Sentences = std::map<std::string, std::string, std::less<>>;

/// The translations of the current locale, by English sentence.
Sentences& currentSentences() {
  static Sentences sentences;
  return sentences;
}

/// The possible names of the locale in the catalogue, best first. Xcode writes "pt-BR", the system "pt_BR".
std::vector<std::string> catalogueNames(const Locale& locale) {
  std::string hyphenated = locale.identifier();
  std::replace(hyphenated.begin(), hyphenated.end(), '_', '-');
  std::string underlined = locale.identifier();
  std::replace(underlined.begin(), underlined.end(), '-', '_');
  return {hyphenated, underlined, locale.language()};
}

/// The member at the end of a chain of keys; absent if one is missing.
std::optional<JSONValue> descend(JSONValue value, std::initializer_list<std::string_view> keys) {
  for (const std::string_view key : keys) {
    const std::optional<JSONValue> member = value.member(key);
    if (!member) return std::nullopt;
    value = *member;
  }
  return value;
}

/// The first translation under one of the names. An empty text is an untranslated entry.
std::optional<std::string> translation(const JSONValue& entry, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    const std::optional<JSONValue> value = descend(entry, {"localizations", name, "stringUnit", "value"});
    if (value && value->isString() && !value->string().empty()) return std::string(value->string());
  }
  return std::nullopt;
}

Sentences readSentences(const Locale& locale, const ResourceBundle& bundle) {
  Sentences sentences;
  if (locale.identifier().empty()) return sentences;  // no catalogue has texts for the root locale
  const std::optional<std::string> bytes = bundle.read("Localizable", "xcstrings");
  const std::optional<JSONDocument> catalogue = bytes ? JSONDocument::parse(*bytes) : std::nullopt;
  const std::optional<JSONValue> strings = catalogue ? catalogue->root().member("strings") : std::nullopt;
  if (!strings || !strings->isObject()) return sentences;
  const std::vector<std::string> names = catalogueNames(locale);
  for (std::size_t i = 0; i < strings->count(); ++i) {
    std::optional<std::string> text = translation(strings->memberAt(i), names);
    if (text) sentences.emplace(strings->keyAt(i), std::move(*text));
  }
  return sentences;
}

/// The arguments of a format and their placeholder: "%@" takes the next argument, "%2$@" the second; "@" is the
/// conversion.
struct Arguments {
  std::string_view conversion;
  std::span<const std::string_view> values;
};

struct Placeholder {
  std::string_view text;   ///< its replacement
  std::size_t length = 0;  ///< length of the placeholder; 0 if there is none
};

/// The placeholder at the "%" at the start of `rest`. `next` counts the arguments of placeholders without a position.
Placeholder placeholder(std::string_view rest, const Arguments& arguments, std::size_t& next) {
  const std::string_view behind = rest.substr(1);
  if (behind.starts_with('%')) return {.text = "%", .length = 2};
  if (behind.starts_with(arguments.conversion) && next < arguments.values.size()) {
    return {.text = arguments.values[next++], .length = 1 + arguments.conversion.size()};
  }
  if (behind.size() < 2 || behind[0] < '1' || behind[0] > '9' || behind[1] != '$') return {};
  const auto position = static_cast<std::size_t>(behind[0] - '1');
  const bool names = position < arguments.values.size() && behind.substr(2).starts_with(arguments.conversion);
  return names ? Placeholder{arguments.values[position], 3 + arguments.conversion.size()} : Placeholder{};
}

/// Replaces all placeholders in one pass, so that a "%" inside an argument has no effect.
std::string filled(std::string_view format, const Arguments& arguments) {
  std::string text;
  std::size_t next = 0;
  for (std::size_t at = 0; at < format.size();) {
    const std::size_t percent = std::min(format.find('%', at), format.size());
    text.append(format.substr(at, percent - at));
    at = percent;
    if (at == format.size()) break;
    const Placeholder found = placeholder(format.substr(at), arguments, next);
    text.append(found.length == 0 ? format.substr(at, 1) : found.text);
    at += std::max<std::size_t>(found.length, 1);
  }
  return text;
}

}  // namespace

void useLocalization(const std::string& localeIdentifier, const ResourceBundle& bundle) {
  const Locale locale(localeIdentifier);
  Locale::setCurrent(locale);
  currentSentences() = readSentences(locale, bundle);
}

std::string localized(std::string_view english) {
  const Sentences& sentences = currentSentences();
  const auto found = sentences.find(english);
  return found == sentences.end() ? std::string(english) : found->second;
}

std::string localizedCount(std::string_view english, long count) {
  const std::string digits = std::to_string(count);
  const std::array<std::string_view, 1> values = {digits};
  return filled(localized(english), {.conversion = "ld", .values = values});
}

std::string localizedText(std::string_view english, std::string_view text) {
  const std::array<std::string_view, 1> values = {text};
  return filled(localized(english), {.conversion = "@", .values = values});
}

std::string localizedTexts(std::string_view english, std::string_view first, std::string_view second) {
  const std::array<std::string_view, 2> values = {first, second};
  return filled(localized(english), {.conversion = "@", .values = values});
}

}  // namespace quarn

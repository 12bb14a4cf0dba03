#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <utility>

#include "QuarnPlatform/json/PlainText.h"
#include "QuarnSystem/formats/PlainPropertyListParts.h"
#include "QuarnSystem/formats/PlainPropertyLists.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array<std::string_view, 3> kProlog{
    R"(<?xml version="1.0" encoding="UTF-8"?>)",
    R"(<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">)",
    R"(<plist version="1.0">)",
};
// clang-format on

/// Every function returns false to give up.
class PlainXmlList {
 public:
  explicit PlainXmlList(std::string_view text) : rest_(text) {}

  bool read(PropertyList& root) {
    return std::all_of(kProlog.begin(), kProlog.end(), [&](std::string_view line) { return takeMark(line); }) &&
           value(root, 0) && takeMark("</plist>");
  }

 private:
  bool take(std::string_view mark) {
    if (!rest_.starts_with(mark)) return false;
    rest_.remove_prefix(mark.size());
    return true;
  }
  /// The same, after white space.
  bool takeMark(std::string_view mark) {
    rest_.remove_prefix(whiteBytes(rest_));
    return take(mark);
  }

  bool value(PropertyList& result, std::size_t level) {
    if (takeMark("<string>")) return string(result);
    if (take("<true/>")) return result = PropertyList(true), true;
    if (take("<false/>")) return result = PropertyList(false), true;
    if (take("<integer>")) return integer(result);
    if (level == kMostPlainLevels) return false;
    if (take("<dict>")) return dictionary(result, level + 1);
    return take("<array>") && array(result, level + 1);
  }

  /// Plain text up to a tag, which must be this one.
  bool text(std::string_view& found, std::string_view closing) {
    found = rest_.substr(0, rest_.find('<'));
    rest_.remove_prefix(found.size());
    return take(closing) && found.find('&') == std::string_view::npos && found.find('\0') == std::string_view::npos;
  }

  bool string(PropertyList& result) {
    std::string_view found;
    if (!text(found, "</string>")) return false;
    result = PropertyList(std::string(found));
    return true;
  }

  // Other notations have rules of their own.
  bool integer(PropertyList& result) {
    std::string_view digits;
    if (!text(digits, "</integer>")) return false;
    std::int64_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    if (error != std::errc() || stop != end || std::to_string(number) != digits) return false;
    result = PropertyList(number);
    return true;
  }

  bool array(PropertyList& result, std::size_t level) {
    PropertyList::Array elements;
    while (!takeMark("</array>")) {
      if (!value(elements.emplace_back(), level)) return false;
    }
    result = PropertyList(std::move(elements));
    return true;
  }

  bool dictionary(PropertyList& result, std::size_t level) {
    PropertyList::Dictionary entries;
    while (!takeMark("</dict>")) {
      std::string_view key;
      if (!take("<key>") || !text(key, "</key>")) return false;
      PropertyList* const place = valueOfNewKey(entries, key);
      if (place == nullptr || !value(*place, level)) return false;
    }
    result = PropertyList(std::move(entries));
    return true;
  }

  std::string_view rest_;
};

}  // namespace

std::optional<PropertyList> readPlainXmlPropertyList(std::string_view bytes) {
  PropertyList root;
  const bool isRead = bytes.size() <= kMostPlainBytes && PlainXmlList(bytes).read(root);
  return isRead ? std::optional(std::move(root)) : std::nullopt;
}

}  // namespace quarn

#include "QuarnSystem/formats/DerEntitlements.h"

#include <cstdint>
#include <string>
#include <utility>

#include "QuarnSystem/formats/ByteReader.h"

namespace quarn {

namespace {

constexpr std::uint8_t kBoolean = 0x01;
constexpr std::uint8_t kInteger = 0x02;
constexpr std::uint8_t kText = 0x0C;
constexpr std::uint8_t kSequence = 0x30;
constexpr std::uint8_t kSet = 0x31;
constexpr std::uint8_t kWrapper = 0x70;
constexpr std::uint8_t kDictionary = 0xB0;

struct Element {
  std::uint8_t tag = 0;
  std::string_view content;
};

/// Removes the first element from `bytes` and returns it.
std::optional<Element> takeElement(std::string_view& bytes) {
  const ByteReader reader(bytes);
  const auto tag = reader.u8(0);
  const auto first = reader.u8(1);
  if (!first) return std::nullopt;
  const std::size_t lengthBytes = *first < 0x80 ? 0 : *first & 0x7FU;
  const auto length = *first < 0x80 ? std::optional<std::uint64_t>(*first) : reader.integer(2, lengthBytes);
  if (!length) return std::nullopt;
  const auto content = reader.slice(2 + lengthBytes, *length);
  if (!content) return std::nullopt;
  bytes.remove_prefix(2 + lengthBytes + content->size());
  return Element{.tag = *tag, .content = *content};
}

bool isDictionaryTag(std::uint8_t tag) { return tag == kDictionary || tag == kSet; }

class DerReader {
 public:
  std::optional<PropertyList> value(const Element& element, std::size_t depth);

 private:
  std::optional<PropertyList> array(std::string_view content, std::size_t depth);
  std::optional<PropertyList> dictionary(std::string_view content, std::size_t depth);

  std::size_t values_ = 0;
};

PropertyList integerValue(std::string_view content) {
  const auto bits = ByteReader(content).integer(0, content.size());
  if (!bits) return {};
  const auto unused = 8 * (8 - static_cast<unsigned>(content.size()));
  return PropertyList(static_cast<std::int64_t>(*bits << unused) >> unused);
}

std::optional<PropertyList> DerReader::value(const Element& element, std::size_t depth) {
  if (++values_ > PropertyList::kMaxValues) return std::nullopt;
  if (element.tag == kSequence) return array(element.content, depth + 1);
  if (isDictionaryTag(element.tag)) return dictionary(element.content, depth + 1);
  if (element.tag == kBoolean && element.content.size() == 1) return PropertyList(element.content[0] != '\0');
  if (element.tag == kInteger) return integerValue(element.content);
  if (element.tag == kText) return PropertyList(std::string(element.content));
  return PropertyList();
}

std::optional<PropertyList> DerReader::array(std::string_view content, std::size_t depth) {
  if (depth > PropertyList::kMaxDepth) return std::nullopt;
  PropertyList::Array elements;
  while (!content.empty()) {
    const auto element = takeElement(content);
    if (!element) return std::nullopt;
    auto read = value(*element, depth);
    if (!read) return std::nullopt;
    elements.push_back(std::move(*read));
  }
  return PropertyList(std::move(elements));
}

std::optional<PropertyList> DerReader::dictionary(std::string_view content, std::size_t depth) {
  if (depth > PropertyList::kMaxDepth) return std::nullopt;
  PropertyList::Dictionary entries;
  while (!content.empty()) {
    auto entry = takeElement(content);
    if (!entry || entry->tag != kSequence) return std::nullopt;
    const auto key = takeElement(entry->content);
    const auto held = takeElement(entry->content);
    if (!key || key->tag != kText || !held || !entry->content.empty()) return std::nullopt;
    auto read = value(*held, depth);
    if (!read) return std::nullopt;
    entries.push_back({.key = std::string(key->content), .value = std::move(*read)});
  }
  return PropertyList(std::move(entries));
}

/// The wrapper holds a version, which must be 1, and the dictionary.
std::optional<Element> unwrapped(const Element& wrapper) {
  std::string_view content = wrapper.content;
  const auto version = takeElement(content);
  if (!version || version->tag != kInteger || version->content != "\x01") return std::nullopt;
  return takeElement(content);
}

}  // namespace

std::optional<PropertyList> parseDerEntitlements(std::string_view bytes) {
  if (bytes.size() > PropertyList::kMaxBytes) return std::nullopt;
  auto outer = takeElement(bytes);
  if (outer && outer->tag == kWrapper) outer = unwrapped(*outer);
  if (!outer || !isDictionaryTag(outer->tag)) return std::nullopt;
  return DerReader().value(*outer, 0);
}

}  // namespace quarn

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "QuarnSystem/formats/PropertyList.h"
#include "QuarnSystem/formats/PropertyListGuards.h"

namespace quarn {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

enum class ElementKind : std::uint8_t { list, dictionary, array, key, leaf };

struct ElementType {
  std::string_view name;
  ElementKind kind = ElementKind::leaf;
  bool mayBeEmpty = true;  ///< the library accepts "<name/>"
};

// clang-format off
constexpr std::array<ElementType, 11> kElementTypes{{
    {.name = "plist",   .kind = ElementKind::list, .mayBeEmpty = false},
    {.name = "dict",    .kind = ElementKind::dictionary},
    {.name = "array",   .kind = ElementKind::array},
    {.name = "key",     .kind = ElementKind::key,  .mayBeEmpty = false},
    {.name = "string",  .kind = ElementKind::leaf},
    {.name = "integer", .kind = ElementKind::leaf},
    {.name = "real",    .kind = ElementKind::leaf},
    {.name = "true",    .kind = ElementKind::leaf},
    {.name = "false",   .kind = ElementKind::leaf},
    {.name = "date",    .kind = ElementKind::leaf, .mayBeEmpty = false},
    {.name = "data",    .kind = ElementKind::leaf, .mayBeEmpty = false},
}};
// clang-format on
static_assert(kElementTypes.size() == 11);

// clang-format off
constexpr std::array<std::string_view, 5> kNamedEntities{{"amp", "lt", "gt", "quot", "apos"}};
// clang-format on

struct Tag {
  enum class Form : std::uint8_t { opening, closing, empty };
  Form form = Form::opening;
  const ElementType* type = nullptr;
};

const ElementType* elementType(std::string_view name) {
  for (const auto& type : kElementTypes) {
    if (type.name == name) return &type;
  }
  return nullptr;
}

bool isNumber(std::string_view digits, int base) {
  std::uint32_t number = 0;
  for (const char digit : digits) {
    const auto value = digit >= '0' && digit <= '9'   ? digit - '0'
                       : digit >= 'a' && digit <= 'f' ? digit - 'a' + 10
                       : digit >= 'A' && digit <= 'F' ? digit - 'A' + 10
                                                      : base;
    if (value >= base || number > 0x10FFFF) return false;
    number = number * static_cast<std::uint32_t>(base) + static_cast<std::uint32_t>(value);
  }
  return number > 0 && number <= 0x10FFFF;
}

/// True if the text between "&" and ";" is a character other than zero.
bool isEntity(std::string_view name) {
  if (name.starts_with("#x")) return name.size() <= 8 && isNumber(name.substr(2), 16);
  if (name.starts_with("#")) return name.size() <= 8 && isNumber(name.substr(1), 10);
  return std::find(kNamedEntities.begin(), kNamedEntities.end(), name) != kNamedEntities.end();
}

class XmlGuard {
 public:
  explicit XmlGuard(std::string_view text) : text_(text) {}

  /// The length of the list, or 0 if it is not safe.
  [[nodiscard]] std::size_t safeLength() { return skipProlog() && root() ? position_ : 0; }
  /// The number of values and keys so far.
  [[nodiscard]] std::size_t values() const { return values_; }

 private:
  [[nodiscard]] std::string_view rest() const { return text_.substr(position_); }
  bool skip(std::string_view expected);
  bool skipThrough(std::string_view end);
  bool skipQuotedThrough(std::string_view end, std::string_view forbidden);
  bool skipMiscellany();
  bool skipProlog();
  std::optional<Tag> tag();
  bool root();
  bool value(const Tag& opening, std::size_t depth);
  bool leaf(const Tag& opening);
  bool text(std::uint64_t& entities);
  bool arrayContent(std::size_t depth);
  bool dictionaryContent(std::size_t depth);
  bool countValue() { return ++values_ <= PropertyList::kMaxValues; }

  std::string_view text_;
  std::size_t position_ = 0;
  std::size_t values_ = 0;
  std::uint64_t keyWork_ = 0;
  std::uint64_t entityWork_ = 0;
};

bool XmlGuard::skip(std::string_view expected) {
  if (!rest().starts_with(expected)) return false;
  position_ += expected.size();
  return true;
}

bool XmlGuard::skipThrough(std::string_view end) {
  const std::size_t found = text_.find(end, position_);
  if (found == std::string_view::npos) return false;
  position_ = found + end.size();
  return true;
}

/// The library skips text in double quotes. If the quotes come in pairs without an end between them, it finds the
/// same end as this function.
bool XmlGuard::skipQuotedThrough(std::string_view end, std::string_view forbidden) {
  const std::size_t start = position_;
  if (!skipThrough(end)) return false;
  const std::string_view skipped = text_.substr(start, position_ - end.size() - start);
  return std::count(skipped.begin(), skipped.end(), '"') % 2 == 0 &&
         skipped.find_first_of(forbidden) == std::string_view::npos;
}

/// Skips space, comments and processing instructions; false if one of them does not end.
bool XmlGuard::skipMiscellany() {
  for (;;) {
    position_ = std::min(text_.find_first_not_of(kSpace, position_), text_.size());
    if (skip("<!--")) {
      if (!skipThrough("-->")) return false;
    } else if (skip("<?")) {
      if (rest().starts_with(">") || !skipQuotedThrough("?>", "")) return false;  // the library takes "<?>" as complete
    } else {
      return true;
    }
  }
}

bool XmlGuard::skipProlog() {
  if (!skipMiscellany()) return false;
  if (!skip("<!DOCTYPE")) return true;
  return skipQuotedThrough(">", "[<") && skipMiscellany();
}

/// Reads a complete tag of a known element.
std::optional<Tag> XmlGuard::tag() {
  if (!skip("<")) return std::nullopt;
  Tag found{.form = skip("/") ? Tag::Form::closing : Tag::Form::opening};
  std::string_view name = rest().substr(0, rest().find_first_of(" \t\r\n<>"));
  if (name.ends_with('/')) name.remove_suffix(1);
  found.type = elementType(name);
  if (found.type == nullptr) return std::nullopt;
  position_ += name.size();
  const std::size_t start = position_;
  if (!skipQuotedThrough(">", "<")) return std::nullopt;
  const std::string_view attributes = text_.substr(start, position_ - 1 - start);
  const bool isBare = attributes.find_first_not_of(kSpace) == std::string_view::npos;
  if (attributes.starts_with('/') && attributes.size() > 1) return std::nullopt;
  if (found.form == Tag::Form::closing) return isBare ? std::optional(found) : std::nullopt;
  if (!attributes.ends_with('/')) return found;
  found.form = Tag::Form::empty;
  return found.type->mayBeEmpty ? std::optional(found) : std::nullopt;
}

bool XmlGuard::root() {
  const auto opening = tag();
  if (!opening) return false;
  if (opening->type->kind != ElementKind::list) return value(*opening, 0);
  if (opening->form != Tag::Form::opening || !skipMiscellany()) return false;
  const auto only = tag();
  if (!only || !value(*only, 0) || !skipMiscellany()) return false;
  const auto closing = tag();
  return closing && closing->form == Tag::Form::closing && closing->type == opening->type;
}

/// Reads a value after its opening tag.
bool XmlGuard::value(const Tag& opening, std::size_t depth) {
  if (opening.form == Tag::Form::closing || !countValue()) return false;
  switch (opening.type->kind) {
    case ElementKind::dictionary:
      return depth < PropertyList::kMaxDepth && (opening.form == Tag::Form::empty || dictionaryContent(depth + 1));
    case ElementKind::array:
      return depth < PropertyList::kMaxDepth && (opening.form == Tag::Form::empty || arrayContent(depth + 1));
    case ElementKind::leaf: return opening.form == Tag::Form::empty || leaf(opening);
    case ElementKind::list:
    case ElementKind::key: return false;
  }
  return false;
}

/// Reads text, comments and CDATA sections up to the closing tag. Entities count, because the library moves the rest
/// of the text for each one.
bool XmlGuard::leaf(const Tag& opening) {
  const std::size_t start = position_;
  std::uint64_t entities = 0;
  for (;;) {
    if (!text(entities)) return false;
    if (skip("<!--")) {
      if (!skipThrough("-->")) return false;
    } else if (skip("<![CDATA[")) {
      if (!skipThrough("]]>")) return false;
    } else {
      entityWork_ += entities * (position_ - start);
      const auto closing = tag();
      return closing && closing->form == Tag::Form::closing && closing->type == opening.type &&
             entityWork_ <= PropertyList::kMaxEntityWork;
    }
  }
}

/// Reads plain text up to the next "<" and counts its entities.
bool XmlGuard::text(std::uint64_t& entities) {
  const std::size_t end = text_.find('<', position_);
  if (end == std::string_view::npos) return false;
  const std::string_view run = text_.substr(0, end);
  for (std::size_t start = run.find('&', position_); start != std::string_view::npos; start = run.find('&', start)) {
    const std::size_t stop = run.find(';', start);
    if (stop == std::string_view::npos || !isEntity(run.substr(start + 1, stop - start - 1))) return false;
    start = stop;
    ++entities;
  }
  position_ = end;
  return true;
}

bool XmlGuard::arrayContent(std::size_t depth) {
  for (;;) {
    if (!skipMiscellany()) return false;
    const auto next = tag();
    if (!next) return false;
    if (next->form == Tag::Form::closing) return next->type->kind == ElementKind::array;
    if (!value(*next, depth)) return false;
  }
}

/// Reads alternating keys and values. Keys count, because the library compares each key with all earlier ones.
bool XmlGuard::dictionaryContent(std::size_t depth) {
  for (std::uint64_t keys = 1;; ++keys) {
    if (!skipMiscellany()) return false;
    const auto next = tag();
    if (!next) return false;
    if (next->form == Tag::Form::closing) return next->type->kind == ElementKind::dictionary;
    if (next->form != Tag::Form::opening || next->type->kind != ElementKind::key) return false;
    keyWork_ += 2 * keys - 1;
    if (!countValue() || keyWork_ > PropertyList::kMaxKeyWork || !leaf(*next) || !skipMiscellany()) return false;
    const auto content = tag();
    if (!content || !value(*content, depth)) return false;
  }
}

}  // namespace

std::string_view safeXmlPropertyList(std::string_view text, PropertyListCost* cost) {
  XmlGuard guard(text);
  const std::string_view list = text.substr(0, guard.safeLength());
  if (cost != nullptr) *cost = {.values = guard.values(), .textBytes = list.size()};
  return list.find('\0') == std::string_view::npos ? list : std::string_view();
}

}  // namespace quarn

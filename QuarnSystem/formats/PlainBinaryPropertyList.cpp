#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "QuarnSystem/formats/PlainPropertyListParts.h"
#include "QuarnSystem/formats/PlainPropertyLists.h"

namespace quarn {
namespace {

constexpr std::string_view kPlainBinaryMagic = "bplist00";
constexpr std::size_t kPlainTrailer = 32;
constexpr std::uint64_t kCountIsSeparate = 15;
constexpr std::size_t kMostPlainValues = 8192;
constexpr std::size_t kMostPlainText = std::size_t{1} << 20;

/// Every function returns false to give up. Objects may be shared, so values and text are counted for each reference.
class PlainBinaryList {
 public:
  explicit PlainBinaryList(std::string_view bytes) : bytes_(bytes) {}

  bool read(PropertyList& root) {
    if (!bytes_.starts_with(kPlainBinaryMagic)) return false;
    if (bytes_.size() < kPlainBinaryMagic.size() + kPlainTrailer) return false;
    const std::size_t trailer = bytes_.size() - kPlainTrailer;
    offsetWidth_ = integerAt(trailer + 6, 1);
    referenceWidth_ = integerAt(trailer + 7, 1);
    objects_ = integerAt(trailer + 8, 8);
    table_ = integerAt(trailer + 24, 8);
    if (!isWidth(offsetWidth_) || !isWidth(referenceWidth_) || objects_ > kMostPlainValues) return false;
    if (table_ <= kPlainBinaryMagic.size() || table_ > trailer) return false;
    return objects_ * offsetWidth_ <= trailer - table_ && value(integerAt(trailer + 16, 8), root, 0);
  }

 private:
  struct Object {
    unsigned kind = 0;          ///< high half of the marker
    std::uint64_t count = 0;    ///< low half, or the integer after it
    std::uint64_t content = 0;  ///< where the rest begins
  };

  static bool isWidth(std::uint64_t width) { return width == 1 || width == 2 || width == 4 || width == 8; }
  /// The caller has checked that it is inside.
  [[nodiscard]] std::uint64_t integerAt(std::uint64_t offset, std::uint64_t width) const {
    std::uint64_t number = 0;
    for (const char byte : bytes_.substr(offset, width)) number = number << 8U | static_cast<unsigned char>(byte);
    return number;
  }
  /// True if so many bytes precede the table.
  [[nodiscard]] bool fits(std::uint64_t offset, std::uint64_t count) const {
    return offset <= table_ && count <= table_ - offset;
  }

  bool objectAt(std::uint64_t index, Object& object) {
    if (index >= objects_ || ++values_ > kMostPlainValues) return false;
    const std::uint64_t offset = integerAt(table_ + index * offsetWidth_, offsetWidth_);
    if (offset < kPlainBinaryMagic.size() || !fits(offset, 1)) return false;
    const std::uint64_t marker = integerAt(offset, 1);
    object = {.kind = static_cast<unsigned>(marker >> 4U), .count = marker & 15U, .content = offset + 1};
    const bool hasCount = object.kind >= 4 && object.count == kCountIsSeparate;
    return !hasCount || readCount(object);
  }

  bool readCount(Object& object) const {
    if (!fits(object.content, 1)) return false;
    const std::uint64_t marker = integerAt(object.content, 1);
    const std::uint64_t width = std::uint64_t{1} << (marker & 3U);
    if (marker < 0x10 || marker > 0x13 || !fits(object.content + 1, width)) return false;
    object.count = integerAt(object.content + 1, width);
    object.content += 1 + width;
    return object.count <= bytes_.size();
  }

  bool value(std::uint64_t index, PropertyList& result, std::size_t level) {
    Object object;
    if (!objectAt(index, object)) return false;
    switch (object.kind) {
      case 0x0: result = PropertyList(object.count == 9); return object.count == 8 || object.count == 9;
      case 0x1: return integer(object, result);
      case 0x5: return string(object, result);
      case 0xA: return level < kMostPlainLevels && array(object, result, level + 1);
      case 0xD: return level < kMostPlainLevels && dictionary(object, result, level + 1);
      default: return false;
    }
  }

  bool integer(const Object& object, PropertyList& result) const {
    const std::uint64_t width = std::uint64_t{1} << object.count;
    if (object.count > 3 || !fits(object.content, width)) return false;
    result = PropertyList(static_cast<std::int64_t>(integerAt(object.content, width)));
    return true;
  }

  bool text(const Object& object, std::string_view& found) {
    textBytes_ += object.count;
    if (textBytes_ > kMostPlainText || !fits(object.content, object.count)) return false;
    found = bytes_.substr(object.content, object.count);
    return found.find('\0') == std::string_view::npos;
  }

  bool string(const Object& object, PropertyList& result) {
    std::string_view found;
    if (!text(object, found)) return false;
    result = PropertyList(std::string(found));
    return true;
  }

  [[nodiscard]] std::uint64_t reference(const Object& object, std::uint64_t position) const {
    return integerAt(object.content + position * referenceWidth_, referenceWidth_);
  }

  bool array(const Object& object, PropertyList& result, std::size_t level) {
    if (!fits(object.content, object.count * referenceWidth_)) return false;
    PropertyList::Array elements;
    elements.reserve(object.count);
    for (std::uint64_t i = 0; i < object.count; ++i) {
      if (!value(reference(object, i), elements.emplace_back(), level)) return false;
    }
    result = PropertyList(std::move(elements));
    return true;
  }

  bool dictionary(const Object& object, PropertyList& result, std::size_t level) {
    if (!fits(object.content, 2 * object.count * referenceWidth_)) return false;
    PropertyList::Dictionary entries;
    entries.reserve(object.count);
    for (std::uint64_t i = 0; i < object.count; ++i) {
      Object name;
      std::string_view key;
      if (!objectAt(reference(object, i), name) || name.kind != 0x5 || !text(name, key)) return false;
      PropertyList* const place = valueOfNewKey(entries, key);
      if (place == nullptr || !value(reference(object, object.count + i), *place, level)) return false;
    }
    result = PropertyList(std::move(entries));
    return true;
  }

  std::string_view bytes_;
  std::uint64_t offsetWidth_ = 0;
  std::uint64_t referenceWidth_ = 0;
  std::uint64_t objects_ = 0;
  std::uint64_t table_ = 0;
  std::size_t values_ = 0;
  std::size_t textBytes_ = 0;
};

}  // namespace

std::optional<PropertyList> readPlainBinaryPropertyList(std::string_view bytes) {
  PropertyList root;
  const bool isRead = bytes.size() <= kMostPlainBytes && PlainBinaryList(bytes).read(root);
  return isRead ? std::optional(std::move(root)) : std::nullopt;
}

}  // namespace quarn

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <optional>
#include <vector>

#include "QuarnSystem/formats/ByteReader.h"
#include "QuarnSystem/formats/PropertyList.h"
#include "QuarnSystem/formats/PropertyListGuards.h"

namespace quarn {

namespace {

constexpr std::string_view kBinaryPropertyListMagic = "bplist00";
constexpr std::uint64_t kTrailerBytes = 32;
constexpr unsigned kCountFollows = 0xF;

/// How to compute the size of an object from the low half of its marker and the integer after it.
enum class Extent : std::uint8_t {
  none,        ///< only the marker
  powerOfTwo,  ///< 2^low bytes
  lowPlusOne,  ///< low + 1 bytes
  bytes,       ///< count bytes
  text,        ///< count bytes, none of them zero
  wideText,    ///< count units of two bytes, none of them zero; at least one
  references,  ///< count references
  pairs,       ///< count references to keys, then as many to values
};

struct ObjectType {
  unsigned high = 0;
  Extent extent = Extent::none;
  unsigned lowest = 0;  ///< range of valid low halves
  unsigned highest = 0;
};

// clang-format off
constexpr std::array<ObjectType, 11> kObjectTypes{{
    {.high = 0x0, .extent = Extent::none,       .lowest = 8, .highest = 9},   // false, true
    {.high = 0x1, .extent = Extent::powerOfTwo, .lowest = 0, .highest = 4},   // integer
    {.high = 0x2, .extent = Extent::powerOfTwo, .lowest = 2, .highest = 3},   // real
    {.high = 0x3, .extent = Extent::powerOfTwo, .lowest = 3, .highest = 3},   // date
    {.high = 0x4, .extent = Extent::bytes,      .lowest = 0, .highest = 15},  // data
    {.high = 0x5, .extent = Extent::text,       .lowest = 0, .highest = 15},  // ASCII string
    {.high = 0x6, .extent = Extent::wideText,   .lowest = 0, .highest = 15},  // UTF-16 string
    {.high = 0x8, .extent = Extent::lowPlusOne, .lowest = 0, .highest = 3},   // reference of a keyed archive
    {.high = 0xA, .extent = Extent::references, .lowest = 0, .highest = 15},  // array
    {.high = 0xC, .extent = Extent::references, .lowest = 0, .highest = 15},  // set
    {.high = 0xD, .extent = Extent::pairs,      .lowest = 0, .highest = 15},  // dictionary
}};
// clang-format on
static_assert(kObjectTypes.size() == 11);

bool isText(Extent extent) { return extent == Extent::text || extent == Extent::wideText; }

struct Object {
  Extent extent = Extent::none;
  std::uint64_t content = 0;  ///< offset after the marker and the count
  std::uint64_t count = 0;    ///< bytes, units, references or pairs, by `extent`

  [[nodiscard]] std::uint64_t referenceCount() const {
    if (extent == Extent::pairs) return 2 * count;
    return extent == Extent::references ? count : 0;
  }
};

/// The cost of a value after the library has copied everything shared in it.
struct Cost {
  std::uint64_t values = 0;
  std::uint64_t textBytes = 0;
  std::uint32_t levels = 0;  ///< depth of nested arrays and dictionaries, including itself

  void add(const Cost& part) {
    values += part.values;
    textBytes += part.textBytes;
    levels = std::max(levels, part.levels);
  }

  [[nodiscard]] bool isWithinBounds() const {
    return values <= PropertyList::kMaxValues && textBytes <= PropertyList::kMaxTextBytes &&
           levels <= PropertyList::kMaxDepth;
  }
};

class BinaryGuard {
 public:
  explicit BinaryGuard(std::string_view bytes) : bytes_(bytes), file_(bytes) {}

  /// The cost of the list; absent if it is not safe.
  [[nodiscard]] std::optional<Cost> cost() {
    if (!readTrailer()) return std::nullopt;
    known_.resize(objectCount_);
    return costOf(topObject_, 0);
  }

 private:
  bool readTrailer();
  [[nodiscard]] std::optional<Object> objectAt(std::uint64_t index) const;
  [[nodiscard]] std::optional<Object> objectOf(const ObjectType& type, unsigned low, std::uint64_t content) const;
  [[nodiscard]] bool readCount(unsigned low, Object& object) const;
  [[nodiscard]] std::optional<std::uint64_t> contentBytes(const Object& object) const;
  [[nodiscard]] bool hasZeroCharacter(const Object& object) const;
  [[nodiscard]] std::optional<Cost> costOf(std::uint64_t index, std::uint32_t depth);
  [[nodiscard]] std::optional<Cost> costOfParts(const Object& object, std::uint32_t depth);
  [[nodiscard]] bool isKey(std::uint64_t index) const;

  std::string_view bytes_;
  ByteReader file_;
  std::size_t offsetWidth_ = 0;
  std::size_t referenceWidth_ = 0;
  std::uint64_t objectCount_ = 0;
  std::uint64_t topObject_ = 0;
  std::uint64_t offsetTable_ = 0;
  std::vector<std::optional<Cost>> known_;
  Cost visited_;  ///< cost of the objects visited so far; at most the cost of the top object
};

bool BinaryGuard::readTrailer() {
  if (!bytes_.starts_with(kBinaryPropertyListMagic) || file_.size() < kBinaryPropertyListMagic.size() + kTrailerBytes)
    return false;
  const std::uint64_t trailer = file_.size() - kTrailerBytes;
  offsetWidth_ = *file_.u8(trailer + 6);
  referenceWidth_ = *file_.u8(trailer + 7);
  objectCount_ = *file_.u64(trailer + 8);
  topObject_ = *file_.u64(trailer + 16);
  offsetTable_ = *file_.u64(trailer + 24);
  if (offsetWidth_ < 1 || offsetWidth_ > 8 || referenceWidth_ < 1 || referenceWidth_ > 8) return false;
  if (objectCount_ > PropertyList::kMaxValues || topObject_ >= objectCount_) return false;
  if (offsetTable_ <= kBinaryPropertyListMagic.size() || offsetTable_ > trailer) return false;
  return objectCount_ * offsetWidth_ <= trailer - offsetTable_;
}

/// The object with that index. Absent unless it is entirely between the header and the offset table.
std::optional<Object> BinaryGuard::objectAt(std::uint64_t index) const {
  if (index >= objectCount_) return std::nullopt;
  const auto offset = file_.integer(offsetTable_ + index * offsetWidth_, offsetWidth_);
  if (!offset || *offset < kBinaryPropertyListMagic.size() || *offset >= offsetTable_) return std::nullopt;
  const unsigned marker = *file_.u8(*offset);
  for (const auto& type : kObjectTypes) {
    if (type.high == marker >> 4U) return objectOf(type, marker & 0xFU, *offset + 1);
  }
  return std::nullopt;
}

std::optional<Object> BinaryGuard::objectOf(const ObjectType& type, unsigned low, std::uint64_t content) const {
  if (low < type.lowest || low > type.highest) return std::nullopt;
  Object object{.extent = type.extent, .content = content};
  if (!readCount(low, object) || (object.extent == Extent::wideText && object.count == 0)) return std::nullopt;
  const auto size = contentBytes(object);
  if (!size || object.content > offsetTable_ || *size > offsetTable_ - object.content) return std::nullopt;
  return object;
}

/// Sets the count. If the count is a separate integer, moves the start of the content behind it.
bool BinaryGuard::readCount(unsigned low, Object& object) const {
  object.count = low;
  const bool fixed =
      object.extent == Extent::none || object.extent == Extent::powerOfTwo || object.extent == Extent::lowPlusOne;
  if (fixed || low != kCountFollows) return true;
  const auto marker = file_.u8(object.content);
  if (!marker || *marker < 0x10 || *marker > 0x13) return false;
  const std::size_t width = std::size_t{1} << (*marker & 0xFU);
  const auto count = file_.integer(object.content + 1, width);
  if (!count || *count > file_.size()) return false;
  object.count = *count;
  object.content += 1 + width;
  return true;
}

/// A count is at most the size of the file, so these products cannot overflow.
std::optional<std::uint64_t> BinaryGuard::contentBytes(const Object& object) const {
  switch (object.extent) {
    case Extent::none: return 0;
    case Extent::powerOfTwo: return std::uint64_t{1} << object.count;
    case Extent::lowPlusOne: return object.count + 1;
    case Extent::bytes:
    case Extent::text: return object.count;
    case Extent::wideText: return 2 * object.count;
    case Extent::references:
    case Extent::pairs: return object.referenceCount() * referenceWidth_;
  }
  return std::nullopt;
}

bool BinaryGuard::hasZeroCharacter(const Object& object) const {
  const std::string_view content = bytes_.substr(object.content, *contentBytes(object));
  if (object.extent == Extent::text) return content.find('\0') != std::string_view::npos;
  for (std::size_t i = 0; object.extent == Extent::wideText && i < content.size(); i += 2) {
    if (content[i] == '\0' && content[i + 1] == '\0') return true;
  }
  return false;
}

/// There is no separate search for cycles: a cycle exceeds the limit on the depth.
std::optional<Cost> BinaryGuard::costOf(std::uint64_t index, std::uint32_t depth) {
  const auto object = objectAt(index);
  if (!object) return std::nullopt;
  if (!known_[index]) {
    Cost own{.values = 1, .textBytes = object->referenceCount() > 0 ? 0 : *contentBytes(*object)};
    visited_.textBytes += own.textBytes;
    if (!visited_.isWithinBounds() || hasZeroCharacter(*object)) return std::nullopt;
    const auto parts = costOfParts(*object, depth);
    if (!parts) return std::nullopt;
    own.add(*parts);
    if (!own.isWithinBounds()) return std::nullopt;
    known_[index] = own;
  }
  return known_[index];
}

std::optional<Cost> BinaryGuard::costOfParts(const Object& object, std::uint32_t depth) {
  const bool isContainer = object.extent == Extent::references || object.extent == Extent::pairs;
  if (!isContainer) return Cost{};
  if (depth >= PropertyList::kMaxDepth) return std::nullopt;
  Cost parts;
  for (std::uint64_t i = 0; i < object.referenceCount(); ++i) {
    const auto index = file_.integer(object.content + i * referenceWidth_, referenceWidth_);
    if (!index || (object.extent == Extent::pairs && i < object.count && !isKey(*index))) return std::nullopt;
    ++visited_.values;
    const auto part = costOf(*index, depth + 1);
    if (!part) return std::nullopt;
    parts.add(*part);
    if (!visited_.isWithinBounds()) return std::nullopt;
  }
  ++parts.levels;
  return parts;
}

bool BinaryGuard::isKey(std::uint64_t index) const {
  const auto object = objectAt(index);
  return object && isText(object->extent);
}

}  // namespace

bool isSafeBinaryPropertyList(std::string_view bytes, PropertyListCost* cost) {
  const std::optional<Cost> found = BinaryGuard(bytes).cost();
  if (found && cost != nullptr) *cost = {.values = found->values, .textBytes = found->textBytes};
  return found.has_value();
}

}  // namespace quarn

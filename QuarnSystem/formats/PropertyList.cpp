#include "QuarnSystem/formats/PropertyList.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>

#include <plist/plist.h>

#include "QuarnSystem/formats/PlainPropertyLists.h"
#include "QuarnSystem/formats/PropertyListGuards.h"

namespace quarn {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBinaryMagic = "bplist";

struct FreeWithPlist {
  void operator()(void* tree) const { plist_free(tree); }
};
struct FreeWithLibc {
  void operator()(void* block) const { std::free(block); }  // NOLINT: the library allocates with malloc
};
using PlistTree = std::unique_ptr<void, FreeWithPlist>;

PropertyList converted(plist_t node);

std::string stringOf(plist_t node) {
  std::uint64_t length = 0;
  const char* text = plist_get_string_ptr(node, &length);
  return text == nullptr ? std::string() : std::string(text, length);
}

/// The key of a value in a dictionary. The library's getter terminates the program if the key has a zero byte; the
/// guards refuse such files.
std::string keyOf(plist_t value) {
  char* text = nullptr;
  plist_get_key_val(plist_dict_item_get_key(value), &text);
  const std::unique_ptr<char, FreeWithLibc> owner(text);
  if (text == nullptr) throw std::bad_alloc();  // the library could not copy the key
  return text;
}

/// The library returns whole seconds and the absolute value of the microseconds.
PropertyList::Date dateOf(plist_t node) {
  std::int32_t seconds = 0;
  std::int32_t microseconds = 0;
  plist_get_date_val(node, &seconds, &microseconds);
  const double fraction = microseconds / 1e6;
  return {.seconds = seconds < 0 ? seconds - fraction : seconds + fraction};
}

PropertyList::Data dataOf(plist_t node) {
  std::uint64_t length = 0;
  const char* bytes = plist_get_data_ptr(node, &length);
  return {.bytes = bytes == nullptr ? std::string() : std::string(bytes, length)};
}

bool booleanOf(plist_t node) {
  std::uint8_t value = 0;
  plist_get_bool_val(node, &value);
  return value != 0;
}

std::int64_t integerOf(plist_t node) {
  std::uint64_t value = 0;
  plist_get_uint_val(node, &value);
  return static_cast<std::int64_t>(value);
}

double realOf(plist_t node) {
  double value = 0;
  plist_get_real_val(node, &value);
  return value;
}

PropertyList::Array arrayOf(plist_t node) {
  plist_array_iter position = nullptr;
  plist_array_new_iter(node, &position);
  const std::unique_ptr<void, FreeWithLibc> owner(position);
  PropertyList::Array elements;
  elements.reserve(plist_array_get_size(node));
  for (plist_t element = nullptr;;) {
    plist_array_next_item(node, position, &element);
    if (element == nullptr) return elements;
    elements.push_back(converted(element));
  }
}

PropertyList::Dictionary dictionaryOf(plist_t node) {
  plist_dict_iter position = nullptr;
  plist_dict_new_iter(node, &position);
  const std::unique_ptr<void, FreeWithLibc> owner(position);
  PropertyList::Dictionary entries;
  entries.reserve(plist_dict_get_size(node));
  for (plist_t value = nullptr;;) {
    plist_dict_next_item(node, position, nullptr, &value);
    if (value == nullptr) return entries;
    entries.push_back({.key = keyOf(value), .value = converted(value)});
  }
}

/// The recursion is as deep as the list, which the guards limit.
PropertyList converted(plist_t node) {
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: return PropertyList(booleanOf(node));
    case PLIST_UINT: return PropertyList(integerOf(node));
    case PLIST_REAL: return PropertyList(realOf(node));
    case PLIST_STRING: return PropertyList(stringOf(node));
    case PLIST_DATA: return PropertyList(dataOf(node));
    case PLIST_DATE: return PropertyList(dateOf(node));
    case PLIST_ARRAY: return PropertyList(arrayOf(node));
    case PLIST_DICT: return PropertyList(dictionaryOf(node));
    default: return {};
  }
}

// Measured with the largest lists: at most 162 bytes for a value and 1.5 for a byte of text. Large dictionaries also
// have a table, which was not measured.
constexpr std::uint64_t kBytesPerValue = 256;
constexpr std::uint64_t kBytesPerTextByte = 2;
constexpr std::uint64_t kBytesOfSmallList = std::uint64_t{1} << 20;

/// The library ends the process when it gets no memory. So this throws std::bad_alloc if the memory for a list is not
/// available, and large lists are parsed one at a time: the result is a lock to hold as long as the library's list.
[[nodiscard]] std::unique_lock<std::mutex> claimMemory(const PropertyListCost& cost) {
  static std::mutex large;
  const std::uint64_t needed = cost.values * kBytesPerValue + cost.textBytes * kBytesPerTextByte;
  std::unique_lock<std::mutex> lock(large, std::defer_lock);
  if (needed > kBytesOfSmallList) lock.lock();
  // Volatile: the compiler may leave out an allocation that nothing uses.
  void* volatile block = std::malloc(needed + kBytesOfSmallList);  // NOLINT: only asks whether there is memory
  if (block == nullptr) throw std::bad_alloc();
  std::free(block);  // NOLINT
  return lock;
}

/// The bytes that the library may read; empty if the list is not safe.
std::string_view safeList(std::string_view bytes, PropertyListCost& cost) {
  if (bytes.starts_with(kBinaryMagic)) return isSafeBinaryPropertyList(bytes, &cost) ? bytes : std::string_view();
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  return safeXmlPropertyList(bytes, &cost);
}

PlistTree treeOf(std::string_view list) {
  const auto read = list.starts_with(kBinaryMagic) ? plist_from_bin : plist_from_xml;
  plist_t root = nullptr;
  read(list.data(), static_cast<std::uint32_t>(list.size()), &root);
  return PlistTree(root);
}

}  // namespace

std::optional<PropertyList> PropertyList::parse(std::string_view bytes) {
  if (std::optional<PropertyList> plain = readPlainXmlPropertyList(bytes)) return plain;
  if (std::optional<PropertyList> plain = readPlainBinaryPropertyList(bytes)) return plain;
  return parsePropertyListByLibrary(bytes);
}

std::optional<PropertyList> parsePropertyListByLibrary(std::string_view bytes) {
  if (bytes.size() > PropertyList::kMaxBytes) return std::nullopt;
  PropertyListCost cost;
  const std::string_view list = safeList(bytes, cost);
  if (list.empty()) return std::nullopt;
  const std::unique_lock<std::mutex> lock = claimMemory(cost);
  const PlistTree tree = treeOf(list);
  if (!tree) return std::nullopt;
  return converted(tree.get());
}

PropertyList::PropertyList(Value content) : content_(std::move(content)) {}

const PropertyList* PropertyList::value(std::string_view key) const {
  const auto* entries = asDictionary();
  if (entries == nullptr) return nullptr;
  const auto found =
      std::find_if(entries->rbegin(), entries->rend(), [&](const auto& entry) { return entry.key == key; });
  return found == entries->rend() ? nullptr : &found->value;
}

namespace {

template <class Type>
const Type* typedValue(const PropertyList* value) {
  return value == nullptr ? nullptr : std::get_if<Type>(&value->content());
}

template <class Type>
std::optional<Type> typedCopy(const PropertyList* value) {
  const Type* typed = typedValue<Type>(value);
  return typed == nullptr ? std::nullopt : std::optional<Type>(*typed);
}

}  // namespace

std::optional<std::string> PropertyList::string(std::string_view key) const {
  return typedCopy<std::string>(value(key));
}

std::optional<std::int64_t> PropertyList::integer(std::string_view key) const {
  return typedCopy<std::int64_t>(value(key));
}

std::optional<bool> PropertyList::boolean(std::string_view key) const { return typedCopy<bool>(value(key)); }

std::optional<PropertyList::Date> PropertyList::date(std::string_view key) const { return typedCopy<Date>(value(key)); }

const PropertyList::Array* PropertyList::array(std::string_view key) const { return typedValue<Array>(value(key)); }

const PropertyList* PropertyList::dictionary(std::string_view key) const {
  const PropertyList* found = value(key);
  return found != nullptr && found->isDictionary() ? found : nullptr;
}

std::optional<std::vector<std::string>> PropertyList::stringArray(std::string_view key) const {
  const Array* elements = array(key);
  if (elements == nullptr) return std::nullopt;
  std::vector<std::string> strings;
  strings.reserve(elements->size());
  for (const auto& element : *elements) {
    const std::string* text = element.asString();
    if (text == nullptr) return std::nullopt;
    strings.push_back(*text);
  }
  return strings;
}

bool operator==(const PropertyList& left, const PropertyList& right) { return left.content_ == right.content_; }

}  // namespace quarn

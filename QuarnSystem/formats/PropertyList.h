#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace quarn {

struct PropertyListEntry;

/// A property list, or a value in one. A plain value that owns all below it: copy it, compare it, read it from any
/// thread.
///
/// Property lists come from files that anyone may have written, so nobody can rely on a key's type. Each accessor that
/// takes a key therefore answers "absent" alike when the value is no dictionary, when the key is missing and when the
/// key's value is of another type.
class PropertyList {
 public:
  using Array = std::vector<PropertyList>;
  using Dictionary = std::vector<PropertyListEntry>;  ///< in the order of the file

  struct Data {
    std::string bytes;
    friend bool operator==(const Data&, const Data&) = default;
  };

  struct Date {
    double seconds = 0;  ///< since 2001-01-01 00:00 UTC, the epoch of the format
    friend bool operator==(const Date&, const Date&) = default;
  };

  /// What a value is. Null stands for what the format knows and nobody here reads: references of keyed archives.
  using Value = std::variant<std::monostate, bool, std::int64_t, double, std::string, Data, Date, Array, Dictionary>;

  /// The bounds of `parse`. A file beyond one of them is refused before memory is spent on it. Of files made to come
  /// close to all of them, the worst took half a second and 150 MB.
  static constexpr std::size_t kMaxBytes = 8U << 20U;
  static constexpr std::size_t kMaxDepth = 128;             ///< arrays and dictionaries around a value
  static constexpr std::size_t kMaxValues = 500'000;        ///< values and keys, each as often as it is referred to
  static constexpr std::size_t kMaxTextBytes = 32U << 20U;  ///< of strings and data, likewise
  static constexpr std::uint64_t kMaxKeyWork = 25'000'000;  ///< keys of an XML dictionary, squared, over all of them
  static constexpr std::uint64_t kMaxEntityWork = 5'000'000'000;  ///< an XML string's entities × its bytes, likewise

  /// The property list in the content of a file: XML, with or without a byte order mark or header, or binary
  /// ("bplist00"). Absent for everything else, UTF-16 and the old ASCII form included; for damaged files, also where
  /// only part is damaged; for a file that holds a zero byte or character in a string or key; and beyond the bounds.
  ///
  /// An integer is its low 64 bits, signed. A malformed number is the part that is readable or 0, a malformed date
  /// some date; bytes of strings that are not UTF-8 stay as they are. What follows the end of an XML list is ignored.
  static std::optional<PropertyList> parse(std::string_view bytes);

  PropertyList() = default;
  explicit PropertyList(Value content);

  /// The value itself, for who must tell the types apart.
  [[nodiscard]] const Value& content() const { return content_; }

  [[nodiscard]] bool isDictionary() const { return std::holds_alternative<Dictionary>(content_); }
  [[nodiscard]] const std::string* asString() const { return std::get_if<std::string>(&content_); }
  [[nodiscard]] const Array* asArray() const { return std::get_if<Array>(&content_); }
  [[nodiscard]] const Dictionary* asDictionary() const { return std::get_if<Dictionary>(&content_); }

  /// The key's value, whatever its type; of equal keys the last one's, as the platform has it. Null when absent. This
  /// and every pointer below lives as long as the list it came from stays unchanged.
  [[nodiscard]] const PropertyList* value(std::string_view key) const;

  [[nodiscard]] std::optional<std::string> string(std::string_view key) const;
  [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const;
  [[nodiscard]] std::optional<bool> boolean(std::string_view key) const;
  [[nodiscard]] std::optional<Date> date(std::string_view key) const;
  [[nodiscard]] const Array* array(std::string_view key) const;
  /// The key's value when it is a dictionary, to ask on.
  [[nodiscard]] const PropertyList* dictionary(std::string_view key) const;
  /// The key's strings; absent also when one element is no string.
  [[nodiscard]] std::optional<std::vector<std::string>> stringArray(std::string_view key) const;

  friend bool operator==(const PropertyList& left, const PropertyList& right);

 private:
  Value content_;
};

/// A key of a dictionary and its value.
struct PropertyListEntry {
  std::string key;
  PropertyList value;

  friend bool operator==(const PropertyListEntry&, const PropertyListEntry&) = default;
};

}  // namespace quarn

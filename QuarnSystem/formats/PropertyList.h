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

/// A property list, or a value in one. Owns everything below it; const access is thread-safe.
///
/// Property lists are untrusted, so the type of a value is never certain. Accessors with a key return "absent" in all
/// of these cases: the value is not a dictionary, the key is missing, the value of the key has another type.
class PropertyList {
 public:
  using Array = std::vector<PropertyList>;
  using Dictionary = std::vector<PropertyListEntry>;  ///< in the order of the file

  struct Data {
    std::string bytes;
    friend bool operator==(const Data&, const Data&) = default;
  };

  struct Date {
    double seconds = 0;  ///< since 2001-01-01 00:00 UTC
    friend bool operator==(const Date&, const Date&) = default;
  };

  /// The content of a value. Null represents values that nobody needs here: references of keyed archives.
  using Value = std::variant<std::monostate, bool, std::int64_t, double, std::string, Data, Date, Array, Dictionary>;

  /// Limits of `parse`, which refuses a file that exceeds one before it spends memory on it. The worst file that we
  /// built within all limits took half a second and 150 MB.
  static constexpr std::size_t kMaxBytes = 8U << 20U;
  static constexpr std::size_t kMaxDepth = 128;                   ///< depth of nested arrays and dictionaries
  static constexpr std::size_t kMaxValues = 500'000;              ///< values and keys, counted once per reference
  static constexpr std::size_t kMaxTextBytes = 32U << 20U;        ///< strings and data, counted once per reference
  static constexpr std::uint64_t kMaxKeyWork = 25'000'000;        ///< sum of keys² over all XML dictionaries
  static constexpr std::uint64_t kMaxEntityWork = 5'000'000'000;  ///< sum of entities × bytes over all XML strings

  /// Parses the content of a file: XML, with or without a byte order mark or header, or binary ("bplist00"). Absent
  /// for anything else (including UTF-16 and the old ASCII form), for files with any damage, for files with a zero
  /// byte or character in a string or key, and beyond the limits.
  ///
  /// Integers are reduced to their low 64 bits, signed. A malformed number is its readable prefix or 0; a malformed
  /// date is some date. Strings that are not UTF-8 stay unchanged. Text after the end of an XML list is ignored.
  static std::optional<PropertyList> parse(std::string_view bytes);

  PropertyList() = default;
  explicit PropertyList(Value content);

  /// The value itself, to distinguish types.
  [[nodiscard]] const Value& content() const { return content_; }

  [[nodiscard]] bool isDictionary() const { return std::holds_alternative<Dictionary>(content_); }
  [[nodiscard]] const std::string* asString() const { return std::get_if<std::string>(&content_); }
  [[nodiscard]] const Array* asArray() const { return std::get_if<Array>(&content_); }
  [[nodiscard]] const Dictionary* asDictionary() const { return std::get_if<Dictionary>(&content_); }

  /// The value of a key, whatever its type; null if absent. If a key is repeated, the last one counts, as on macOS.
  /// All pointers returned here are valid while the list stays unchanged.
  [[nodiscard]] const PropertyList* value(std::string_view key) const;

  [[nodiscard]] std::optional<std::string> string(std::string_view key) const;
  [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const;
  [[nodiscard]] std::optional<bool> boolean(std::string_view key) const;
  [[nodiscard]] std::optional<Date> date(std::string_view key) const;
  [[nodiscard]] const Array* array(std::string_view key) const;
  /// The value of a key if it is a dictionary, for chained access.
  [[nodiscard]] const PropertyList* dictionary(std::string_view key) const;
  /// The strings of a key; absent if an element is not a string.
  [[nodiscard]] std::optional<std::vector<std::string>> stringArray(std::string_view key) const;

  friend bool operator==(const PropertyList& left, const PropertyList& right);

 private:
  Value content_;
};

/// A key and its value in a dictionary.
struct PropertyListEntry {
  std::string key;
  PropertyList value;

  friend bool operator==(const PropertyListEntry&, const PropertyListEntry&) = default;
};

}  // namespace quarn

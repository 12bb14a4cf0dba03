#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// Maximum nesting of arrays and objects.
inline constexpr std::size_t kMaximumJSONDepth = 512;
/// Maximum length of a text. Places and lengths have 32 bits.
inline constexpr std::size_t kMaximumJSONBytes = UINT32_MAX;

class JSONWriter;
struct JSONContent;

/// A value of a `JSONDocument`. A view: the document must outlive it. Accessors are strict: numbers, booleans and
/// strings do not convert to each other. Pure functions.
class JSONValue {
 public:
  enum class Type : std::uint8_t { null, boolean, integer, unsignedInteger, real, string, array, object };

  [[nodiscard]] Type type() const { return node_->type; }
  [[nodiscard]] bool isNull() const { return type() == Type::null; }
  [[nodiscard]] bool isBoolean() const { return type() == Type::boolean; }
  [[nodiscard]] bool isNumber() const { return type() >= Type::integer && type() <= Type::real; }
  [[nodiscard]] bool isString() const { return type() == Type::string; }
  [[nodiscard]] bool isArray() const { return type() == Type::array; }
  [[nodiscard]] bool isObject() const { return type() == Type::object; }

  [[nodiscard]] bool boolean() const { return node_->integer != 0; }
  /// An integral number that fits 64 signed bits; absent for any other value. Notation does not matter: 1, 1.0 and 1e2
  /// are integers. Numbers with a point or an exponent are parsed as doubles, so the minimum integer is only accepted
  /// without them.
  [[nodiscard]] std::optional<std::int64_t> integer() const;
  /// A number of any type.
  [[nodiscard]] double number() const;
  [[nodiscard]] std::string_view string() const;

  /// The number of elements of an array, or of members of an object with repeated keys.
  [[nodiscard]] std::size_t count() const { return node_->length; }
  [[nodiscard]] JSONValue element(std::size_t index) const;
  /// The member with this key, the first of several; absent if there is none or the value is not an object.
  [[nodiscard]] std::optional<JSONValue> member(std::string_view key) const;
  [[nodiscard]] std::string_view keyAt(std::size_t index) const;
  [[nodiscard]] JSONValue memberAt(std::size_t index) const;

  /// The value as JSON text. Repeated keys stay.
  [[nodiscard]] std::string text() const;
  void write(JSONWriter& writer) const;

 private:
  friend class JSONBuilder;

  /// A value in 16 bytes. The elements of an array follow one another in the list of nodes, and so do the members of an
  /// object: key, value, key, value.
  struct Node {
    Type type = Type::null;
    std::uint32_t length = 0;  ///< bytes of a string, number of elements or members
    union {
      std::int64_t integer = 0;
      std::uint64_t unsignedInteger;
      double real;
      std::size_t place;  ///< of the first byte, or of the first node below
    };
  };

  friend struct JSONContent;

  JSONValue(const JSONContent* content, const Node* node) : content_(content), node_(node) {}

  const JSONContent* content_;
  const Node* node_;
};

/// The values of a document.
struct JSONContent {
  std::vector<JSONValue::Node> nodes;  ///< the root is the last
  std::string strings;

  [[nodiscard]] JSONValue root() const { return {this, &nodes.back()}; }
  /// The bytes that it takes.
  [[nodiscard]] std::size_t memory() const { return nodes.capacity() * sizeof(JSONValue::Node) + strings.capacity(); }
};

/// Builds the content of a document from the events of a reader, which must be those of a valid text.
class JSONBuilder {
 public:
  explicit JSONBuilder(std::size_t textBytes);

  void null() { open_.emplace_back(); }
  void boolean(bool value);
  void integer(std::int64_t value);
  void unsignedInteger(std::uint64_t value);
  void real(double value);
  /// A string or a key.
  void string(std::string_view text);

  /// Returns false if the nesting is too deep.
  [[nodiscard]] bool begin();
  void end(JSONValue::Type type);

  std::shared_ptr<const JSONContent> take();

 private:
  std::shared_ptr<JSONContent> content_;
  std::vector<JSONValue::Node> open_;    ///< the finished values of the open containers
  std::vector<std::size_t> containers_;  ///< where each open container begins in `open_`
};

}  // namespace quarn

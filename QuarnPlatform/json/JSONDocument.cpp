#include "QuarnPlatform/json/JSONDocument.h"

#include <cmath>
#include <utility>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/json/JSONSink.h"
#include "QuarnPlatform/json/PlainJSONReader.h"

namespace quarn {
namespace {

using nlohmann::json;

/// Passes the events of the library's parser on, with two rules that it lacks: limited nesting, and no number
/// underflows to zero.
class StrictEvents final : public nlohmann::json_sax<json> {
 public:
  explicit StrictEvents(JSONBuilder& builder) : builder_(builder) {}

  bool null() override { return builder_.null(), true; }
  bool boolean(bool value) override { return builder_.boolean(value), true; }
  bool number_integer(number_integer_t value) override { return builder_.integer(value), true; }
  bool number_unsigned(number_unsigned_t value) override { return builder_.unsignedInteger(value), true; }
  bool number_float(number_float_t value, const string_t& text) override {
    const bool isWrittenZero = text.find_first_of("123456789") >= text.find_first_of("eE");
    if (value == 0 && !isWrittenZero) return refuse("number too small: " + text.substr(0, 40));
    builder_.real(value);
    return true;
  }
  bool string(string_t& value) override { return add(value); }
  bool binary(binary_t& /*value*/) override { return false; }
  bool key(string_t& name) override { return add(name); }

  bool start_object(std::size_t /*count*/) override { return begin(); }
  bool end_object() override { return builder_.end(JSONValue::Type::object), true; }
  bool start_array(std::size_t /*count*/) override { return begin(); }
  bool end_array() override { return builder_.end(JSONValue::Type::array), true; }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const json::exception& error) override {
    return refuse(error.what());
  }

  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  bool add(const std::string& text) {
    const std::size_t place = builder_.strings().size();
    builder_.strings() += text;
    builder_.string(place);
    return true;
  }
  bool begin() {
    return builder_.begin() || refuse("nested deeper than " + std::to_string(kMaximumJSONDepth) + " levels");
  }
  bool refuse(std::string problem) {
    problem_ = std::move(problem);
    return false;
  }

  JSONBuilder& builder_;
  std::string problem_;
};

/// Removes the prefix "[json.exception.parse_error.101] " of the library's messages, which users do not need.
std::string withoutCode(const std::string& message) {
  const std::size_t end = message.starts_with('[') ? message.find("] ") : std::string::npos;
  return end == std::string::npos ? message : message.substr(end + 2);
}

/// Places and lengths have 32 bits.
constexpr std::size_t kMostBytes = UINT32_MAX;

}  // namespace

std::optional<std::int64_t> JSONValue::integer() const {
  // 2^63, the first double that does not fit. -2^63 would fit, but longer literals are rounded to it too.
  constexpr double kLimit = 9223372036854775808.0;
  switch (type()) {
    case Type::integer: return node_->integer;
    case Type::unsignedInteger: {
      const std::uint64_t value = node_->unsignedInteger;
      return std::in_range<std::int64_t>(value) ? std::optional(static_cast<std::int64_t>(value)) : std::nullopt;
    }
    case Type::real: {
      const double value = node_->real;
      const bool fits = value == std::trunc(value) && value > -kLimit && value < kLimit;
      return fits ? std::optional(static_cast<std::int64_t>(value)) : std::nullopt;
    }
    default: return std::nullopt;
  }
}

double JSONValue::number() const {
  switch (type()) {
    case Type::integer: return static_cast<double>(node_->integer);
    case Type::unsignedInteger: return static_cast<double>(node_->unsignedInteger);
    default: return node_->real;
  }
}

std::string_view JSONValue::string() const {
  return std::string_view(content_->strings).substr(node_->place, node_->length);
}

JSONValue JSONValue::element(std::size_t index) const { return {content_, &content_->nodes[node_->place + index]}; }

std::string_view JSONValue::keyAt(std::size_t index) const { return element(2 * index).string(); }

JSONValue JSONValue::memberAt(std::size_t index) const { return element(2 * index + 1); }

std::optional<JSONValue> JSONValue::member(std::string_view key) const {
  for (std::size_t i = 0; isObject() && i < count(); ++i) {
    if (keyAt(i) == key) return memberAt(i);
  }
  return std::nullopt;
}

void JSONValue::write(JSONWriter& writer) const {
  switch (type()) {
    case Type::null: return writer.null();
    case Type::boolean: return writer.boolean(boolean());
    case Type::integer: return writer.integer(node_->integer);
    case Type::unsignedInteger: return writer.unsignedInteger(node_->unsignedInteger);
    case Type::real: return writer.real(node_->real);
    case Type::string: return writer.string(string());
    case Type::array:
      writer.beginArray();
      for (std::size_t i = 0; i < count(); ++i) element(i).write(writer);
      return writer.endArray();
    case Type::object:
      writer.beginObject();
      for (std::size_t i = 0; i < count(); ++i) {
        writer.key(keyAt(i));
        memberAt(i).write(writer);
      }
      return writer.endObject();
  }
}

std::string JSONValue::text() const {
  JSONWriter writer;
  write(writer);
  return writer.take();
}

std::optional<JSONDocument> JSONDocument::parse(std::string_view text, std::string* problem) {
  if (text.size() > kMostBytes) {
    if (problem != nullptr) *problem = "longer than 4 GB";
    return std::nullopt;
  }
  JSONBuilder builder(text.size());
  if (readPlainJSON(text, builder)) return builder.take();
  std::string found;
  std::optional<JSONDocument> document = parseByLibrary(text, found);
  if (!document && problem != nullptr) *problem = std::move(found);
  return document;
}

// The library decides what the fast reader does not understand, and finds the words for an error.
std::optional<JSONDocument> JSONDocument::parseByLibrary(std::string_view text, std::string& problem) {
  // The library takes a NUL as the end of the text and would ignore the rest.
  if (text.find('\0') != std::string_view::npos) {
    problem = "holds a NUL byte";
    return std::nullopt;
  }
  JSONBuilder builder(text.size());
  StrictEvents events(builder);
  if (json::sax_parse(text, &events, json::input_format_t::json, /*strict=*/true, /*ignore_comments=*/false)) {
    return builder.take();
  }
  problem = withoutCode(events.problem());
  return std::nullopt;
}

std::size_t JSONDocument::memory() const {
  return content_->nodes.capacity() * sizeof(JSONValue::Node) + content_->strings.capacity();
}

JSONBuilder::JSONBuilder(std::size_t textBytes) : content_(std::make_shared<JSONValue::Content>()) {
  // Typical texts have one value in thirty bytes, and are half strings.
  content_->nodes.reserve(textBytes / 32);
  content_->strings.reserve(textBytes / 2);
}

void JSONBuilder::boolean(bool value) { open_.push_back({.type = JSONValue::Type::boolean, .integer = value ? 1 : 0}); }

void JSONBuilder::integer(std::int64_t value) { open_.push_back({.type = JSONValue::Type::integer, .integer = value}); }

void JSONBuilder::unsignedInteger(std::uint64_t value) {
  open_.push_back({.type = JSONValue::Type::unsignedInteger, .unsignedInteger = value});
}

void JSONBuilder::real(double value) { open_.push_back({.type = JSONValue::Type::real, .real = value}); }

void JSONBuilder::string(std::size_t place) {
  const auto length = static_cast<std::uint32_t>(strings().size() - place);
  open_.push_back({.type = JSONValue::Type::string, .length = length, .place = place});
}

bool JSONBuilder::begin() {
  if (containers_.size() == kMaximumJSONDepth) return false;
  containers_.push_back(open_.size());
  return true;
}

// The values of a closed container move to the list of nodes, and one node takes their place.
void JSONBuilder::end(JSONValue::Type type) {
  const auto first = open_.begin() + static_cast<std::ptrdiff_t>(containers_.back());
  const auto values = static_cast<std::uint32_t>(open_.end() - first);
  const std::size_t place = content_->nodes.size();
  content_->nodes.insert(content_->nodes.end(), first, open_.end());
  open_.erase(first, open_.end());
  containers_.pop_back();
  const std::uint32_t length = type == JSONValue::Type::object ? values / 2 : values;
  open_.push_back({.type = type, .length = length, .place = place});
}

JSONDocument JSONBuilder::take() {
  content_->nodes.push_back(open_.back());
  return JSONDocument(std::move(content_));
}

}  // namespace quarn

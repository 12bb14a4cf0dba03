#include "QuarnPlatform/json/JSONValue.h"

#include <cmath>
#include <utility>

#include "QuarnPlatform/json/JSONSink.h"

namespace quarn {

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

JSONBuilder::JSONBuilder(std::size_t textBytes) : content_(std::make_shared<JSONContent>()) {
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

void JSONBuilder::string(std::string_view text) {
  const auto length = static_cast<std::uint32_t>(text.size());
  open_.push_back({.type = JSONValue::Type::string, .length = length, .place = content_->strings.size()});
  content_->strings += text;
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

std::shared_ptr<const JSONContent> JSONBuilder::take() {
  content_->nodes.push_back(open_.back());
  return std::move(content_);
}

}  // namespace quarn

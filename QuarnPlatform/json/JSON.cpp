#include "QuarnPlatform/json/JSON.h"

#include <cmath>
#include <utility>

#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {

namespace {

using nlohmann::json;

/// Builds the value from the parser's events. Replaces the library's builder, which lacks three rules: limited
/// nesting, the first of repeated keys wins, no number underflows to zero.
class TreeBuilder final : public nlohmann::json_sax<json> {
 public:
  bool null() override { return add(json()); }
  bool boolean(bool value) override { return add(json(value)); }
  bool number_integer(number_integer_t value) override { return add(json(value)); }
  bool number_unsigned(number_unsigned_t value) override { return add(json(value)); }
  bool number_float(number_float_t value, const string_t& text) override {
    const bool isWrittenZero = text.find_first_of("123456789") >= text.find_first_of("eE");
    return value == 0 && !isWrittenZero ? refuse("number too small: " + text.substr(0, 40)) : add(json(value));
  }
  bool string(string_t& value) override { return add(json(std::move(value))); }
  bool binary(binary_t& /*value*/) override { return false; }

  bool start_object(std::size_t /*count*/) override { return open(json::object()); }
  bool key(string_t& name) override {
    open_.back().key = std::move(name);
    return true;
  }
  bool end_object() override { return close(); }
  bool start_array(std::size_t /*count*/) override { return open(json::array()); }
  bool end_array() override { return close(); }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const json::exception& error) override {
    return refuse(error.what());
  }

  json takeResult() { return std::move(result_); }
  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
  struct Container {
    json value;
    std::string key;  ///< the key of the next member of an object
  };

  bool open(json container) {
    if (open_.size() == kMaximumJSONDepth)
      return refuse("nested deeper than " + std::to_string(kMaximumJSONDepth) + " levels");
    open_.push_back({std::move(container), {}});
    return true;
  }

  bool close() {
    json container = std::move(open_.back().value);
    open_.pop_back();
    return add(std::move(container));
  }

  bool add(json value) {
    if (open_.empty()) {
      result_ = std::move(value);
    } else if (open_.back().value.is_array()) {
      open_.back().value.push_back(std::move(value));
    } else {
      open_.back().value.emplace(std::move(open_.back().key),
                                 std::move(value));  // keeps the value of a repeated key
    }
    return true;
  }

  bool refuse(std::string problem) {
    problem_ = std::move(problem);
    return false;
  }

  std::vector<Container> open_;
  json result_;
  std::string problem_;
};

/// Removes the prefix "[json.exception.parse_error.101] " of the library's messages, which users do not need.
std::string withoutCode(const std::string& message) {
  const std::size_t end = message.starts_with('[') ? message.find("] ") : std::string::npos;
  return end == std::string::npos ? message : message.substr(end + 2);
}

void report(std::string* problem, const std::string& text) {
  if (problem != nullptr) *problem = withoutCode(text);
}

}  // namespace

std::optional<json> parseJSON(std::string_view text, std::string* problem) {
  // The library takes a NUL as the end of the text and would ignore the rest.
  if (text.find('\0') != std::string_view::npos) {
    report(problem, "holds a NUL byte");
    return std::nullopt;
  }
  TreeBuilder builder;
  if (json::sax_parse(text, &builder, json::input_format_t::json, /*strict=*/true, /*ignore_comments=*/false)) {
    return builder.takeResult();
  }
  report(problem, builder.problem());
  return std::nullopt;
}

std::optional<std::int64_t> JSON::integer(const json& value) {
  // 2^63, the first double that does not fit. -2^63 would fit, but longer literals are rounded to it too.
  constexpr double kLimit = 9223372036854775808.0;
  if (value.is_number_unsigned()) {
    const auto count = value.get<std::uint64_t>();
    return std::in_range<std::int64_t>(count) ? std::optional(static_cast<std::int64_t>(count)) : std::nullopt;
  }
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (!value.is_number_float()) return std::nullopt;
  const auto real = value.get<double>();
  const bool fits = real == std::trunc(real) && real > -kLimit && real < kLimit;
  return fits ? std::optional(static_cast<std::int64_t>(real)) : std::nullopt;
}

std::optional<double> JSON::number(const json& value) {
  return value.is_number() ? std::optional(value.get<double>()) : std::nullopt;
}

std::optional<bool> JSON::boolean(const json& value) {
  return value.is_boolean() ? std::optional(value.get<bool>()) : std::nullopt;
}

std::optional<std::string> JSON::string(const json& value) {
  return value.is_string() ? std::optional(value.get_ref<const std::string&>()) : std::nullopt;
}

std::optional<std::vector<std::string>> JSON::stringArray(const json& value) {
  if (!value.is_array()) return std::nullopt;
  std::vector<std::string> strings;
  strings.reserve(value.size());
  for (const json& element : value) {
    if (!element.is_string()) return std::nullopt;
    strings.push_back(element.get_ref<const std::string&>());
  }
  return strings;
}

const json* JSON::member(const json& value, std::string_view key) {
  if (!value.is_object()) return nullptr;
  const auto found = value.find(key);
  return found == value.end() ? nullptr : &*found;
}

}  // namespace quarn

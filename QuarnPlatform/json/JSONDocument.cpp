#include "QuarnPlatform/json/JSONDocument.h"

#include <utility>

#include "QuarnPlatform/json/JSONLibrary.h"
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
  bool string(string_t& value) override { return builder_.string(value), true; }
  bool binary(binary_t& /*value*/) override { return false; }
  bool key(string_t& name) override { return builder_.string(name), true; }

  bool start_object(std::size_t /*count*/) override { return begin(); }
  bool end_object() override { return builder_.end(JSONValue::Type::object), true; }
  bool start_array(std::size_t /*count*/) override { return begin(); }
  bool end_array() override { return builder_.end(JSONValue::Type::array), true; }

  bool parse_error(std::size_t /*position*/, const std::string& /*token*/, const json::exception& error) override {
    return refuse(error.what());
  }

  [[nodiscard]] const std::string& problem() const { return problem_; }

 private:
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

}  // namespace

std::optional<JSONDocument> JSONDocument::parse(std::string_view text, std::string* problem) {
  if (text.size() > kMaximumJSONBytes) {
    if (problem != nullptr) *problem = "longer than 4 GB";
    return std::nullopt;
  }
  JSONBuilder builder(text.size());
  if (readPlainJSON(text, builder)) return JSONDocument(builder.take());
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
    return JSONDocument(builder.take());
  }
  problem = withoutCode(events.problem());
  return std::nullopt;
}

}  // namespace quarn

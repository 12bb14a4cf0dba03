#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "QuarnPlatform/json/JSONValue.h"

namespace quarn {

/// One parsed JSON text. Copies share the content, which never changes. Its memory is at most eight times the text,
/// and usually less than twice.
class JSONDocument {
 public:
  /// What a `JSONBuilder` has built.
  explicit JSONDocument(std::shared_ptr<const JSONContent> content) : content_(std::move(content)) {}

  /// Parses one text strictly by RFC 8259: no comments, no trailing commas, only white space after the value, strings
  /// in valid UTF-8. Skips a UTF-8 byte order mark. Absent for any other text, for nesting deeper than
  /// `kMaximumJSONDepth`, and for numbers that overflow or underflow a double. Never throws except for want of memory.
  ///
  /// On failure, stores one line with the position and the reason in `problem`, if it is not null.
  static std::optional<JSONDocument> parse(std::string_view text, std::string* problem = nullptr);

  /// The same, read by the library alone: slower, and the judge of every text.
  static std::optional<JSONDocument> parseByLibrary(std::string_view text, std::string& problem);

  [[nodiscard]] JSONValue root() const { return content_->root(); }
  /// The bytes that the document takes.
  [[nodiscard]] std::size_t memory() const { return content_->memory(); }

 private:
  std::shared_ptr<const JSONContent> content_;
};

}  // namespace quarn

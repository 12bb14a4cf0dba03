#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "QuarnPlatform/json/JSONDocument.h"

namespace quarn {

/// A JSON value is missing, unknown, of the wrong type or out of range. `what()` is like "app.bundleURL: missing".
class DecodingError : public std::runtime_error {
 public:
  DecodingError(std::string path, std::string_view problem);

  /// The path of the value: "app.bundleURL", "artifacts[2].kind"; "" for the root.
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// A JSON value and its path in the document. Decoding is strict: numbers, strings and booleans do not convert to
/// each other. Every error throws a DecodingError with the path. This is a view: the document and the parent decoder
/// must outlive it. Not thread-safe.
class JSONDecoder {
 public:
  /// Starts at the root value.
  explicit JSONDecoder(const JSONValue& value) : value_(value) {}
  JSONDecoder(const JSONDecoder&) = delete;
  JSONDecoder& operator=(const JSONDecoder&) = delete;

  /// True if the value is missing or null; the two are equivalent.
  [[nodiscard]] bool isAbsent() const;
  [[nodiscard]] bool isArray() const;

  /// The member of an object; absent if there is none.
  [[nodiscard]] JSONDecoder member(std::string_view name) const;
  /// Throws if the object has a member that is not in `known`.
  void refuseUnknownMembers(std::span<const std::string_view> known) const;
  /// The number of elements of an array.
  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] JSONDecoder element(std::size_t index) const;

  /// Valid as long as the document.
  [[nodiscard]] std::string_view text() const;
  /// An integral number that fits 64 signed bits. Notation does not matter: 1, 1.0 and 1e2 are integers.
  [[nodiscard]] std::int64_t integer() const;
  [[nodiscard]] double number() const;
  [[nodiscard]] bool boolean() const;

  /// Throws a DecodingError for this value.
  [[noreturn]] void fail(std::string_view problem) const;
  [[nodiscard]] std::string path() const;

 private:
  JSONDecoder(std::optional<JSONValue> value, const JSONDecoder& parent, std::string_view name, std::size_t index)
      : value_(value), parent_(&parent), name_(name), index_(index) {}
  /// Throws unless the value is present and `hasType` is true.
  void require(bool hasType, std::string_view type) const;

  std::optional<JSONValue> value_;  ///< absent if missing
  const JSONDecoder* parent_ = nullptr;
  std::string_view name_;  ///< member name; empty for an element
  std::size_t index_ = 0;
};

}  // namespace quarn

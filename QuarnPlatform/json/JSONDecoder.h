#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace quarn {

/// A request's value that is missing, unknown, of the wrong type or out of range. `what()` reads
/// "app.bundleURL: missing".
class DecodingError : public std::runtime_error {
 public:
  DecodingError(std::string path, std::string_view problem);

  /// Where it stands: "app.bundleURL", "artifacts[2].kind"; "" for the outermost value.
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// One value of a request and its place in it. Reading is strict: numbers, strings and booleans never stand for each
/// other, and every failure throws a DecodingError that names the place. A view: it refers to the JSON value and to the
/// decoder that it came from, and both must outlive it, as they do when decoding goes down a record. Not thread-safe.
class JSONDecoder {
 public:
  /// The outermost value.
  explicit JSONDecoder(const nlohmann::json& value) : value_(&value) {}
  JSONDecoder(const JSONDecoder&) = delete;
  JSONDecoder& operator=(const JSONDecoder&) = delete;

  /// Whether the value is missing or null, which are the same.
  [[nodiscard]] bool isAbsent() const;
  [[nodiscard]] bool isArray() const;

  /// The object's member; an absent value when there is none of that name.
  [[nodiscard]] JSONDecoder member(std::string_view name) const;
  /// Throws when the object has a member that is not among the known ones, naming it.
  void refuseUnknownMembers(std::span<const std::string_view> known) const;
  /// Number of elements of an array.
  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] JSONDecoder element(std::size_t index) const;

  [[nodiscard]] const std::string& text() const;
  /// An integral number in the range of 64 signed bits, however it is written: 1, 1.0 and 1e2 are integers.
  [[nodiscard]] std::int64_t integer() const;
  [[nodiscard]] double number() const;
  [[nodiscard]] bool boolean() const;

  /// Throws: the value is not what it must be.
  [[noreturn]] void fail(std::string_view problem) const;
  [[nodiscard]] std::string path() const;

 private:
  JSONDecoder(const nlohmann::json* value, const JSONDecoder& parent, std::string_view name, std::size_t index)
      : value_(value), parent_(&parent), name_(name), index_(index) {}
  /// Throws unless the value is there and `hasType`.
  void require(bool hasType, std::string_view type) const;

  const nlohmann::json* value_;  ///< null when missing
  const JSONDecoder* parent_ = nullptr;
  std::string_view name_;  ///< of a member; empty for an element
  std::size_t index_ = 0;
};

}  // namespace quarn

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace quarn {

/// Deepest nesting of arrays and objects that `parseJSON` takes.
inline constexpr std::size_t kMaximumJSONDepth = 512;

/// Reads one JSON text strictly by RFC 8259: no comments, no trailing commas, nothing behind the value but white space,
/// strings in well-formed UTF-8. A UTF-8 byte order mark at the start is skipped. Of members with the same key the
/// first wins. Absent for anything else, for nesting deeper than `kMaximumJSONDepth` and for a number beyond a double's
/// range, overflow and underflow to zero alike. Never throws; memory is bounded by a multiple of the text's size.
///
/// When the text is refused and `problem` is given, it receives one line that says where and why.
std::optional<nlohmann::json> parseJSON(std::string_view text, std::string* problem = nullptr);

/// Strict readings of one JSON value: absent unless the value has the asked type. Nothing is converted: numbers,
/// booleans and strings never stand for each other. Pure functions.
struct JSON {
  JSON() = delete;

  /// An integral number in the range of 64 signed bits, however it is written: 1, 1.0 and 1e2 are integers, 1.5 is
  /// none. With a point or an exponent it is read as a double first, and the least integer is none so written.
  static std::optional<std::int64_t> integer(const nlohmann::json& value);
  static std::optional<double> number(const nlohmann::json& value);
  static std::optional<bool> boolean(const nlohmann::json& value);
  static std::optional<std::string> string(const nlohmann::json& value);
  /// An array of nothing but strings.
  static std::optional<std::vector<std::string>> stringArray(const nlohmann::json& value);

  /// The object's member of that name; null pointer when there is none or the value is no object. Valid as long as
  /// `value`.
  static const nlohmann::json* member(const nlohmann::json& value, std::string_view key);
};

}  // namespace quarn

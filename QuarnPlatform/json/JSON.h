#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace quarn {

/// Maximum nesting of arrays and objects.
inline constexpr std::size_t kMaximumJSONDepth = 512;

/// Parses one JSON text strictly by RFC 8259: no comments, no trailing commas, only white space after the value,
/// strings in valid UTF-8. Skips a UTF-8 byte order mark. If a key is repeated, the first one wins. Absent for any
/// other text, for nesting deeper than `kMaximumJSONDepth`, and for numbers that overflow or underflow a double.
/// Never throws; memory is linear in the size of the text.
///
/// On failure, stores one line with the position and the reason in `problem`, if it is not null.
std::optional<nlohmann::json> parseJSON(std::string_view text, std::string* problem = nullptr);

/// Strict accessors for JSON values: absent unless the value has the requested type. Numbers, booleans and strings do
/// not convert to each other. Pure functions.
struct JSON {
  JSON() = delete;

  /// An integral number that fits 64 signed bits. Notation does not matter: 1, 1.0 and 1e2 are integers. Numbers with
  /// a point or an exponent are parsed as doubles, so the minimum integer is only accepted without them.
  static std::optional<std::int64_t> integer(const nlohmann::json& value);
  static std::optional<double> number(const nlohmann::json& value);
  static std::optional<bool> boolean(const nlohmann::json& value);
  static std::optional<std::string> string(const nlohmann::json& value);
  /// The strings of an array; absent if an element is not a string.
  static std::optional<std::vector<std::string>> stringArray(const nlohmann::json& value);

  /// The member of an object; null if there is none or the value is not an object. Valid as long as `value`.
  static const nlohmann::json* member(const nlohmann::json& value, std::string_view key);
};

}  // namespace quarn

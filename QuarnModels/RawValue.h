#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace quarn {

/// The raw strings of an enumeration whose cases are numbered from 0, in case order; specialised beside each
/// enumeration.
template <class Enumeration>
struct RawValues;

/// The case's raw string.
template <class Enumeration>
constexpr std::string_view rawValue(Enumeration value) {
  return RawValues<Enumeration>::kStrings[static_cast<std::size_t>(value)];
}

/// The case of exactly this raw string; absent for any other.
template <class Enumeration>
constexpr std::optional<Enumeration> fromRawValue(std::string_view text) {
  constexpr auto& strings = RawValues<Enumeration>::kStrings;
  for (std::size_t index = 0; index < strings.size(); ++index) {
    if (strings[index] == text) return static_cast<Enumeration>(index);
  }
  return std::nullopt;
}

/// Every case in order.
template <class Enumeration>
constexpr auto allCases() {
  std::array<Enumeration, RawValues<Enumeration>::kStrings.size()> cases{};
  for (std::size_t index = 0; index < cases.size(); ++index) cases[index] = static_cast<Enumeration>(index);
  return cases;
}

}  // namespace quarn

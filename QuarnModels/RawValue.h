#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace quarn {

/// The raw strings of an enumeration in the order of its cases, which are numbered from 0. Specialised for each
/// enumeration.
template <class Enumeration>
struct RawValues;

/// The raw string of a case.
template <class Enumeration>
constexpr std::string_view rawValue(Enumeration value) {
  return RawValues<Enumeration>::kStrings[static_cast<std::size_t>(value)];
}

/// The case with this raw string; absent if there is none.
template <class Enumeration>
constexpr std::optional<Enumeration> fromRawValue(std::string_view text) {
  constexpr auto& strings = RawValues<Enumeration>::kStrings;
  for (std::size_t index = 0; index < strings.size(); ++index) {
    if (strings[index] == text) return static_cast<Enumeration>(index);
  }
  return std::nullopt;
}

/// All cases in order.
template <class Enumeration>
constexpr auto allCases() {
  std::array<Enumeration, RawValues<Enumeration>::kStrings.size()> cases{};
  for (std::size_t index = 0; index < cases.size(); ++index) cases[index] = static_cast<Enumeration>(index);
  return cases;
}

}  // namespace quarn

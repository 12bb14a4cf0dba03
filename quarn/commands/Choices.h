#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "QuarnModels/RawValue.h"

namespace quarn {

/// A text that is put together at compile time. A row of the table of commands can refer to it.
template <std::size_t length>
struct FixedText {
  std::array<char, length> characters{};

  constexpr FixedText() = default;
  /// From a literal, without its terminating zero.
  explicit constexpr FixedText(const char (&literal)[length + 1]) {
    std::copy_n(static_cast<const char*>(literal), length, characters.begin());
  }
  // A row takes the text as it takes a literal.
  constexpr operator std::string_view() const {  // NOLINT(google-explicit-constructor)
    return {characters.data(), characters.size()};
  }
};

template <std::size_t size>
FixedText(const char (&)[size]) -> FixedText<size - 1>;

template <std::size_t left, std::size_t right>
constexpr FixedText<left + right> operator+(const FixedText<left>& first, const FixedText<right>& second) {
  FixedText<left + right> sum;
  const auto end = std::copy(first.characters.begin(), first.characters.end(), sum.characters.begin());
  std::copy(second.characters.begin(), second.characters.end(), end);
  return sum;
}

/// The last case of an enumeration.
template <class Enumeration>
inline constexpr Enumeration kLastCase = allCases<Enumeration>().back();

/// The raw strings of the cases from `from` to `to`: `separator` between two of them, `last` before the last one.
template <auto from, auto to, std::size_t size, std::size_t lastSize>
constexpr auto joinedCases(const FixedText<size>& separator, const FixedText<lastSize>& last) {
  FixedText<rawValue(from).size()> own;
  std::copy(rawValue(from).begin(), rawValue(from).end(), own.characters.begin());
  if constexpr (from == to) {
    return own;
  } else {
    constexpr auto next = static_cast<decltype(from)>(static_cast<int>(from) + 1);
    const auto rest = joinedCases<next, to>(separator, last);
    if constexpr (next == to) {
      return own + last + rest;
    } else {
      return own + separator + rest;
    }
  }
}

/// "bash|zsh|fish": the raw strings of an enumeration up to the case `last`, as the `choices` of a row.
template <class Enumeration, Enumeration last = kLastCase<Enumeration>>
inline constexpr auto kChoices = joinedCases<Enumeration{}, last>(FixedText("|"), FixedText("|"));

/// "bash, zsh or fish": the same, as the help of a row.
template <class Enumeration, Enumeration last = kLastCase<Enumeration>>
inline constexpr auto kChoiceList = joinedCases<Enumeration{}, last>(FixedText(", "), FixedText(" or "));

}  // namespace quarn

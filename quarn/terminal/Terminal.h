#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "QuarnModels/RawValue.h"

namespace quarn {

/// The emphasis of a text on a terminal.
enum class Style : std::uint8_t { plain, heading, dim, good, warning, danger };

/// When to use colours.
enum class ColorChoice : std::uint8_t { automatic, always, never };

template <>
struct RawValues<ColorChoice> {
  static constexpr std::array<std::string_view, 3> kStrings{"auto", "always", "never"};
};

/// The properties of an output.
struct Terminal {
  bool isInteractive = false;
  bool hasColors = false;
  bool rewritesLines = false;  ///< a progress line can be overwritten
  std::size_t width = 100;     ///< in columns; for a file or pipe, a default

  /// Detects the properties from a file descriptor and the environment (NO_COLOR, TERM, COLUMNS).
  static Terminal of(int descriptor, ColorChoice choice);

  /// Applies a style to the text; returns it unchanged if the output has no colours.
  [[nodiscard]] std::string styled(std::string_view text, Style style) const;
};

}  // namespace quarn

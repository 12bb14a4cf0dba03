#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quarn {

/// What a text on a terminal stands out for.
enum class Style : std::uint8_t { plain, heading, dim, good, warning, danger };

/// When colours are used.
enum class ColorChoice : std::uint8_t { automatic, always, never };

/// What is known of an output: whether people look at it, how wide it is, and whether it takes colours. A plain value.
struct Terminal {
  bool isInteractive = false;
  bool hasColors = false;
  bool rewritesLines = false;  ///< whether a line can be shown in place of the one before
  std::size_t width = 100;     ///< columns; of a file or pipe, a readable default

  /// Looks at a file descriptor and the environment (NO_COLOR, TERM, COLUMNS).
  static Terminal of(int descriptor, ColorChoice choice);

  /// The text in a style; unchanged without colours.
  [[nodiscard]] std::string styled(std::string_view text, Style style) const;
};

}  // namespace quarn

#pragma once

#include <string_view>

/// Where characters (extended grapheme clusters, Unicode Standard Annex #29) begin and end in UTF-16 text; for the text
/// functions of this room only. Each thread keeps one ICU break iterator, because making one costs far more than using
/// it.
namespace quarn::unicode {

std::size_t countCharacters(std::u16string_view text);

/// Whether a character ends at `offset`; the text's two ends are boundaries.
bool isCharacterBoundary(std::u16string_view text, std::size_t offset);

}  // namespace quarn::unicode

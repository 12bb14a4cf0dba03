#pragma once

#include <string_view>

/// Character boundaries (extended grapheme clusters, Unicode Standard Annex #29) in UTF-16 text. Private to this
/// wing. Each thread caches one ICU break iterator, because opening one costs much more than using it.
namespace quarn::unicode {

std::size_t countCharacters(std::u16string_view text);

/// True if there is a character boundary at `offset`. Both ends of the text are boundaries.
bool isCharacterBoundary(std::u16string_view text, std::size_t offset);

}  // namespace quarn::unicode

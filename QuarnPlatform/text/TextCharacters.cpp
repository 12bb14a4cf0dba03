#include "QuarnPlatform/text/TextCharacters.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

#include <unicode/ubrk.h>

#include "QuarnPlatform/text/TextScalars.h"

namespace quarn::unicode {

namespace {

struct CloseBreakIterator {
  void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};
using BreakIterator = std::unique_ptr<UBreakIterator, CloseBreakIterator>;

BreakIterator openBreakIterator() {
  UErrorCode status = U_ZERO_ERROR;
  BreakIterator iterator(ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status));
  return succeeded(status) ? std::move(iterator) : nullptr;
}

/// The iterator of this thread, set to the text. Null if ICU fails, which happens only without its data.
UBreakIterator* characters(std::u16string_view text) {
  thread_local const BreakIterator iterator = openBreakIterator();
  constexpr std::size_t kLongest = std::numeric_limits<std::int32_t>::max();
  UErrorCode status = U_ZERO_ERROR;
  if (iterator != nullptr) {
    ubrk_setText(iterator.get(), text.data(), static_cast<std::int32_t>(std::min(text.size(), kLongest)), &status);
  }
  return succeeded(status) ? iterator.get() : nullptr;
}

}  // namespace

std::size_t countCharacters(std::u16string_view text) {
  UBreakIterator* iterator = characters(text);
  if (iterator == nullptr) return text.size();
  std::size_t count = 0;
  while (ubrk_next(iterator) != UBRK_DONE) ++count;
  return count;
}

bool isCharacterBoundary(std::u16string_view text, std::size_t offset) {
  if (offset == 0 || offset >= text.size()) return true;
  UBreakIterator* iterator = characters(text);
  return iterator == nullptr || ubrk_isBoundary(iterator, static_cast<std::int32_t>(offset)) != 0;
}

}  // namespace quarn::unicode

#include <unicode/uchar.h>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn {
namespace {

std::size_t widthOf(char32_t scalar) {
  const auto character = static_cast<UChar32>(scalar);
  const int category = u_charType(character);
  if (category == U_NON_SPACING_MARK || category == U_ENCLOSING_MARK || category == U_FORMAT_CHAR ||
      category == U_CONTROL_CHAR) {
    return 0;
  }
  const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

}  // namespace

std::size_t Text::displayWidth(std::string_view text) {
  if (unicode::isASCII(text)) return text.size();
  std::size_t width = 0;
  for (unicode::ScalarReader scalars(text); !scalars.atEnd();) width += widthOf(scalars.next());
  return width;
}

}  // namespace quarn

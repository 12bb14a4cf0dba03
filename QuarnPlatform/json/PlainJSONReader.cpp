#include "QuarnPlatform/json/PlainJSONReader.h"

#include "QuarnPlatform/json/PlainJSONCursor.h"

namespace quarn {

bool readPlainJSON(std::string_view text, JSONBuilder& builder) {
  PlainJSONCursor cursor(text);
  return cursor.value(builder) && cursor.isAtEnd();
}

}  // namespace quarn

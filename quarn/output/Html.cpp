#include "quarn/output/Html.h"

#include "quarn/output/TerminalText.h"

namespace quarn {

std::string html(std::string_view text) {
  std::string result;
  for (const char character : escapedForTerminal(text)) {
    switch (character) {
      case '&': result += "&amp;"; break;
      case '<': result += "&lt;"; break;
      case '>': result += "&gt;"; break;
      case '"': result += "&quot;"; break;
      case '\'': result += "&#39;"; break;
      default: result += character;
    }
  }
  return result;
}

std::string htmlName(std::string_view text) { return "<bdi>" + html(text) + "</bdi>"; }

}  // namespace quarn

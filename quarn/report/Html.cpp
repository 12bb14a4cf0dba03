#include "quarn/report/Html.h"

#include <algorithm>

#include "quarn/terminal/TerminalText.h"

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

std::string htmlParagraphs(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (end > 0) result += "<p>" + html(text.substr(0, end)) + "</p>";
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return result;
}

}  // namespace quarn

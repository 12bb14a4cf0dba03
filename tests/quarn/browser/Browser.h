#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace quarn {

/// The screen for rendering a page.
struct Screen {
  int width = 1200;
  bool isDark = false;
};

/// Renders a page in headless chromium without a network and returns its properties: "title"; "pwned" (a script ran;
/// the names in these tests set it); "elements" (counts by name); "handlers" (attributes with scripts); "links" (all
/// hrefs); "lostLinks" (links without a target on the page); "repeatedIDs"; "overflow" (pixels beyond the right
/// edge); "lowContrast" (texts with low contrast); "headings" (levels in order); "tableHeads" (tables without a
/// head); "focusable" (number of tab stops); "nameless" (tab stops without a text); "text".
///
/// With `keepPolicy` false, removes the page's Content-Security-Policy, so that only escaping prevents scripts.
/// Throws std::runtime_error if the browser is missing or returns nothing.
nlohmann::json lookedAt(const std::string& page, const Screen& screen, bool keepPolicy);

}  // namespace quarn

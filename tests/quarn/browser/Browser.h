#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace quarn {

/// How a page is looked at.
struct Screen {
  int width = 1200;
  bool isDark = false;
};

/// A page in Debian's chromium without a window and without a network: what it is made of when it has been laid out.
/// Members: "title"; "pwned" (something on the page ran a script: names in these tests set it); "elements" (how many
/// of each name); "handlers" (attributes that would run); "links" (every href); "lostLinks" (those that lead nowhere
/// on the page); "repeatedIDs"; "overflow" (how many pixels stick out to the right); "lowContrast" (texts that are hard
/// to read, each with its contrast); "headings" (their levels, in order); "tableHeads" (tables without a head);
/// "focusable" (stops of the tabulator key); "nameless" (of those, the ones without a text); "text".
///
/// `keepPolicy` false takes the page's own ban of scripts away, so that only the page's text keeps them from running.
/// Throws std::runtime_error when the browser is missing or says nothing.
nlohmann::json lookedAt(const std::string& page, const Screen& screen, bool keepPolicy);

}  // namespace quarn

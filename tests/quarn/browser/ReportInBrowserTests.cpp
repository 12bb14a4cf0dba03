#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/browser/Browser.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn::report_in_browser_tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;

std::string reportOf(const std::string& folder, std::vector<std::string> app) {
  std::vector<std::string> words{"--volume", folder, "--home", "/Users/ann", "report", "-o", "-"};
  words.insert(words.end(), app.begin(), app.end());
  return runQuarn(words).out;
}

/// The requirements for every report.
void expectGoodPage(const json& seen) {
  EXPECT_EQ(seen["pwned"], 0);
  EXPECT_EQ(seen["handlers"], json::array());
  EXPECT_EQ(seen["lostLinks"], json::array());
  EXPECT_EQ(seen["repeatedIDs"], json::array());
  EXPECT_LE(seen["overflow"].get<int>(), 0);
  EXPECT_EQ(seen["lowContrast"], json::array());
  EXPECT_EQ(seen["tableHeads"], 0);
  EXPECT_EQ(seen["nameless"], 0);
  for (const auto& [name, count] : seen["elements"].items()) {
    static const std::set<std::string> kKnown{
        "html",  "head",  "meta",   "title", "style", "body", "header",  "main",   "footer", "section", "nav",
        "h1",    "h2",    "h3",     "p",     "a",     "b",    "bdi",     "dl",     "dt",     "dd",      "div",
        "small", "span",  "strong", "code",  "abbr",  "time", "ul",      "ol",     "li",     "table",   "caption",
        "thead", "tbody", "tr",     "th",    "td",    "br",   "details", "summary"};
    EXPECT_TRUE(kKnown.contains(name)) << name << " is no element of a report";
  }
  int before = 0;
  for (const int level : seen["headings"]) {
    EXPECT_LE(level, before + 1);
    before = level;
  }
}

TEST(ReportInBrowser, IsReadableWideAndNarrowLightAndDark) {
  for (const std::vector<std::string>& app : {std::vector<std::string>{}, {"Lumen Notes"}}) {
    const std::string page = reportOf(sampleFolder(), app);
    for (const Screen& screen : {Screen{1200, false}, Screen{1200, true}, Screen{320, false}, Screen{320, true}}) {
      SCOPED_TRACE(std::to_string(screen.width) + (screen.isDark ? " dark" : " light"));
      const json seen = lookedAt(page, screen, /*keepPolicy=*/true);
      expectGoodPage(seen);
      EXPECT_EQ(seen["paper"], screen.isDark ? "rgb(20, 20, 23)" : "rgb(255, 255, 255)");
      EXPECT_GT(seen["focusable"], 10);
    }
  }
}

// Each name tries another way to break out of its text.
const std::vector<std::string>& hostileNames() {
  static const std::vector<std::string> names{
      "<script>parent.pwned=1</script>",
      "<img src=x onerror=parent.pwned=1>",
      "\"><svg onload=parent.pwned=1>",
      "' onmouseover='parent.pwned=1",
      "<!--",
      "-->",
      "]]><b>",
      "&lt;script&gt;",
      "&#60;i&#62;",
      "{{7*7}}${7*7}",
      "a\x1B[31m\x07\x01z",
      "line\nbreak\ttab\r",
      "\xE2\x80\xAEgpj.exe",
      "\xE2\x81\xA6isolate",
      "\xFF\xFE\xC3(",
      "javascript:parent.pwned=1",
      std::string(255, 'w'),
      "עברית و عربي",
  };
  return names;
}

MacVolume& withHostileNames(MacVolume& volume) {
  for (const std::string& name : hostileNames()) {
    volume.file("~/Documents/" + name, 64_KiB).file("~/Library/Caches/com.evil.app/" + name, 16_KiB);
  }
  const std::string markup = "<h1>Evil<script>parent.pwned=1<";  // no "/": it stands in a file name
  volume.app("/Applications/" + markup + ".app",
             {.bundleIdentifier = "com.evil.app", .name = markup, .version = "<i>1\"'"});
  volume.file("~/Library/Application Support/" + markup + "/data", 32_KiB);
  return volume;
}

TEST(ReportInBrowser, HostileNamesStayTextEvenWithoutThePolicy) {
  MacVolume volume;
  withHostileNames(volume);
  for (const std::vector<std::string>& app : {std::vector<std::string>{}, {"com.evil.app"}}) {
    for (const int width : {1200, 320}) {
      const json seen = lookedAt(reportOf(volume.root(), app), {.width = width}, /*keepPolicy=*/false);
      expectGoodPage(seen);
      EXPECT_EQ(seen["title"].get<std::string>(),
                app.empty() ? "Storage of " + volume.root().substr(volume.root().rfind('/') + 1)
                            : "What belongs to <h1>Evil<script>parent.pwned=1<");
    }
  }
}

TEST(ReportInBrowser, HostileNamesAreDisplayedUnchanged) {
  MacVolume volume;
  withHostileNames(volume);
  const std::string text = lookedAt(reportOf(volume.root(), {}), {}, /*keepPolicy=*/true)["text"];
  for (const char* shown :
       {"~/Documents/<script>parent.pwned=1<", "/script>", "~/Documents/&lt;script&gt;", "~/Documents/&#60;i&#62;",
        "a\\x1B[31m\\x07\\x01z", "line\\x0Abreak\\x09tab\\x0D", "\\u{202E}gpj.exe", "\\xFF\\xFE\\xC3("}) {
    EXPECT_THAT(text, HasSubstr(shown));
  }
}

TEST(ReportInBrowser, TheProbeDetectsAScript) {
  const std::string page = reportOf(sampleFolder(), {"Lumen Notes"});
  std::string broken = page;
  broken.insert(broken.find("</main>"), "<script>parent.pwned=1</script><img src=x onerror=0><a href=\"//x\">x</a>");
  const json open = lookedAt(broken, {}, /*keepPolicy=*/false);
  EXPECT_EQ(open["pwned"], 1);
  EXPECT_EQ(open["handlers"].size(), 2U);
  EXPECT_EQ(open["lostLinks"].size(), 1U);
  EXPECT_EQ(lookedAt(broken, {}, /*keepPolicy=*/true)["pwned"], 0);
}

}  // namespace
}  // namespace quarn::report_in_browser_tests

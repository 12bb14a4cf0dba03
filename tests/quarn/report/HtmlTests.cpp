#include <gtest/gtest.h>

#include "quarn/report/Html.h"

namespace quarn::html_tests {
namespace {

TEST(Html, SpecialCharactersBecomeEntities) {
  EXPECT_EQ(html("<a href=\"x\" b='y'>&amp;</a>"), "&lt;a href=&quot;x&quot; b=&#39;y&#39;&gt;&amp;amp;&lt;/a&gt;");
  EXPECT_EQ(html("]]> <!-- --> </title></script>"), "]]&gt; &lt;!-- --&gt; &lt;/title&gt;&lt;/script&gt;");
}

TEST(Html, InvisibleCharactersAreEscaped) {
  EXPECT_EQ(html(std::string_view("a\0b\x1B\n\t\x7F", 7)), "a\\x00b\\x1B\\x0A\\x09\\x7F");
  EXPECT_EQ(html("photo\xE2\x80\xAEgpj.exe"), "photo\\u{202E}gpj.exe");
  EXPECT_EQ(html("\xFF\xFEname"), "\\xFF\\xFEname");
}

TEST(Html, OtherTextStaysUnchanged) { EXPECT_EQ(html("Café 日記帳 👍 ~/Library"), "Café 日記帳 👍 ~/Library"); }

TEST(Html, ANameIsIsolated) { EXPECT_EQ(htmlName("עברית <b>"), "<bdi>עברית &lt;b&gt;</bdi>"); }

TEST(Html, LinesBecomeParagraphs) {
  EXPECT_EQ(htmlParagraphs("one\n\ntwo <i>\n"), "<p>one</p><p>two &lt;i&gt;</p>");
  EXPECT_EQ(htmlParagraphs(""), "");
  EXPECT_EQ(htmlParagraphs("\n"), "");
}

}  // namespace
}  // namespace quarn::html_tests

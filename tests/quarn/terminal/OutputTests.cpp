#include <gmock/gmock.h>

#include "quarn/terminal/SizeText.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn::output_tests {
namespace {

TEST(SizeText, DecimalSizesMatchTheFinder) {
  const std::vector<std::pair<std::int64_t, std::string>> rows{{0, "0 bytes"},
                                                               {1, "1 byte"},
                                                               {999, "999 bytes"},
                                                               {1000, "1 KB"},
                                                               {12'400, "12 KB"},
                                                               {999'499, "999 KB"},
                                                               {999'500, "1.0 MB"},
                                                               {3'400'000, "3.4 MB"},
                                                               {999'960'000, "1.00 GB"},
                                                               {1'250'000'000, "1.25 GB"},
                                                               {64'000'000'000'000, "64.00 TB"}};
  for (const auto& [bytes, text] : rows) EXPECT_EQ(sizeText(bytes, SizeUnits::decimal), text);
}

TEST(SizeText, IECSizesArePowersOf1024) {
  EXPECT_EQ(sizeText(1023, SizeUnits::iec), "1023 bytes");
  EXPECT_EQ(sizeText(1024, SizeUnits::iec), "1.0 KiB");
  EXPECT_EQ(sizeText(1024 * 1024 - 1, SizeUnits::iec), "1.0 MiB");
  EXPECT_EQ(sizeText(std::int64_t{3} << 30, SizeUnits::iec), "3.00 GiB");
}

TEST(SizeText, BytesAreThePlainCount) { EXPECT_EQ(sizeText(1'234'567, SizeUnits::bytes), "1234567"); }

TEST(TerminalText, ControlAndDirectionCharactersAreEscaped) {
  EXPECT_EQ(escapedForTerminal("a\x1B[31mb\n\x7F"), "a\\x1B[31mb\\x0A\\x7F");
  EXPECT_EQ(escapedForTerminal("\xC2\x9B"
                               "2J"),
            "\\u{009B}2J");
  EXPECT_EQ(escapedForTerminal("x\xE2\x80\xAEgpj.exe"), "x\\u{202E}gpj.exe");
  EXPECT_EQ(escapedForTerminal("\xFFname\xC3"), "\\xFFname\\xC3");
  EXPECT_EQ(escapedForTerminal("Café 日記帳 👍"), "Café 日記帳 👍");
}

TEST(TerminalText, InAJSONDocumentTheEscapesChangeNoValue) {
  EXPECT_EQ(escapedJSON("{\"a\": \"x\xC2\x9By\x7F\xE2\x80\xAE\xEF\xBB\xBF\xD8\x9C\"}"),
            R"({"a": "x\u009by\u007f\u202e\ufeff\u061c"})");
  const std::string harmless = "{\"a\": [\"Caf\xC3\xA9 \xC2\xA9 \xE2\x82\xAC \xEF\xBC\xA1 \xD8\xB9 \\u001b\"]}\n";
  EXPECT_EQ(escapedJSON(harmless), harmless);
  EXPECT_EQ(escapedJSON("\xC2"), "\xC2") << "no character at all";
}

TEST(TerminalText, WidthCountsTerminalColumns) {
  EXPECT_EQ(displayWidth("abc"), 3U);
  EXPECT_EQ(displayWidth("日記"), 4U);
  EXPECT_EQ(displayWidth("e\xCC\x81"), 1U);
}

TEST(TerminalText, ALongTextIsCutInTheMiddle) {
  EXPECT_EQ(fittedToWidth("abcdefghij", 10), "abcdefghij");
  EXPECT_EQ(fittedToWidth("abcdefghij", 7), "abc…hij");
  EXPECT_LE(displayWidth(fittedToWidth("日記帳アプリ日記帳アプリ", 9)), 9U);
  EXPECT_EQ(fittedToWidth("abc", 0), "");
}

TEST(Table, ColumnsAlignByDisplayWidth) {
  Table table({{.title = "NAME"}, {.title = "SIZE", .align = Table::Align::right}});
  table.addRow({std::string("日記"), std::string("1")});
  table.addRow({std::string("abcd"), std::string("1000")});
  EXPECT_EQ(table.text(Terminal{}), "NAME  SIZE\n日記     1\nabcd  1000\n");
}

TEST(Table, TheFlexibleColumnIsCutOnATerminalButNotInAPipe) {
  Table table({{.title = "A"}, {.title = "PATH", .isFlexible = true}});
  table.addRow({std::string("1"), std::string(80, 'x')});
  const Terminal narrow{.isInteractive = true, .width = 40};
  const std::string cut = table.text(narrow);
  EXPECT_NE(cut.find("…"), std::string::npos);
  EXPECT_EQ(table.text(Terminal{.width = 40}).find("…"), std::string::npos);
}

TEST(Table, OfSeveralFlexibleColumnsTheWidestIsCutFirst) {
  Table table({{.title = "A", .isFlexible = true}, {.title = "B"}, {.title = "C", .isFlexible = true}});
  table.addRow({std::string(14, 'a'), std::string(10, 'b'), std::string(60, 'c')});
  const std::string fits = table.text(Terminal{.isInteractive = true, .width = 60});
  EXPECT_THAT(fits, testing::HasSubstr(std::string(14, 'a') + "  " + std::string(10, 'b')));
  const std::string narrow = table.text(Terminal{.isInteractive = true, .width = 40});
  const std::string line = narrow.substr(narrow.find('\n') + 1);
  EXPECT_EQ(displayWidth(line.substr(0, line.find('\n'))), 40U);
  const std::string narrowest = table.text(Terminal{.isInteractive = true, .width = 1});
  EXPECT_THAT(narrowest, testing::HasSubstr("  " + std::string(10, 'b') + "  "));
}

TEST(Table, AColumnThatDoesNotFitMovesBelow) {
  Table table({{.title = "NAME", .isFlexible = true},
               {.title = "SIZE", .align = Table::Align::right},
               {.title = "OWNER", .isFlexible = true},
               {.title = "PATH", .isFlexible = true}});
  table.addRow({std::string("Extension"), std::string("172 KB"), std::string("Somebody"), std::string(40, 'p')});
  EXPECT_EQ(table.text(Terminal{.isInteractive = true, .width = 36}),
            "NAME         SIZE  OWNER\n    PATH\nExtension  172 KB  Somebody\n    " + std::string(15, 'p') + "…" +
                std::string(16, 'p') + "\n");
  EXPECT_EQ(table.text(Terminal{.width = 36}).find("    p"), std::string::npos) << "a pipe gets one line a row";
}

TEST(Table, BarsAreShorterOnANarrowTerminal) {
  Table table({{.title = "A"}, {.title = "", .barWidth = 20}, {.title = "B"}});
  table.addRow({std::string("1"), 0.5, std::string("x")});
  table.addRow({std::string("2"), 0.25, std::string("x")});
  const auto lines = [&](std::size_t width) { return table.text(Terminal{.isInteractive = true, .width = width}); };
  EXPECT_EQ(lines(100), "A              B\n1  ██████████  x\n2  █████       x\n");
  EXPECT_EQ(lines(14), "A            B\n1  ████████  x\n2  ████      x\n");
  EXPECT_EQ(lines(1), "A        B\n1  ████  x\n2  ██    x\n");
}

TEST(Table, CellsAreEscaped) {
  Table table({{.title = "A"}});
  table.addRow({std::string("\x1B[2J")});
  EXPECT_EQ(table.text(Terminal{}), "A\n\\x1B[2J\n");
}

TEST(Table, BarsFillByEighths) {
  EXPECT_EQ(barText(0, 4), "");
  EXPECT_EQ(barText(1, 2), "██");
  EXPECT_EQ(barText(0.5, 1), "▌");
  EXPECT_EQ(barText(7, 1), "█");
}

TEST(TerminalText, AnEndlessNameIsCutToTheWidth) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) text += "a\xCC\x81";
  const std::string fitted = fittedToWidth(text, 21);
  EXPECT_EQ(displayWidth(fitted), 21U);
  EXPECT_TRUE(fitted.find("\xE2\x80\xA6") != std::string::npos);
}

}  // namespace
}  // namespace quarn::output_tests

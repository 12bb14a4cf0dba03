#include <algorithm>

#include <gmock/gmock.h>

#include "quarn/browse/BrowseColumns.h"
#include "quarn/browse/BrowsePainter.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn::browse_painter_tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using Kind = BrowseTree::Kind;

BrowseRow row(std::string_view name, std::int64_t bytes, Kind kind = Kind::folder) {
  return {.item = {.kind = kind, .name = name, .sizes = {bytes, 2 * bytes}, .files = kind == Kind::file ? 1 : 12}};
}

BrowseFrame frameOf(std::size_t width, std::size_t height) {
  BrowseFrame frame{.width = width, .height = height, .path = "~/Library", .isListed = true};
  frame.folder = {.sizes = {4'000'000, 8'000'000}, .files = 34};
  frame.rows = {row("Caches", 3'000'000), row("notes.txt", 1'000'000, Kind::file)};
  frame.rows[0].known = {.owner = "Lumen Notes", .category = "development", .risk = RiskLevel::caution};
  frame.rows[0].isSelected = frame.rows[0].isMarked = true;
  frame.largest = 3'000'000;
  frame.shown = frame.all = 2;
  return frame;
}

std::vector<std::string> paint(const BrowseFrame& frame) {
  std::vector<std::string> lines;
  for (const ScreenLine& line : paintFrame(frame)) lines.push_back(textOf(line));
  return lines;
}

std::vector<BrowseColumn> columnsAt(std::size_t width) {
  std::vector<BrowseColumn> columns;
  for (const PlacedColumn& column : placedColumns(width, SizeUnits::decimal)) columns.push_back(column.column);
  return columns;
}

TEST(BrowsePainter, ShowsTheFolderItsItemsAndTheKeys) {
  EXPECT_THAT(paint(frameOf(80, 8)),
              ElementsAre("~/Library                                      4.0 MB on disk, 34 files, by size",
                          "            SHARE       SIZE   FILES OWNER            NAME",
                          "* ████████  75.0%     3.0 MB      12 Lumen Notes      Caches/",
                          "  ██▋       25.0%     1.0 MB                          notes.txt", "", "", "",
                          "space marks  / filters  s sorts  i details  ? keys  q leaves"));
}

TEST(BrowsePainter, AWideScreenHasAllColumns) {
  const std::vector<std::string> lines = paint(frameOf(200, 8));
  EXPECT_THAT(lines[1], HasSubstr("OWNER"));
  EXPECT_THAT(lines[2], HasSubstr("development"));
  EXPECT_THAT(lines[2], HasSubstr("caution"));
}

TEST(BrowsePainter, ColumnsGoAwayInTheirOrderAsTheScreenShrinks) {
  using enum BrowseColumn;
  const std::vector<BrowseColumn> order{risk, category, owner, files, share, bar, mark};
  std::vector<BrowseColumn> before = columnsAt(200);
  std::vector<BrowseColumn> gone;
  for (std::size_t width = 199; width >= 20; --width) {
    const std::vector<BrowseColumn> now = columnsAt(width);
    for (const BrowseColumn column : before) {
      if (std::find(now.begin(), now.end(), column) == now.end()) gone.push_back(column);
    }
    before = now;
  }
  EXPECT_EQ(gone, order);
  EXPECT_EQ(before, (std::vector<BrowseColumn>{size, name}));
}

TEST(BrowsePainter, NoLineIsWiderThanTheScreenAndNoPictureHigher) {
  BrowseFrame frame = frameOf(80, 24);
  frame.rows.push_back(row("漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字漢字", 5));
  frame.rows.push_back(row("\x1B[31mred\xFF\u202Egpj.exe", 5, Kind::file));
  frame.details = {.path = "/Users/ann/Library/漢字", .lines = {{"because", std::string(300, 'x')}, {"why", "a b c"}}};
  frame.marks = 1;
  frame.activities = {"reading: 12345 items", "searching owners"};
  for (const bool helps : {false, true}) {
    frame.showsHelp = helps;
    for (frame.width = 1; frame.width <= 200; ++frame.width) {
      for (frame.height = 1; frame.height <= 40; frame.height += 3) {
        const std::vector<ScreenLine> lines = paintFrame(frame);
        ASSERT_LE(lines.size(), frame.height) << frame.width;
        for (const ScreenLine& line : lines) ASSERT_LE(displayWidth(textOf(line)), frame.width) << textOf(line);
      }
    }
  }
}

TEST(BrowsePainter, NamesCannotControlTheTerminal) {
  BrowseFrame frame = frameOf(120, 10);
  frame.rows = {row("\x1B[31m\n\u202Egpj\xFF", 5, Kind::file)};
  frame.path = "/a\x07";
  const std::vector<std::string> lines = paint(frame);
  EXPECT_THAT(lines[0], HasSubstr("/a\\x07"));
  EXPECT_THAT(lines[2], HasSubstr("\\x1B[31m\\x0A\\u{202E}gpj\\xFF"));
}

TEST(BrowsePainter, WithoutUTF8EverythingIsASCII) {
  BrowseFrame frame = frameOf(80, 10);
  frame.isUTF8 = false;
  frame.rows[0].item.name = "Größe";
  const std::vector<std::string> lines = paint(frame);
  EXPECT_THAT(lines[2], HasSubstr("########"));
  EXPECT_THAT(lines[2], HasSubstr("Gr\\xC3\\xB6\\xC3\\x9Fe/"));
  for (const std::string& line : lines) {
    EXPECT_TRUE(std::all_of(line.begin(), line.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; }))
        << line;
  }
}

TEST(BrowsePainter, SharesAreOfTheFolderAndBarsOfTheLargestItem) {
  BrowseFrame frame = frameOf(80, 10);
  frame.folder.sizes.allocatedBytes = 0;
  EXPECT_THAT(paint(frame)[2], HasSubstr("0.0%"));
  frame.request.size = ShownSize::apparent;
  frame.folder.sizes.logicalBytes = 12'000'000;
  EXPECT_THAT(paint(frame)[2], HasSubstr("50.0%"));
  EXPECT_THAT(paint(frame)[2], HasSubstr("6.0 MB"));
  EXPECT_THAT(paint(frame)[0], HasSubstr("length"));
}

TEST(BrowsePainter, SaysWhatAnItemIs) {
  BrowseFrame frame = frameOf(100, 12);
  frame.rows = {row("closed", 0), row("many", 1, Kind::file), row("", 7, Kind::rest)};
  frame.rows[0].item.isRead = false;
  frame.rows[1].item.links = 3;
  frame.rows[2].item.files = 1'234;
  const std::vector<std::string> lines = paint(frame);
  EXPECT_THAT(lines[2], HasSubstr("closed/ (not read)"));
  EXPECT_THAT(lines[3], HasSubstr("many (3 names)"));
  EXPECT_THAT(lines[4], HasSubstr("(1234 smaller files)"));
}

TEST(BrowsePainter, MarkedAndCoveredItemsHaveSigns) {
  BrowseFrame frame = frameOf(80, 10);
  frame.rows[0].isMarked = false;
  frame.rows[0].isCovered = true;
  EXPECT_EQ(paint(frame)[2].front(), '+');
  frame.rows[0].isMarked = true;
  EXPECT_EQ(paint(frame)[2].front(), '*');
}

TEST(BrowsePainter, TheStatusSaysWhatIsMarkedAndWhatGoesOn) {
  BrowseFrame frame = frameOf(100, 10);
  frame.marks = 2;
  frame.marked = {.sizes = {5'000'000, 9'000'000}, .files = 3, .heldElsewhere = 1'000'000};
  frame.activities = {"reading: 12 items"};
  EXPECT_EQ(paint(frame)[8], "2 marked: 5.0 MB, 1.0 MB stay under other names; reading: 12 items");
  frame.message = "wrote 2 paths";
  EXPECT_EQ(paint(frame)[8], "wrote 2 paths");
}

TEST(BrowsePainter, AFilterIsShownWhileItIsTyped) {
  BrowseFrame frame = frameOf(80, 10);
  frame.isTyping = true;
  frame.request.filter = "ca";
  frame.shown = 1;
  EXPECT_EQ(paint(frame)[8], "filter: ca_ (1 of 2)");
  frame.rows.clear();
  EXPECT_EQ(paint(frame)[2], "no name matches the filter");
}

TEST(BrowsePainter, LongDetailsTakeSeveralLines) {
  BrowseFrame frame = frameOf(40, 24);
  frame.details = {.path = "/a", .lines = {{"because", "one two three four five six seven eight"}, {"risk", "safe"}}};
  const std::vector<std::string> lines = paint(frame);
  const auto start = std::find(lines.begin(), lines.end(), "/a");
  ASSERT_GE(std::distance(start, lines.end()), 4);
  EXPECT_EQ(start[1], "because    one two three four five six");
  EXPECT_EQ(start[2], "           seven eight");
  EXPECT_EQ(start[3], "risk       safe");
}

TEST(BrowsePainter, TheHelpNamesEveryKey) {
  BrowseFrame frame = frameOf(80, 24);
  frame.showsHelp = true;
  std::string all;
  for (const std::string& line : paint(frame)) all += line + "\n";
  for (const std::string_view key : {"up, k", "PageUp", "Home", "right, l, Enter", "left, h, Backspace", "\ns ", "\na ",
                                     "\n/ ", "\nspace", "\ni, Tab", "\nw ", "\np ", "\nq ", "\n? "}) {
    EXPECT_THAT(all, HasSubstr(key));
  }
  EXPECT_THAT(all, Not(HasSubstr("notes.txt")));
}

TEST(BrowsePainter, AFolderThatIsBeingSortedSaysSo) {
  BrowseFrame frame = frameOf(80, 10);
  frame.rows.clear();
  frame.isListed = false;
  EXPECT_EQ(paint(frame)[2], "sorting");
  frame.isListed = true;
  frame.all = 0;
  EXPECT_THAT(paint(frame)[2], HasSubstr("empty folder"));
}

}  // namespace
}  // namespace quarn::browse_painter_tests

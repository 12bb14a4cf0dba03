#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/paths/Path.h"

namespace quarn::path_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(Path, ComponentsBeginWithTheRootAndAreNotEmpty) {
  EXPECT_THAT(path::components("/"), ElementsAre("/"));
  EXPECT_THAT(path::components("/a"), ElementsAre("/", "a"));
  EXPECT_THAT(path::components("/a/b/"), ElementsAre("/", "a", "b"));
  EXPECT_THAT(path::components("//a///b"), ElementsAre("/", "a", "b"));
  EXPECT_THAT(path::components("/a/./../b"), ElementsAre("/", "a", ".", "..", "b"));
  EXPECT_THAT(path::components("a/b"), ElementsAre("a", "b"));
  EXPECT_THAT(path::components(""), IsEmpty());
}

TEST(Path, DotsAreRemovedByTheText) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"/a/./b/", "/a/b"}, {"a//b", "/a/b"}, {"/a/x/../b", "/a/b"}, {"/..", "/"},         {"", "/"},
      {".", "/"},          {"/../a", "/a"},  {"/a/..", "/"},        {"/a/...", "/a/..."}, {"/", "/"},
  };
  for (const auto& [path, plain] : rows) EXPECT_EQ(path::withoutDots(path), plain) << path;
}

TEST(Path, NamesAreTheComponentsWithoutTheRoot) {
  EXPECT_THAT(path::names("/"), IsEmpty());
  EXPECT_THAT(path::names("///"), IsEmpty());
  EXPECT_THAT(path::names(""), IsEmpty());
  EXPECT_THAT(path::names("/a//b/"), ElementsAre("a", "b"));
}

TEST(Path, TheLastComponentIgnoresTrailingSlashes) {
  struct Row {
    const char* path;
    const char* last;
  };
  // clang-format off
  constexpr std::array<Row, 10> kRows{{
      {"/a/b/", "b"}, {"/", "/"}, {"///", "/"}, {"/a//b//", "b"}, {"/a/..", ".."}, {"/a/.", "."},
      {"/dir/.hidden", ".hidden"}, {"", ""}, {"a", "a"}, {"/a", "a"},
  }};
  // clang-format on
  for (const Row& row : kRows) EXPECT_EQ(path::lastComponent(row.path), row.last) << row.path;
}

struct ExtensionRow {
  std::string name;
  std::string extension;
};

TEST(Path, TheExtensionFollowsTheLastDotOfTheLastComponent) {
  // clang-format off
  const std::vector<ExtensionRow> rows{
      {".hidden", ""}, {".hidden.txt", "txt"}, {"a.", ""}, {"a..", ""}, {"a..b", "b"}, {"a.tar.gz", "gz"},
      {".", ""}, {"..", ""}, {"...", ""}, {"..b", ""}, {"...b", ""}, {"....b", "b"}, {"..a.txt", "txt"},
      {"My App.app", "app"}, {"My App 1.2 beta", ""}, {"a.b c", ""}, {"a .b", "b"}, {"x.app/", "app"}, {"a.Zip", "Zip"},
      {"a", ""}, {"a.b\tc", "b\tc"}, {"a.\xC3\xA9", "\xC3\xA9"}, {"a.\xC2\xA0", "\xC2\xA0"}, {"a.\xFF", "\xFF"},
  };
  // clang-format on
  for (const ExtensionRow& row : rows) EXPECT_EQ(path::extension("/folder.d/" + row.name), row.extension) << row.name;
  EXPECT_EQ(path::extension("/folder.d/plain"), "");
  EXPECT_EQ(path::extension("/"), "");
}

TEST(Path, AMarkThatCouldReverseTheTextMakesNoExtension) {
  // clang-format off
  const std::vector<std::string> marks{
      "\u061C", "\u200E", "\u200F", "\u202A", "\u202B", "\u202C", "\u202D", "\u202E", "\u2066", "\u2067", "\u2068", "\u2069"};
  // clang-format on
  for (const std::string& mark : marks) {
    EXPECT_EQ(path::extension("/a." + mark + "b"), "") << mark;
    EXPECT_EQ(path::extension("/a.b" + mark), "") << mark;
    EXPECT_EQ(path::extension("/a" + mark + ".b"), "b") << mark;
  }
}

TEST(Path, TheNeighboursOfTheDirectionMarksAreValidInAnExtension) {
  for (const std::string mark : {"\u061B", "\u061D", "\u200D", "\u2010", "\u2029", "\u202F", "\u2065", "\u206A"}) {
    EXPECT_EQ(path::extension("/a." + mark), mark);
  }
}

TEST(Path, TheStemIsTheLastComponentWithoutItsExtension) {
  EXPECT_EQ(path::stem("/Applications/My App.app"), "My App");
  EXPECT_EQ(path::stem("/Applications/My App.app/"), "My App");
  EXPECT_EQ(path::stem("/a/.hidden"), ".hidden");
  EXPECT_EQ(path::stem("/a/archive.tar.gz"), "archive.tar");
  EXPECT_EQ(path::stem("/a/My App 1.2 beta"), "My App 1.2 beta");
  EXPECT_EQ(path::stem("/a/plain"), "plain");
}

TEST(Path, TheParentIsTextual) {
  struct Row {
    const char* path;
    const char* parent;
  };
  // clang-format off
  constexpr std::array<Row, 8> kRows{{
      {"/a/b", "/a"}, {"/a/b/", "/a"}, {"/a/b///", "/a"}, {"/a", "/"}, {"/", "/"}, {"/a//b", "/a"}, {"/a/..", "/a"}, {"//a", "/"},
  }};
  // clang-format on
  for (const Row& row : kRows) EXPECT_EQ(path::parent(row.path), row.parent) << row.path;
}

TEST(Path, WalkingUpFromAnyPathEndsAtTheRoot) {
  std::string_view current = "/a//b/../c/";
  for (int step = 0; step < 5; ++step) current = path::parent(current);
  EXPECT_EQ(current, "/");
}

TEST(Path, JoiningPutsOneSlashAtTheSeam) {
  EXPECT_EQ(path::join("/a", "b"), "/a/b");
  EXPECT_EQ(path::join("/a", "/b"), "/a/b");
  EXPECT_EQ(path::join("/a/", "/b"), "/a/b");
  EXPECT_EQ(path::join("/", "b"), "/b");
  EXPECT_EQ(path::join("/", "/b"), "/b");
  EXPECT_EQ(path::join("/a", "b/c"), "/a/b/c");
  EXPECT_EQ(path::join("/a", ".."), "/a/..");
}

// Compared with the sentence that describes it, for every path of up to eight characters of these.
TEST(Path, APlainPathHasNoEmptyOrDotComponentAfterASlash) {
  constexpr std::string_view kCharacters = "/.a";
  std::vector<std::string> paths{""};
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const std::string& path = paths[i];
    bool isPlain = true;
    for (std::size_t slash = path.find('/'); slash != std::string::npos; slash = path.find('/', slash + 1)) {
      const std::string name = path.substr(slash + 1, path.find('/', slash + 1) - slash - 1);
      isPlain = isPlain && !name.empty() && name != "." && name != "..";
    }
    EXPECT_EQ(path::isPlain(path), isPlain || path == "/") << path;
    if (path.size() == 8) continue;
    for (const char character : kCharacters) paths.push_back(paths[i] + character);
  }
  EXPECT_TRUE(path::isPlain("/Users/ann/.config/..a/...") && !path::isPlain("/Users/ann/.."));
}

TEST(Path, AFolderContainsItselfAndEverythingBelow) {
  EXPECT_TRUE(path::isInside("/a", "/a"));
  EXPECT_TRUE(path::isInside("/a/b", "/a"));
  EXPECT_TRUE(path::isInside("/a", "/"));
  EXPECT_TRUE(path::isInside("/", "/"));
  EXPECT_FALSE(path::isInside("/ab", "/a"));
  EXPECT_FALSE(path::isInside("/a", "/a/b"));
  EXPECT_FALSE(path::isInside("/A/b", "/a"));
  EXPECT_FALSE(path::isInside("/", "/a"));
}

}  // namespace
}  // namespace quarn::path_tests

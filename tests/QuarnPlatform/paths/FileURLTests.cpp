#include <unordered_set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/paths/FileURL.h"

namespace quarn::file_url_tests {
namespace {

using ::testing::ElementsAre;

TEST(FileURL, WithoutAPathIsTheRootFolder) {
  EXPECT_EQ(FileURL().path(), "/");
  EXPECT_TRUE(FileURL().hasDirectoryPath());
  EXPECT_EQ(FileURL().string(), "file:///");
}

struct FormRow {
  const char* input;
  URLKind kind;
  const char* text;
  const char* path;
};

TEST(FileURL, KeepsThePathAndTakesATrailingSlashAsAFolder) {
  // clang-format off
  constexpr std::array<FormRow, 7> kRows{{
      {"/a/b",        URLKind::item,      "file:///a/b",        "/a/b"},
      {"/a/b",        URLKind::directory, "file:///a/b/",       "/a/b"},
      {"/a/b///",     URLKind::directory, "file:///a/b/",       "/a/b"},
      {"/",           URLKind::item,      "file:///",           "/"},
      {"///",         URLKind::item,      "file:///",           "/"},
      {"/a//b/../c",  URLKind::item,      "file:///a//b/../c",  "/a//b/../c"},
      {"/a/../b",     URLKind::item,      "file:///a/../b",     "/a/../b"},
  }};
  // clang-format on
  for (const FormRow& row : kRows) {
    const FileURL url(row.input, row.kind);
    EXPECT_EQ(url.string(), row.text) << row.input;
    EXPECT_EQ(url.path(), row.path) << row.input;
  }
}

TEST(FileURL, ATrailingSlashMeansAFolder) {
  EXPECT_TRUE(FileURL("/a/b/").hasDirectoryPath());
  EXPECT_FALSE(FileURL("/a/b").hasDirectoryPath());
  EXPECT_TRUE(FileURL("/").hasDirectoryPath());
  EXPECT_EQ(FileURL("/a/b/").kind(), URLKind::directory);
}

TEST(FileURL, KeepsTheBytesOfANameAsTheyAre) {
  EXPECT_EQ(FileURL("/caf\u00E9").string(), "file:///caf%C3%A9");
  EXPECT_EQ(FileURL("/cafe\u0301").string(), "file:///cafe%CC%81");
  EXPECT_NE(FileURL("/caf\u00E9"), FileURL("/cafe\u0301"));
  EXPECT_EQ(FileURL("/\xFF\xFE").string(), "file:///%FF%FE");
}

bool staysAsItIs(int byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') || byte == '-' ||
         byte == '.' || byte == '_' || byte == '~' || byte == '/';
}

std::string encoded(int byte) {
  if (staysAsItIs(byte)) return std::string(1, static_cast<char>(byte));
  std::array<char, 4> text{};
  std::snprintf(text.data(), text.size(), "%%%02X", static_cast<unsigned>(byte));
  return text.data();
}

TEST(FileURL, EveryByteButTheUnreservedOnesAndTheSlashIsPercentEncoded) {
  for (int byte = 1; byte < 256; ++byte) {
    const std::string path = std::string("/x") + static_cast<char>(byte) + "y";
    EXPECT_EQ(FileURL(path).string(), "file:///x" + encoded(byte) + "y") << byte;
  }
  EXPECT_EQ(FileURL("/My App [1]?.txt").string(), "file:///My%20App%20%5B1%5D%3F.txt");
  EXPECT_EQ(FileURL("/a%20b").string(), "file:///a%2520b");
}

TEST(FileURL, EveryNameSurvivesEncodingAndParsing) {
  for (int byte = 1; byte < 256; ++byte) {
    const FileURL url(std::string("/x") + static_cast<char>(byte) + "y");
    const std::optional<FileURL> back = FileURL::parse(url.string());
    ASSERT_TRUE(back) << byte;
    EXPECT_EQ(*back, url) << byte;
    EXPECT_EQ(back->kind(), url.kind()) << byte;
  }
}

TEST(FileURL, ParsingReadsURLsAndPlainPaths) {
  struct Row {
    const char* text;
    const char* path;
    URLKind kind;
  };
  // clang-format off
  constexpr std::array<Row, 9> kRows{{
      {"file:///a%20b/",        "/a b",    URLKind::directory},
      {"file:///a%20b",         "/a b",    URLKind::item},
      {"file:///a%c3%a9",       "/a\u00E9", URLKind::item},
      {"file:///",              "/",       URLKind::directory},
      {"file://localhost/a",    "/a",      URLKind::item},
      {"/a b/c",                "/a b/c",  URLKind::item},
      {"/a/",                   "/a",      URLKind::directory},
      {"/100%",                 "/100%",   URLKind::item},
      {"/a%20b",                "/a%20b",  URLKind::item},
  }};
  // clang-format on
  for (const Row& row : kRows) {
    const std::optional<FileURL> url = FileURL::parse(row.text);
    ASSERT_TRUE(url) << row.text;
    EXPECT_EQ(url->path(), row.path);
    EXPECT_EQ(url->kind(), row.kind) << row.text;
  }
}

TEST(FileURL, ParsingRefusesAnythingButAbsoluteFileURLs) {
  // clang-format off
  const std::vector<std::string> refused{
      "", "a/b", "~", "~/a", "file:", "file://", "file:a", "file://server/a", "file://localhost", "http:///a", "FILE", "file:///a%",
      "file:///a%4", "file:///a%4g", "file:///a%zz", "file:///a%%41", "file:///a%00b", "%2Fa", "file://%2Fa%",
      std::string("/a\0b", 4)};
  // clang-format on
  for (const std::string& text : refused) EXPECT_FALSE(FileURL::parse(text)) << text;
}

struct AppendRow {
  const char* component;
  const char* asItem;
  const char* asFolder;
};

TEST(FileURL, AppendingPutsOneSlashAtTheSeamAndResolvesNothing) {
  // clang-format off
  constexpr std::array<AppendRow, 9> kRows{{
      {"a",   "file:///file/path/a",   "file:///file/path/a/"},
      {"/a",  "file:///file/path/a",   "file:///file/path/a/"},
      {"//a", "file:///file/path//a",  "file:///file/path//a/"},
      {"a/",  "file:///file/path/a/",  "file:///file/path/a/"},
      {"",    "file:///file/path/",    "file:///file/path/"},
      {"/",   "file:///file/path/",    "file:///file/path/"},
      {"..",  "file:///file/path/..",  "file:///file/path/../"},
      {".",   "file:///file/path/.",   "file:///file/path/./"},
      {"a/b", "file:///file/path/a/b", "file:///file/path/a/b/"},
  }};
  // clang-format on
  for (const FileURL& base : {FileURL("/file/path"), FileURL("/file/path/")}) {
    for (const AppendRow& row : kRows) {
      EXPECT_EQ(base.appending(row.component).string(), row.asItem) << row.component;
      EXPECT_EQ(base.appending(row.component, URLKind::directory).string(), row.asFolder) << row.component;
    }
  }
  EXPECT_EQ(FileURL().appending("a").path(), "/a");
  EXPECT_EQ(FileURL().appending("/a").path(), "/a");
  EXPECT_EQ(FileURL().appending("//a").path(), "//a");
}

TEST(FileURL, TheLastComponentTheComponentsAndTheExtensionAreThoseOfThePath) {
  const FileURL url("/Applications/My App.app/");
  EXPECT_EQ(url.lastPathComponent(), "My App.app");
  EXPECT_THAT(url.pathComponents(), ElementsAre("/", "Applications", "My App.app"));
  EXPECT_EQ(url.pathExtension(), "app");
  EXPECT_EQ(FileURL().lastPathComponent(), "/");
  EXPECT_THAT(FileURL().pathComponents(), ElementsAre("/"));
}

TEST(FileURL, DeletingTheLastComponentReturnsAFolder) {
  struct Row {
    const char* path;
    const char* parent;
  };
  // clang-format off
  constexpr std::array<Row, 5> kRows{{
      {"/a/b", "file:///a/"}, {"/a/b/", "file:///a/"}, {"/a", "file:///"}, {"/a/b///", "file:///a/"}, {"/", "file:///"},
  }};
  // clang-format on
  for (const Row& row : kRows)
    EXPECT_EQ(FileURL(row.path).deletingLastPathComponent().string(), row.parent) << row.path;
}

TEST(FileURL, EqualityComparesPathsAndIgnoresTheKind) {
  EXPECT_EQ(FileURL("/a"), FileURL("/a/"));
  EXPECT_NE(FileURL("/a"), FileURL("/A"));
  EXPECT_NE(FileURL("/a//b"), FileURL("/a/b"));
  EXPECT_NE(FileURL("/a/."), FileURL("/a"));
  const std::unordered_set<FileURL> seen{FileURL("/a"), FileURL("/a/"), FileURL("/b")};
  EXPECT_EQ(seen.size(), 2U);
}

TEST(FileURL, OrderIsByTheBytesOfThePath) {
  EXPECT_LT(FileURL("/Z"), FileURL("/a"));
  EXPECT_LT(FileURL("/a"), FileURL("/a/b"));
  EXPECT_LT(FileURL("/z"), FileURL("/\u00E9"));
}

}  // namespace
}  // namespace quarn::file_url_tests

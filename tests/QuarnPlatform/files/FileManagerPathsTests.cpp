#include <array>

#include <gmock/gmock.h>

#include "QuarnPlatform/files/FileManager.h"
#include "tests/support/MacVolume.h"

namespace quarn::file_manager_paths_tests {
namespace {

struct PathRow {
  const char* input;
  const char* output;
};

TEST(FileManager, StandardisingIsTextualUnlessThePathHasAParentComponent) {
  // clang-format off
  constexpr std::array<PathRow, 15> kRows{{
      {"/",                       "/"},
      {"//",                      "/"},
      {"/a//b/./c/",              "/a/b/c"},
      {"/a/b/.",                  "/a/b"},
      {"/.",                      "/"},
      {"/a/../b",                 "/b"},
      {"/../a",                   "/a"},
      {"/a/..",                   "/"},
      {"/a/../../..",             "/"},
      {"/tmp/x",                  "/tmp/x"},
      {"/tmp/link/y",             "/tmp/link/y"},
      {"/tmp/./link//y",          "/tmp/link/y"},
      {"/tmp/link/../y",          "/opt/y"},
      {"/tmp/link/../missing",    "/tmp/missing"},
      {"/Users/../tmp/link",      "/opt/d"},
  }};
  // clang-format on
  MacVolume volume;
  volume.link("/tmp", "private/tmp").file("/private/tmp/x").folder("/opt/d").file("/opt/d/y").file("/opt/y");
  volume.link("/private/tmp/link", "/opt/d");
  for (const PathRow& row : kRows) EXPECT_EQ(volume.files().standardizedPath(row.input), row.output) << row.input;
}

TEST(FileManager, ANameThatOnlyBeginsWithDotsIsAName) {
  const MacVolume volume;
  for (const char* path : {"/a/...", "/a/..b", "/a/.b", "/a/b..", "/.../a"}) {
    EXPECT_EQ(volume.files().standardizedPath(path), path);
  }
}

TEST(FileManager, AFileHasNoParentComponent) {
  MacVolume volume;
  volume.file("/real/file").link("/link", "real");
  EXPECT_EQ(volume.files().standardizedPath("/link/file/.."), "/link");
  EXPECT_EQ(volume.files().resolvedPath(FileURL("/link/file/.")), "/link/file");
  EXPECT_EQ(volume.files().standardizedPath("/link/../link/file"), "/real/file");
  EXPECT_EQ(volume.files().standardizedPath("/link/../link/file//"), "/real/file") << "slashes at the end go first";
}

TEST(FileManager, PrivateIsRemovedIfTheRestExists) {
  // clang-format off
  constexpr std::array<PathRow, 11> kRows{{
      {"/private/tmp/x",           "/tmp/x"},
      {"/private/tmp/missing",     "/private/tmp/missing"},
      {"/private/tmp",             "/tmp"},
      {"/private/tmp/",            "/tmp"},
      {"/private/var/folders/q",   "/var/folders/q"},
      {"/private/etc/hosts",       "/etc/hosts"},
      {"/private",                 "/private"},
      {"/private/",                "/private"},
      {"/private/only",            "/private/only"},
      {"/Users/../private/etc/hosts", "/etc/hosts"},
      {"/private//etc/./hosts",    "/etc/hosts"},
  }};
  // clang-format on
  MacVolume volume;
  volume.link("/tmp", "private/tmp").link("/var", "private/var").link("/etc", "private/etc").file("/private/only");
  volume.file("/private/tmp/x")
      .file("/private/var/folders/q")
      .file("/private/etc/hosts")
      .link("/private/dangling", "none");
  for (const PathRow& row : kRows) EXPECT_EQ(volume.files().standardizedPath(row.input), row.output) << row.input;
}

TEST(FileManager, PrivateStaysBeforeTheWellKnownFoldersOfTheRoot) {
  // clang-format off
  constexpr std::array<const char*, 12> kFolders{
      "/Applications", "/Library", "/System", "/Users", "/Volumes", "/bin", "/cores", "/dev", "/opt", "/private", "/sbin", "/usr"};
  // clang-format on
  MacVolume volume;
  for (const std::string folder : kFolders) volume.file(folder + "/x").file(folder + "2/x");
  const FileManager files = volume.files();
  for (const std::string folder : kFolders) {
    EXPECT_EQ(files.standardizedPath("/private" + folder), "/private" + folder);
    EXPECT_EQ(files.standardizedPath("/private" + folder + "/x"), "/private" + folder + "/x");
    EXPECT_EQ(files.standardizedPath("/private" + folder + "2/x"), folder + "2/x");
  }
}

TEST(FileManager, OfThePrefixesOnlyTheFirstThatFitsIsTried) {
  // clang-format off
  constexpr std::array<PathRow, 6> kRows{{
      {"/private/var/automount/Network/x", "/Network/x"},
      {"/var/automount/Network/x",         "/Network/x"},
      {"/private/var/automount/Users/x",   "/private/var/automount/Users/x"},
      {"/private/var/automount/y",         "/private/var/automount/y"},
      {"/var/automount/Users/x",           "/var/automount/Users/x"},
      {"/private/var/automount",           "/var/automount"},
  }};
  // clang-format on
  MacVolume volume;
  volume.file("/Network/x").file("/Users/x").file("/var/automount/y");
  for (const PathRow& row : kRows) EXPECT_EQ(volume.files().standardizedPath(row.input), row.output) << row.input;
}

TEST(FileManager, AStandardisedURLKeepsItsKind) {
  const MacVolume volume;
  EXPECT_EQ(volume.files().standardized(FileURL("/a//b", URLKind::directory)).string(), "file:///a/b/");
  EXPECT_EQ(volume.files().standardized(FileURL("/a//b")).string(), "file:///a/b");
}

// Resolving links.

TEST(FileManager, ResolvingFollowsEveryLinkAndThenStandardises) {
  // clang-format off
  constexpr std::array<PathRow, 12> kRows{{
      {"/Users/ann/relative/a",        "/Library/Real/a"},
      {"/Users/ann/absolute/a",        "/Library/Real/a"},
      {"/Users/ann/absolute",          "/Library/Real"},
      {"/Users/ann/toRoot",            "/"},
      {"/Users/ann/toRoot/Library",    "/Library"},
      {"/Users/ann/here/absolute",     "/Library/Real"},
      {"/Users/ann/absolute/../Other", "/Library/Other"},
      {"/Users/ann/second",            "/Library/Real"},
      {"/tmp/x",                       "/tmp/x"},
      {"/private/tmp/x",               "/tmp/x"},
      {"/Library//Real/./a",           "/Library/Real/a"},
      {"/",                            "/"},
  }};
  // clang-format on
  MacVolume volume;
  volume.file("/Library/Real/a").folder("/Library/Other").link("/tmp", "private/tmp").file("/private/tmp/x");
  volume.link("~/relative", "../../Library/Real").link("~/absolute", "/Library/Real").link("~/toRoot", "/");
  volume.link("~/here", ".").link("~/second", "absolute");
  for (const PathRow& row : kRows) {
    EXPECT_EQ(volume.files().resolvedPath(FileURL(row.input)), row.output) << row.input;
  }
}

TEST(FileManager, WhenAnythingIsMissingNothingIsResolved) {
  // clang-format off
  constexpr std::array<PathRow, 8> kRows{{
      {"/Users/ann/link/missing",       "/Users/ann/link/missing"},
      {"/Users/ann/dangling",           "/Users/ann/dangling"},
      {"/Users/ann/link/file/x",        "/Users/ann/link/file/x"},
      {"/Users/ann/loop",               "/Users/ann/loop"},
      {"/Users/ann/one",                "/Users/ann/one"},
      {"/Users/ann/one/x",              "/Users/ann/one/x"},
      {"/Users/ann/link//missing/../y", "/Users/ann/link/y"},
      {"/tmp/missing",                  "/tmp/missing"},
  }};
  // clang-format on
  MacVolume volume;
  volume.file("/Library/Real/file").link("~/link", "/Library/Real").link("~/dangling", "none").link("~/loop", "loop");
  volume.link("~/one", "two").link("~/two", "one").link("/tmp", "private/tmp").folder("/private/tmp");
  for (const PathRow& row : kRows) {
    EXPECT_EQ(volume.files().resolvedPath(FileURL(row.input)), row.output) << row.input;
  }
}

TEST(FileManager, ThirtyThreeLinksAreFollowedAndNotOneMore) {
  MacVolume volume;
  volume.file("~/link0");
  for (int i = 1; i <= 34; ++i) volume.link("~/link" + std::to_string(i), "link" + std::to_string(i - 1));
  EXPECT_EQ(volume.files().resolvedPath(volume.url("~/link33")), "/Users/ann/link0");
  EXPECT_EQ(volume.files().resolvedPath(volume.url("~/link34")), "/Users/ann/link34");
}

TEST(FileManager, AResolvedURLKeepsItsKind) {
  MacVolume volume;
  volume.folder("/Library/Real").link("~/link", "/Library/Real");
  EXPECT_EQ(volume.files().resolvingSymlinks(volume.url("~/link")).string(), "file:///Library/Real");
  EXPECT_EQ(volume.files().resolvingSymlinks(volume.url("~/link/")).string(), "file:///Library/Real/");
}

}  // namespace
}  // namespace quarn::file_manager_paths_tests

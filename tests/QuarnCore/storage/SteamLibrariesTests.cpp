#include <filesystem>

#include <gmock/gmock.h>

#include "QuarnCore/storage/SteamLibraries.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::steam_libraries_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kFile =
    "\"libraryfolders\"\n"
    "{\n"
    "\t\"contentstatsid\"\t\t\"-123\"\n"
    "\t\"0\"\n"
    "\t{\n"
    "\t\t\"path\"\t\t\"/Users/ann/Library/Application Support/Steam\"\r\n"
    "\t\t\"label\"\t\t\"\"\n"
    "\t\t\"apps\"\n"
    "\t\t{ \"220\" \"1234\" }\n"
    "\t}\n"
    "\t\"1\" { \"path\" \"/inline\" }\n"
    "\t\t\"PATH\" \"/Volumes/Games\"\n"
    "}\n";

TEST(SteamLibraryFile, LinesWithTheKeyPathAreReadInOrder) {
  EXPECT_THAT(steamLibraryPaths(kFile), ElementsAre("/Users/ann/Library/Application Support/Steam", "/Volumes/Games"));
}

struct Line {
  std::string_view text;
  std::string_view path;  // "" for none
};

// clang-format off
constexpr std::array kLines{
    Line{R"("path" "/a")", "/a"},
    Line{R"("path""/a")", "/a"},
    Line{" \t\r\"path\" \t\r \"/a\" \t\r", "/a"},
    Line{R"("Path" "/A b")", "/A b"},
    Line{R"("pATH" "/a/")", "/a/"},
    Line{R"("path" "/a\\b")", "/a\\b"},
    Line{R"("path" "/a\"b")", "/a\"b"},
    Line{R"("path" "/a\nb")", "/a\\nb"},
    Line{R"("path" "/a\\\\b\\\"c")", "/a\\\\b\\\"c"},
    Line{R"("path" "/é")", "/é"},
    Line{R"("path" "a")", ""},
    Line{R"("path" "")", ""},
    Line{R"("path" "~/Games")", ""},
    Line{R"("path" "C:\\Games")", ""},
    Line{R"("path" " /a")", ""},
    Line{R"("path")", ""},
    Line{R"("path" )", ""},
    Line{R"("path" "/a)", ""},
    Line{R"("path" "/a\")", ""},
    Line{R"("path" "/a" "/b")", ""},
    Line{R"("path" "/a" // comment)", ""},
    Line{R"("path" "/a" {)", ""},
    Line{R"(x "path" "/a")", ""},
    Line{R"(// "path" "/a")", ""},
    Line{R"(path "/a")", ""},
    Line{R"("path" /a)", ""},
    Line{R"("paths" "/a")", ""},
    Line{R"("path " "/a")", ""},
    Line{R"("" "/a")", ""},
    Line{"\"path\"\v\"/a\"", ""},
    Line{"", ""},
};
// clang-format on

TEST(SteamLibraryFile, ALineIsTwoQuotedTokensAndBlanks) {
  for (const Line& line : kLines) {
    const std::vector<std::string> expected =
        line.path.empty() ? std::vector<std::string>() : std::vector<std::string>{std::string(line.path)};
    EXPECT_EQ(steamLibraryPaths(line.text), expected) << line.text;
    EXPECT_EQ(steamLibraryPaths("\n" + std::string(line.text) + "\n\n"), expected) << line.text;
  }
}

TEST(SteamLibraryFile, TokensDoNotReachOverLines) {
  EXPECT_THAT(steamLibraryPaths("\"path\"\n\"/a\"\n\"path\" \"/b\n\"\n\"path\" \"/c\""), ElementsAre("/c"));
}

TEST(SteamLibraryFile, TextThatIsNotUTF8IsIgnored) {
  EXPECT_THAT(steamLibraryPaths("\"path\" \"/a\"\n\"x\" \"\xFF\"\n"), IsEmpty());
}

std::vector<std::string> folders(const MacVolume& volume) {
  std::vector<std::string> paths;
  for (const FileURL& url : steamAppFolders(volume.files())) paths.push_back(url.path());
  return paths;
}

TEST(SteamAppFolders, WithoutSteamThereAreNone) {
  MacVolume volume;
  volume.folder("/Elsewhere/Steam/steamapps");
  EXPECT_THAT(folders(volume), IsEmpty());
}

TEST(SteamAppFolders, TheUsersFolderPrecedesTheSharedOneAndEachPrecedesItsLibraries) {
  MacVolume volume;
  volume.folder("/A/steamapps").folder("/B/steamapps").folder("/C");
  volume.text("~/Library/Application Support/Steam/steamapps/libraryfolders.vdf",
              "\"path\" \"/B\"\n\"path\" \"/missing\"\n\"path\" \"/C\"\n");
  volume.text("/Users/Shared/Steam/steamapps/libraryfolders.vdf", "\"path\" \"/A\"\n\"path\" \"/B/\"\n");
  EXPECT_THAT(folders(volume), ElementsAre("/Users/ann/Library/Application Support/Steam/steamapps", "/B/steamapps",
                                           "/Users/Shared/Steam/steamapps", "/A/steamapps", "/B/steamapps"));
}

TEST(SteamAppFolders, ABaseWithoutSteamappsIsIgnored) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Steam").folder("/B/steamapps");
  volume.text("/Users/Shared/steamapps/libraryfolders.vdf", "\"path\" \"/B\"");
  EXPECT_THAT(folders(volume), IsEmpty());
}

TEST(SteamAppFolders, FoldersOnlyNeedToExist) {
  MacVolume volume;
  volume.folder("/Real/steamapps").link("/Users/Shared/Steam", "/Real").file("/Lib/steamapps");
  volume.text("/Real/steamapps/libraryfolders.vdf", "\"path\" \"/Lib\"");
  EXPECT_THAT(folders(volume), ElementsAre("/Users/Shared/Steam/steamapps", "/Lib/steamapps"));
}

TEST(SteamAppFolders, AListThatCannotBeReadAddsNothing) {
  MacVolume volume;
  volume.folder("/B/steamapps").folder("/Users/Shared/Steam/steamapps/libraryfolders.vdf");
  volume.text("~/Library/Application Support/Steam/steamapps/libraryfolders.vdf", "\"path\" \"/B\"");
  volume.mode("~/Library/Application Support/Steam/steamapps/libraryfolders.vdf", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(folders(volume),
              ElementsAre("/Users/ann/Library/Application Support/Steam/steamapps", "/Users/Shared/Steam/steamapps"));
}

TEST(SteamAppFolders, AHundredMegabytesOfGarbageAreNotRead) {
  MacVolume volume;
  const std::string list = "/Users/Shared/Steam/steamapps/libraryfolders.vdf";
  volume.folder("/A/steamapps").text(list, "\"path\" \"/A\"\n");
  std::filesystem::resize_file(volume.host(list), static_cast<std::uintmax_t>(4_MiB));
  EXPECT_THAT(folders(volume), ElementsAre("/Users/Shared/Steam/steamapps", "/A/steamapps")) << "the longest list";
  for (const std::int64_t length : {4_MiB + 1, 100_MiB}) {
    std::filesystem::resize_file(volume.host(list), static_cast<std::uintmax_t>(length));
    EXPECT_THAT(folders(volume), ElementsAre("/Users/Shared/Steam/steamapps")) << length;
  }
}

}  // namespace
}  // namespace quarn::steam_libraries_tests

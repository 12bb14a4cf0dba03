#include <array>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {
namespace {

// All forms of the file: the numbered libraries of current versions with their apps, escapes, tabs, a missing
// library, and one that is the Steam folder under another name.
constexpr std::string_view kLibrariesOfToday =
    "\"libraryfolders\"\n"
    "{\n"
    "\t\"contentstatsid\"\t\t\"-4112378\"\n"
    "\t\"0\"\n"
    "\t{\n"
    "\t\t\"path\"\t\t\"/Users/ann/Library/Application Support/Steam\"\n"
    "\t\t\"label\"\t\t\"\"\n"
    "\t\t\"apps\"\n"
    "\t\t{\n"
    "\t\t\t\"480\"\t\t\"1400000\"\n"
    "\t\t}\n"
    "\t}\n"
    "\t\"1\"\n"
    "\t{\n"
    "\t\t\"Path\"\t\t\"/Volumes/Games/SteamLibrary\"\n"
    "\t}\n"
    "\t\"2\"\n"
    "\t{\n"
    "\t\t\"path\"\t\t\"/Users/Shared/Play \\\"Room\\\"\"\n"
    "\t}\n"
    "\t\"3\"\n"
    "\t{\n"
    "\t\t\"path\"\t\t\"/Volumes/Unplugged/SteamLibrary\"\n"
    "\t}\n"
    "\t\"4\"\n"
    "\t{\n"
    "\t\t\"path\"\t\t\"/Users/ann/Library/Steam by another name\"\n"
    "\t}\n"
    "}\n";

// Before 2021 the number was the key of the path, so no line has the key "path".
constexpr std::string_view kLibrariesOfOld =
    "\"LibraryFolders\"\n"
    "{\n"
    "\t\"TimeNextStatsReport\"\t\t\"1620000000\"\n"
    "\t\"1\"\t\t\"/Volumes/Games/SteamLibrary\"\n"
    "}\n";

// clang-format off
constexpr auto kGameItems = std::to_array<Item>({
    {.path = "~/Library/Application Support/Steam/steamapps/libraryfolders.vdf", .form = Form::text,
     .text = kLibrariesOfToday},
    {.path = "~/Library/Application Support/Steam/steamapps/appmanifest_480.acf", .form = Form::text,
     .text = "\"AppState\" { \"appid\" \"480\" \"installdir\" \"Star Drift\" }\n"},
    {.path = "~/Library/Application Support/Steam/steamapps/common/Star Drift/Star Drift.app/Contents/MacOS/Star Drift",
     .bytes = 492 * kKB},
    {.path = "~/Library/Application Support/Steam/steamapps/common/Star Drift/assets.pak", .form = Form::sparse,
     .bytes = 22 * kGB},
    {.path = "~/Library/Application Support/Steam/steamapps/shadercache/480/cache", .bytes = 130 * kKB},
    {.path = "~/Library/Application Support/Steam/config/loginusers.vdf", .form = Form::text,
     .text = "\"users\" { }\n"},
    {.path = "~/Library/Application Support/Steam/userdata/7/480/remote/save.dat", .bytes = 24 * kKB},
    {.path = "~/Library/Steam by another name", .form = Form::link, .text = "Application Support/Steam"},
    {.path = "/Users/Shared/Steam/steamapps/libraryfolders.vdf", .form = Form::text, .text = kLibrariesOfOld},
    {.path = "/Users/Shared/Steam/steamapps/common/Tide Racer/tide.pak", .bytes = 366 * kKB},
    {.path = "/Users/Shared/Play \"Room\"/steamapps/common/Chess/chess.pak", .bytes = 204 * kKB},
    {.path = "/Volumes/Games/SteamLibrary/steamapps/common/Far Lands/world.pak", .form = Form::sparse,
     .bytes = 55 * kGB},
    {.path = "/Volumes/Games/SteamLibrary/steamapps/appmanifest_700.acf", .form = Form::text,
     .text = "\"AppState\" { \"appid\" \"700\" }\n"},
    {.path = "~/Games/Old Quest/data.win", .bytes = 318 * kKB},
    {.path = "~/Games/Old Quest/save1.sav", .bytes = 12 * kKB},
    {.path = "~/Games/Island.boxer/hdd/ISLAND.EXE", .bytes = 180 * kKB},
    {.path = "~/Library/Application Support/Bright Forge/Skyforge/steam_appid.txt", .form = Form::text,
     .text = "491\n"},
    {.path = "~/Library/Application Support/Bright Forge/Skyforge/world.bin", .bytes = 270 * kKB},
    {.path = "~/Library/Application Support/minecraft/launcher_profiles.json", .form = Form::text, .text = "{}\n"},
    {.path = "~/Library/Application Support/minecraft/saves/Island/level.dat", .bytes = 140 * kKB},
    {.path = "~/Library/Application Support/minecraft/versions/1.21/1.21.jar", .bytes = 240 * kKB},
    {.path = "/Users/Shared/Old Games/Pixel Pirates/acsetup.cfg", .form = Form::text, .text = "[misc]\n"},
    {.path = "/Users/Shared/Old Games/Pixel Pirates/pirates.dat", .bytes = 156 * kKB},
    {.path = "/Users/Shared/Epic Games/Harbour Tycoon/Manifest_NonUFSFiles_Mac.txt", .form = Form::text, .text = "a\n"},
    {.path = "/Users/Shared/Epic Games/Harbour Tycoon/tycoon.pak", .bytes = 288 * kKB},
    // Too deep for the search, and a folder with the name of a marker file.
    {.path = "~/Library/Application Support/x1/x2/x3/x4/x5/x6/steam_appid.txt", .form = Form::text, .text = "1\n"},
    {.path = "~/Library/Application Support/Not a game/data.win/readme.txt", .form = Form::text, .text = "a folder\n"},
});
// clang-format on
static_assert(kGameItems.size() == 27);

}  // namespace

std::span<const Item> gameItems() { return kGameItems; }

}  // namespace quarn::sample

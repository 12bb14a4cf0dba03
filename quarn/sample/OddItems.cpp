#include <array>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {
namespace {

// clang-format off
constexpr auto kOddItems = std::to_array<Item>({
    // Links: valid, relative and absolute; dangling; to each other; to themselves; to the parent folder; out of the
    // volume.
    {.path = "~/Documents/Links/to a file", .form = Form::link, .text = "../Letters/Landlord.pages"},
    {.path = "~/Documents/Links/to a folder", .form = Form::link, .text = "../Thesis"},
    {.path = "~/Documents/Links/absolute", .form = Form::link, .text = "/Users/Shared/Family"},
    {.path = "~/Documents/Links/to nothing", .form = Form::link, .text = "../Letters/Lost.pages"},
    {.path = "~/Documents/Links/ping", .form = Form::link, .text = "pong"},
    {.path = "~/Documents/Links/pong", .form = Form::link, .text = "ping"},
    {.path = "~/Documents/Links/itself", .form = Form::link, .text = "itself"},
    {.path = "~/Documents/Links/up", .form = Form::link, .text = ".."},
    {.path = "~/Documents/Links/out", .form = Form::link, .text = "../../../../../../../../../../../../etc/passwd"},
    {.path = "~/Documents/Links/host", .form = Form::link, .text = "/proc/self/root"},
    {.path = "~/Library/Caches/com.beacon.radio/latest", .form = Form::link, .text = "stations"},
    {.path = "~/Library/Application Support/Beacon Radio", .form = Form::link, .text = "/Users/Shared/Beacon"},
    {.path = "/Users/Shared/Beacon/recordings.db", .bytes = 87 * kKB},
    {.path = "/Applications/Kestrel alias.app", .form = Form::link, .text = "Kestrel.app"},
    {.path = "/Applications/Gone.app", .form = Form::link, .text = "/Volumes/Unplugged/Gone.app"},
    {.path = "/Applications/Safari.app", .form = Form::link,
     .text = "/System/Cryptexes/App/System/Applications/Safari.app"},
    // Hard links in one folder and across folders.
    {.path = "~/Documents/Hard links/original.bin", .bytes = 210 * kKB},
    {.path = "~/Documents/Hard links/second name.bin", .form = Form::hardLink,
     .text = "~/Documents/Hard links/original.bin"},
    {.path = "/Users/Shared/third name.bin", .form = Form::hardLink, .text = "~/Documents/Hard links/original.bin"},
    // Names in many scripts, composed and decomposed, long, and names that must be escaped on a terminal.
    {.path = "~/Documents/Names/Caf\u00E9 composed.txt", .form = Form::text, .text = "U+00E9\n"},
    {.path = "~/Documents/Names/Cafe\u0301 decomposed.txt", .form = Form::text, .text = "e U+0301\n"},
    {.path = "~/Documents/Names/\u65E5\u672C\u8A9E\u306E\u66F8\u985E.txt", .form = Form::text, .text = "Japanese\n"},
    {.path = "~/Documents/Names/\u0420\u0443\u0441\u0441\u043A\u0438\u0439.txt", .form = Form::text,
     .text = "Russian\n"},
    {.path = "~/Documents/Names/\u0627\u0644\u0639\u0631\u0628\u064A\u0629.txt", .form = Form::text,
     .text = "Arabic\n"},
    {.path = "~/Documents/Names/\uD55C\uAD6D\uC5B4.txt", .form = Form::text, .text = "Korean\n"},
    {.path = "~/Documents/Names/\u0130stanbul \u0131\u015F\u0131k.txt", .form = Form::text, .text = "Turkish\n"},
    {.path = "~/Documents/Names/family \U0001F468\u200D\U0001F469\u200D\U0001F467.txt", .form = Form::text,
     .text = "one character\n"},
    {.path = "~/Documents/Names/ leading and trailing ", .form = Form::text, .text = "spaces\n"},
    {.path = "~/Documents/Names/two\nlines.txt", .form = Form::text, .text = "a line break\n"},
    {.path = "~/Documents/Names/red \x1B[31malarm\x1B[0m.txt", .form = Form::text, .text = "an escape sequence\n"},
    {.path = "~/Documents/Names/title \x1B]0;owned\x07.txt", .form = Form::text,
     .text = "one that would rename a window\n"},
    {.path = "~/Documents/Names/<img src=x onerror=alert(1)>.txt", .form = Form::text, .text = "markup\n"},
    {.path = "~/Documents/Names/gpj.\u202Eexe", .form = Form::text, .text = "turned around\n"},
    {.path = "~/Documents/Names/not \xFF\xFE text.txt", .form = Form::text, .text = "no UTF-8\n"},
    {.path = "~/Documents/Names/100% ~ $HOME `x` \\ * ?.txt", .form = Form::text, .text = "a shell's favourites\n"},
    {.path = "~/Documents/Names/Icon\r"},
    {.path = "~/Documents/Empty folder", .form = Form::folder},
    {.path = "~/Documents/.hidden folder/inside.txt", .form = Form::text, .text = "hidden by its folder\n"},
    // Malformed records, and records without the required keys.
    {.path = "~/Library/LaunchAgents/broken.plist", .form = Form::text,
     .text = "<?xml version=\"1.0\"?><plist><dict><key>Label</key>"},
    {.path = "~/Library/LaunchAgents/no label.plist", .form = Form::text,
     .text = "<plist version=\"1.0\"><dict><key>Program</key><string>/bin/ls</string></dict></plist>"},
    {.path = "~/Library/LaunchAgents/label is a number.plist", .form = Form::text,
     .text = "<plist version=\"1.0\"><dict><key>Label</key><integer>7</integer></dict></plist>"},
    {.path = "~/Library/LaunchAgents/readme.txt", .form = Form::text, .text = "no property list\n"},
    {.path = "/private/var/db/receipts/com.example.torn.plist", .form = Form::text,
     .text = "<plist version=\"1.0\"><dict><key>PackageIdentifier</key><string>com.example.torn</string></dict></plist>"},
    {.path = "/private/var/db/receipts/com.example.torn.bom", .form = Form::text, .text = "BOMStore and then nothing"},
    {.path = "/Library/Receipts/InstallHistory.plist", .form = Form::text,
     .text = "<plist version=\"1.0\"><array/></plist>"},
    {.path = "/Library/Extensions/Notes about drivers.txt", .form = Form::text, .text = "no extension\n"},
    {.path = "/Library/Extensions/Flat.kext/Info.plist", .form = Form::text,
     .text = "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>Flat</string></dict></plist>"},
    // Malformed preferences and caches.
    {.path = "~/Library/Preferences/broken.plist", .form = Form::text,
     .text = "<?xml version=\"1.0\"?><plist><dict><key>a</key>"},
    {.path = "~/Library/Preferences/garbage.plist", .bytes = 2 * kKB},
    {.path = "~/Library/Caches/\xC3\x28 bad name/cache", .bytes = 4 * kKB},
    {.path = "~/Library/Caches/empty.cache"},
});
// clang-format on
static_assert(kOddItems.size() == 51);

}  // namespace

std::span<const Item> oddItems() { return kOddItems; }

}  // namespace quarn::sample

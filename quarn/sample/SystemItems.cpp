#include <array>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {
namespace {

// clang-format off
constexpr auto kSystemItems = std::to_array<Item>({
    {.path = "/tmp", .form = Form::link, .text = "private/tmp"},
    {.path = "/var", .form = Form::link, .text = "private/var"},
    {.path = "/etc", .form = Form::link, .text = "private/etc"},
    {.path = "/private/etc/hosts", .form = Form::text, .text = "127.0.0.1 localhost\n"},
    {.path = "/private/tmp/session", .bytes = 3 * kKB},
    {.path = "/private/var/log/system.log", .bytes = 132 * kKB},
    {.path = "/private/var/folders/zz/aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa/C/com.lumenworks.notes/mds", .bytes = 45 * kKB},
    {.path = "/private/var/folders/zz/aaaaaaaaaaaaaaaaaaaaaaaaaaaaaa/T/scratch", .bytes = 60 * kKB},
    {.path = "/private/var/vm/sleepimage", .form = Form::sparse, .bytes = 17 * kGB},
    {.path = "/private/var/db/dslocal/nodes/Default/users/ann.plist", .form = Form::settings, .bytes = 4 * kKB},
    {.path = "/bin/zsh", .form = Form::tool},
    {.path = "/sbin/mount", .form = Form::tool},
    {.path = "/usr/bin/open", .form = Form::tool},
    {.path = "/usr/lib/dyld", .bytes = 186 * kKB},
    {.path = "/usr/share/dict/words", .bytes = 114 * kKB},
    {.path = "/cores", .form = Form::folder},
    {.path = "/dev", .form = Form::folder},
    {.path = "/System/Library/CoreServices/SystemVersion.plist", .form = Form::text,
     .text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>ProductName</key><string>macOS</string>"
             "<key>ProductVersion</key><string>26.2</string></dict></plist>\n"},
    {.path = "/System/Library/CoreServices/Finder.app/Contents/Info.plist", .form = Form::text,
     .text = "<plist><dict/></plist>\n"},
    {.path = "/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit", .bytes = 312 * kKB},
    {.path = "/System/Library/Fonts/Helvetica.ttc", .bytes = 258 * kKB},
    {.path = "/System/Library/Caches/com.apple.kext.caches/a", .bytes = 18 * kKB},
    {.path = "/Library/Application Support/GarageBand/Instrument Library/Piano.sampler", .bytes = 564 * kKB},
    {.path = "/Library/Application Support/Logic/Alchemy Samples/Pad.caf", .bytes = 690 * kKB},
    {.path = "/Library/Audio/Apple Loops/Apple/Beat.caf", .bytes = 138 * kKB},
    {.path = "/Library/Fonts/Harbour Sans.otf", .bytes = 120 * kKB},
    {.path = "/Library/Caches/com.apple.iconservices.store/a.isdata", .bytes = 75 * kKB},
    {.path = "/Library/Logs/DiagnosticReports/Kestrel_2026-01-04.ips", .bytes = 16 * kKB},
    {.path = "/Library/Preferences/com.apple.loginwindow.plist", .form = Form::settings, .bytes = 2 * kKB},
    {.path = "/Library/PreferencePanes/Beacon.prefPane/Contents/MacOS/Beacon", .bytes = 40 * kKB},
    {.path = "/Library/Printers/Tinta/driver.bundle/Contents/MacOS/driver", .bytes = 126 * kKB},
    {.path = "/Library/Updates/index.plist", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "/Users/.localized"},
    {.path = "/Users/Shared/.localized"},
    {.path = "/Users/Shared/Family/Recipes.pdf", .bytes = 204 * kKB},
    {.path = "/Users/Guest/Desktop/.localized"},
    {.path = "/Users/bob/Documents/Letter.pages", .bytes = 52 * kKB},
    {.path = "/Users/bob/Library/Caches/com.lumenworks.notes/Cache.db", .bytes = 66 * kKB},
    {.path = "/Users/bob/Library/Application Support/Lumen Notes/Library.lumendb", .bytes = 140 * kKB},
    {.path = "/Users/bob/Pictures/Photos Library.photoslibrary/originals/0/1.heic", .bytes = 456 * kKB},
    {.path = "/Users/bob/Movies/Long film.mov", .form = Form::sparse, .bytes = 7 * kGB},
    {.path = "/Volumes/Macintosh HD", .form = Form::link, .text = "/"},
    {.path = "/Volumes/Time Machine/Backups.backupdb/Info.plist", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "/.fseventsd/0001", .bytes = 2 * kKB},
    {.path = "/.file"},
    {.path = "~/Library/Caches/com.apple.Safari/WebKitCache/1", .bytes = 156 * kKB},
    {.path = "~/Library/Caches/GeoServices/tiles.db", .bytes = 130 * kKB},
    {.path = "~/Library/Keychains/login.keychain-db", .bytes = 90 * kKB},
    {.path = "~/Library/Fonts/Skiff Mono.otf", .bytes = 110 * kKB},
    {.path = "~/Library/Preferences/.GlobalPreferences.plist", .form = Form::settings, .bytes = 3 * kKB},
    {.path = "~/Library/Preferences/com.apple.finder.plist", .form = Form::settings, .bytes = 9 * kKB},
    {.path = "~/Library/Calendars/Calendar.sqlitedb", .bytes = 120 * kKB},
    {.path = "~/Library/Application Support/AddressBook/AddressBook.abcddb", .bytes = 85 * kKB},
    {.path = "~/Library/Application Support/Quarn/Quarantine/2026-01-15/Old Tool.app/Contents/MacOS/Old Tool",
     .bytes = 114 * kKB},
});
// clang-format on
static_assert(kSystemItems.size() == 54);

}  // namespace

std::span<const Item> systemItems() { return kSystemItems; }

}  // namespace quarn::sample

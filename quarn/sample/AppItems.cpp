#include <array>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {
namespace {

// clang-format off
constexpr auto kAppItems = std::to_array<Item>({
    // Lumen Notes has items in every usual location of the user and of the system.
    {.path = "~/Library/Caches/com.lumenworks.notes/Cache.db", .bytes = 246 * kKB},
    {.path = "~/Library/Caches/com.lumenworks.notes/fsCachedData/1F2E", .bytes = 120 * kKB},
    {.path = "~/Library/Caches/com.lumenworks.notes/.hidden-index", .bytes = 15 * kKB},
    {.path = "~/Library/Logs/com.lumenworks.notes/notes.log", .bytes = 38 * kKB},
    {.path = "~/Library/Preferences/com.lumenworks.notes.plist", .form = Form::settings, .bytes = 5 * kKB},
    {.path = "~/Library/Preferences/com.lumenworks.notes.sync.plist", .form = Form::settings, .bytes = 2 * kKB},
    {.path = "~/Library/Preferences/com.lumenworks.notes.helper.PLIST", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "~/Library/Preferences/com.lumenworks.notes.lockfile", .bytes = 1 * kKB},
    {.path = "~/Library/Preferences/Com.Lumenworks.Notes.plist", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "~/Library/Preferences/ByHost/com.lumenworks.notes.0A1B2C3D-0000-4000-8000-5E6F70819203.plist",
     .form = Form::settings, .bytes = 2 * kKB},
    {.path = "~/Library/Saved Application State/com.lumenworks.notes.savedState/windows.plist",
     .form = Form::settings, .bytes = 4 * kKB},
    {.path = "~/Library/Saved Application State/com.lumenworks.notes.savedState/data.data", .bytes = 61 * kKB},
    {.path = "~/Library/Containers/com.lumenworks.notes/Data/Documents/Default.lumen", .bytes = 156 * kKB},
    {.path = "~/Library/Containers/com.lumenworks.notes/Data/Library/Caches/thumbnails.db", .bytes = 108 * kKB},
    {.path = "~/Library/Application Scripts/com.lumenworks.notes/Export.scpt", .bytes = 6 * kKB},
    {.path = "~/Library/HTTPStorages/com.lumenworks.notes/httpstorages.sqlite", .bytes = 53 * kKB},
    {.path = "~/Library/HTTPStorages/com.lumenworks.notes.binarycookies", .bytes = 2 * kKB},
    {.path = "~/Library/Application Support/Lumen Notes/Library.lumendb", .bytes = 432 * kKB},
    {.path = "~/Library/Application Support/Lumen Notes/com.lumenworks.notes.index/terms", .bytes = 90 * kKB},
    {.path = "~/Library/Application Support/com.lumenworks.notes/state.json", .bytes = 8 * kKB},
    {.path = "/Library/Caches/com.lumenworks.notes/shared.db", .bytes = 70 * kKB},
    {.path = "/Library/Logs/com.lumenworks.notes/install.log", .bytes = 12 * kKB},
    {.path = "/Library/Preferences/com.lumenworks.notes.plist", .form = Form::settings, .bytes = 2 * kKB},
    {.path = "/Library/Preferences/com.lumenworks.notes.license.plist", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "/Library/Application Support/Lumen Notes/Templates/Diary.lumen", .bytes = 33 * kKB},
    {.path = "/Library/Application Support/com.lumenworks.notes/license.key", .bytes = 1 * kKB},
    // Only the entitlements of the app name this folder.
    {.path = "~/Library/Group Containers/9KXQ2T7WBA.shared-store/Store.sqlite", .bytes = 324 * kKB},
    {.path = "~/Library/Group Containers/group.org.unrelated/Other.sqlite", .bytes = 60 * kKB},
    // Similar names only: similar bundle identifier, equal name, name inside a longer name.
    {.path = "~/Library/Application Support/com.lumenworks.notes.thumbnailer/queue", .bytes = 17 * kKB},
    {.path = "~/Library/Application Support/Lumenworks/Lumen Notes Helper/helper.db", .bytes = 44 * kKB},
    {.path = "~/Library/Caches/LumenNotes/old.cache", .bytes = 66 * kKB},
    {.path = "~/Library/Caches/lumen_notes-previews/page 1.png", .bytes = 31 * kKB},
    {.path = "~/Library/Logs/Lum\u00E9n Notes/crash.log", .bytes = 9 * kKB},
    {.path = "~/Library/Logs/DiagnosticReports/com.lumenworks.notes_2026-02-11.ips", .bytes = 21 * kKB},
    {.path = "/Library/Application Support/Lumenworks/com.lumenworks.notes.plugins/a.plugin/Contents/MacOS/a",
     .bytes = 80 * kKB},
    {.path = "/Library/Caches/com.lumenworks.notes.updater/update.zip", .bytes = 90 * kKB},
    {.path = "/Library/Logs/Lumenworks/com.lumenworks.notes.daemon.log", .bytes = 5 * kKB},
    // Near misses: too short, hidden, inside a package, too deep, another letter in the identifier.
    {.path = "~/Library/Application Support/Lumen/readme.txt", .form = Form::text, .text = "not of the notes\n"},
    {.path = "~/Library/Application Support/.com.lumenworks.notes/secret", .bytes = 1 * kKB},
    {.path = "~/Library/Application Support/Toolbox.bundle/com.lumenworks.notes/inner", .bytes = 1 * kKB},
    {.path = "~/Library/Application Support/a/b/c/d/e/f/com.lumenworks.notes/deep", .bytes = 1 * kKB},
    {.path = "~/Library/Caches/com.lumenworks.note/near", .bytes = 1 * kKB},
    // Two products with a common identifier prefix, and one that differs only in letter case.
    {.path = "~/Library/Preferences/com.example.App.plist", .form = Form::settings, .bytes = 2 * kKB},
    {.path = "~/Library/Preferences/com.example.App.extra.plist", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "~/Library/Preferences/com.example.App.PLIST", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "~/Library/Preferences/Com.example.App.plist", .form = Form::settings, .bytes = 1 * kKB},
    {.path = "~/Library/Preferences/com.example.AppX.plist", .form = Form::settings, .bytes = 2 * kKB},
    {.path = "~/Library/Caches/com.example.App/a", .bytes = 48 * kKB},
    {.path = "~/Library/Caches/com.example.AppX/a", .bytes = 52 * kKB},
    {.path = "~/Library/Application Support/Example/projects.db", .bytes = 77 * kKB},
    {.path = "~/Library/Application Support/ExampleX/projects.db", .bytes = 71 * kKB},
    {.path = "~/Library/Containers/com.example.App/Data/Library/Preferences/com.example.App.plist",
     .form = Form::settings, .bytes = 2 * kKB},
    {.path = "~/Library/Caches/com.kestrelsoft.kestrel/map.cache", .bytes = 138 * kKB},
    {.path = "~/Library/Caches/com.kestrelsoft.kestrelpro/map.cache", .bytes = 246 * kKB},
    {.path = "~/Library/Application Support/Kestrel/maps.db", .bytes = 210 * kKB},
    {.path = "~/Library/Application Support/Kestrel Pro/maps.db", .bytes = 366 * kKB},
    {.path = "~/Library/Preferences/com.kestrelsoft.kestrel.plist", .form = Form::settings, .bytes = 2 * kKB},
    {.path = "~/Library/Preferences/com.kestrelsoft.kestrelpro.plist", .form = Form::settings, .bytes = 2 * kKB},
    // An app without an identifier is matched by name only, and a short name matches nothing.
    {.path = "~/Library/Application Support/My_App-Data/a", .bytes = 3 * kKB},
    {.path = "~/Library/Application Support/Memo Data/a", .bytes = 3 * kKB},
    // Tessera Studio: a large app with a driver, an audio plug-in and a shared folder.
    {.path = "/Applications/Tessera Studio/Uninstall Tessera Studio.app/Contents/MacOS/Uninstall", .form = Form::tool},
    {.path = "/Applications/Tessera Studio/Read Me.rtf", .bytes = 9 * kKB},
    {.path = "/Applications/Tessera Studio/Presets/Dawn.preset", .bytes = 14 * kKB},
    {.path = "/Library/Application Support/Tessera Studio/Brushes/Charcoal.brush", .bytes = 288 * kKB},
    {.path = "~/Library/Application Support/Tessera Studio/Workspaces/Ann.workspace", .bytes = 20 * kKB},
    {.path = "~/Library/Caches/com.tessera.studio/tiles.cache", .bytes = 720 * kKB},
    {.path = "~/Library/Caches/com.tessera.studio/scratch.bin", .form = Form::sparse, .bytes = 12 * kGB},
    {.path = "~/Library/Preferences/com.tessera.studio.plist", .form = Form::settings, .bytes = 7 * kKB},
    // Harbor Suite uses its own name nowhere; only its receipt lists its files.
    {.path = "/Library/Audio/Plug-Ins/Components/Harbor Reverb.component/Contents/MacOS/Harbor Reverb",
     .bytes = 252 * kKB},
    {.path = "/Library/Audio/Plug-Ins/VST3/Harbor Reverb.vst3/Contents/MacOS/Harbor Reverb", .bytes = 228 * kKB},
    {.path = "/Library/Audio/Presets/HA/Reverb/Quay.aupreset", .bytes = 5 * kKB},
    // Fathom Backup: launchd jobs, a privileged tool, a daemon's data, uninstallers in and beside the app.
    {.path = "/Library/PrivilegedHelperTools/com.fathom.backup.helper", .form = Form::tool},
    {.path = "/Library/Application Support/Fathom Backup/catalog.db", .bytes = 174 * kKB},
    {.path = "~/Library/Application Support/Fathom Backup/plans.json", .bytes = 6 * kKB},
    {.path = "~/Library/Logs/Fathom Backup/backup.log", .bytes = 44 * kKB},
    {.path = "/Applications/Fathom/Fathom Backup.app/Contents/Resources/uninstall.sh", .form = Form::tool},
    {.path = "/Applications/Fathom/Fathom Backup.app/Contents/Resources/Remove plans.txt", .form = Form::text,
     .text = "not launchable\n"},
    {.path = "/Applications/Fathom/Fathom Backup.app/Contents/Resources/Uninstall Fathom.pkg", .bytes = 60 * kKB},
    {.path = "/Applications/Fathom/Fathom Backup.app/Contents/Helpers/Fathom Cleaner.app/Contents/MacOS/uninstall-inner",
     .form = Form::tool},
    {.path = "/Applications/Fathom/Fathom Backup Deinstaller.command", .form = Form::tool},
    {.path = "/Applications/Fathom/Disk Cleaner.command", .form = Form::tool},
    {.path = "/Applications/Fathom/Clean Up notes.txt", .form = Form::text, .text = "only a text\n"},
    // Other scripts and normalisation forms: the bundle name is composed, the folder name decomposed.
    {.path = "~/Library/Application Support/Cafe\u0301 Planner/tables.db", .bytes = 34 * kKB},
    {.path = "~/Library/Caches/CAF\u00C9-PLANNER/cache", .bytes = 12 * kKB},
    {.path = "~/Library/Application Support/\u65E5\u8A18\u5E33\u30A2\u30D7\u30EA/\u4E00\u6708.db", .bytes = 25 * kKB},
    {.path = "~/Library/Application Support/STRASSENKARTE/karte.db", .bytes = 81 * kKB},
    {.path = "~/Library/Containers/7C1D2E3F-1111-4222-8333-944455566677/Data/Documents/voyage.db", .bytes = 95 * kKB},
    {.path = "~/Library/Application Support/Pocket Ledger/ledger.sqlite", .bytes = 130 * kKB},
    {.path = "~/Library/Application Support/Quill & Ink/nibs.json", .bytes = 4 * kKB},
    {.path = "~/Library/Caches/com.quillink.quill/strokes", .bytes = 126 * kKB},
    {.path = "/Library/Caches/com.skiff.editor/shared", .bytes = 15 * kKB},
    {.path = "~/Library/Caches/com.skiff.editor/index", .bytes = 88 * kKB},
    {.path = "~/Library/Caches/com.beacon.radio/stations", .bytes = 55 * kKB},
    {.path = "~/Library/Saved Application State/com.beacon.radio.savedState/windows.plist", .form = Form::settings,
     .bytes = 3 * kKB},
    {.path = "~/Library/Containers/com.ferry.disk/Data/Library/Logs/copy.log", .bytes = 18 * kKB},
    {.path = "~/Library/WebKit/com.beacon.radio/LocalStorage/a.db", .bytes = 9 * kKB},
    {.path = "~/Library/Cookies/com.quillink.quill.binarycookies", .bytes = 1 * kKB},
});
// clang-format on
static_assert(kAppItems.size() == 97);

}  // namespace

std::span<const Item> appItems() { return kAppItems; }

}  // namespace quarn::sample

#include "quarn/sample/SampleApps.h"

#include <array>

namespace quarn::sample {
namespace {

// clang-format off
constexpr auto kApps = std::to_array<App>({
    // Invented vendors
    {.path = "/Applications/Lumen Notes.app", .identifier = "com.lumenworks.notes", .name = "Lumen Notes", .version = "3.2.1", .executable = "Lumen Notes", .signing = Signing::universal, .groups = "9KXQ2T7WBA.shared-store group.com.lumenworks.gone", .bytes = 468 * kKB},
    {.path = "/Applications/Example.app", .identifier = "com.example.App", .name = "Example", .version = "1.4"},
    {.path = "/Applications/ExampleX.app", .identifier = "com.example.AppX", .name = "ExampleX", .version = "10.0"},
    {.path = "/Applications/Kestrel.app", .identifier = "com.kestrelsoft.kestrel", .name = "Kestrel", .version = "2.9.3", .executable = "kestrel", .bytes = 186 * kKB},
    {.path = "/Applications/Kestrel Pro.app", .identifier = "com.kestrelsoft.kestrelpro", .name = "Kestrel Pro", .version = "2.9.3", .layout = Layout::binary, .signing = Signing::der, .groups = "K3STR3L000.kestrel", .bytes = 210 * kKB},
    {.path = "/Applications/Tessera Studio/Tessera Studio.app", .identifier = "com.tessera.studio", .name = "Tessera", .displayName = "Tessera Studio", .version = "12.1", .bytes = 1'140 * kKB},
    {.path = "/Applications/Fathom/Fathom Backup.app", .identifier = "com.fathom.backup", .name = "Fathom Backup", .version = "5.0", .bytes = 156 * kKB},
    {.path = "/Applications/Harbor Suite.app", .identifier = "com.harboraudio.suite", .name = "Harbor Suite", .version = "4.2", .bytes = 144 * kKB},
    {.path = "/Applications/Orbit Mail.app", .identifier = "com.orbitmail.client", .name = "Orbit Mail", .version = "0.9", .bytes = 126 * kKB},
    {.path = "/Applications/Quill & Ink.app", .identifier = "com.quillink.quill", .name = "Quill & Ink", .version = "7", .layout = Layout::binary, .bytes = 102 * kKB},
    {.path = "/Applications/Caf\u00E9 Planner.app", .identifier = "com.cafeplanner.mac", .name = "Caf\u00E9 Planner", .layout = Layout::binary},
    {.path = "/Applications/\u65E5\u8A18\u5E33\u30A2\u30D7\u30EA.app", .identifier = "jp.example.nikki", .name = "\u65E5\u8A18\u5E33\u30A2\u30D7\u30EA"},
    {.path = "/Applications/Stra\u00DFenkarte.app", .identifier = "de.example.karte", .name = "Stra\u00DFenkarte"},
    {.path = "/Applications/Memo.app", .name = "Memo"},
    {.path = "/Applications/My App.app", .name = "My App"},
    {.path = "/Applications/My App D.app", .name = "My App D"},
    {.path = "/Applications/Skyforge Tactics.app", .identifier = "com.brightforge.skyforge", .name = "Skyforge Tactics", .version = "1.0.7", .bytes = 564 * kKB},
    {.path = "/Applications/Skiff.app", .identifier = "com.skiff.editor", .name = "Skiff", .displayName = "Skiff Editor", .version = "0.42.0"},
    {.path = "/Applications/Beacon Radio.app", .identifier = "com.beacon.radio", .name = "Beacon Radio", .version = "2.2"},
    {.path = "/Applications/Utilities/Disk Ferry.app", .identifier = "com.ferry.disk", .name = "Disk Ferry", .signing = Signing::xml, .groups = "group.com.ferry.disk"},
    {.path = "/Applications/Paintbox/Micro-Soft Paint.app", .identifier = "org.paintbox.retro", .name = "Micro-Soft Paint"},
    {.path = "/Applications/One/Two/Three/Deep Three.app", .identifier = "com.example.deepthree", .name = "Deep Three"},
    {.path = "/Applications/Loud.APP", .identifier = "com.example.loud", .name = "Loud"},
    {.path = "/Applications/Red \x1B[31mHerring\x1B[0m.app", .identifier = "com.example.herring", .name = "Red \x1B[31mHerring\x1B[0m", .layout = Layout::binary},
    {.path = "/Applications/Voyage.app", .identifier = "com.voyageapp.phone", .name = "Voyage", .version = "8.1", .executable = "Voyage", .layout = Layout::wrapped, .bytes = 130 * kKB},
    {.path = "/Applications/Broken List.app", .identifier = "com.example.broken", .layout = Layout::brokenInfo},
    {.path = "/Applications/No List.app", .layout = Layout::withoutInfo},
    {.path = "/Applications/Old Days.app", .identifier = "com.olddays.classic", .name = "Old Days", .layout = Layout::resourcesInfo},
    {.path = "/Applications/Older Days.app", .identifier = "com.olddays.older", .name = "Older Days", .layout = Layout::supportInfo},
    {.path = "~/Applications/Pocket Ledger.app", .identifier = "com.pocketledger.mac", .name = "Pocket Ledger", .version = "1.1"},
    {.path = "~/Applications/Chrome Apps.localized/Web Clip.app", .identifier = "com.example.webclip", .name = "Web Clip"},
    // Well-known vendors
    {.path = "/Applications/Microsoft Word.app", .identifier = "com.microsoft.Word", .name = "Microsoft Word", .version = "16.90", .signing = Signing::xml, .groups = "UBF8T346G9.Office UBF8T346G9.ms UBF8T346G9.OfficeOsfWebHost", .bytes = 372 * kKB},
    {.path = "/Applications/Microsoft Outlook.app", .identifier = "com.microsoft.Outlook", .name = "Microsoft Outlook", .version = "16.90", .signing = Signing::xml, .groups = "UBF8T346G9.Office UBF8T346G9.ms", .bytes = 384 * kKB},
    {.path = "/Applications/Microsoft Teams.app", .identifier = "com.microsoft.teams2", .name = "Microsoft Teams", .version = "25.1", .signing = Signing::xml, .groups = "UBF8T346G9.com.microsoft.teams", .bytes = 246 * kKB},
    {.path = "/Applications/OneDrive.app", .identifier = "com.microsoft.OneDrive", .name = "OneDrive", .version = "25.2", .bytes = 180 * kKB},
    {.path = "/Applications/Adobe Photoshop 2026/Adobe Photoshop 2026.app", .identifier = "com.adobe.Photoshop", .name = "Photoshop", .displayName = "Adobe Photoshop 2026", .version = "27.0", .bytes = 840 * kKB},
    {.path = "/Applications/Slack.app", .identifier = "com.tinyspeck.slackmacgap", .name = "Slack", .version = "4.43", .signing = Signing::xml, .groups = "group.com.tinyspeck.slackmacgap", .bytes = 198 * kKB},
    {.path = "/Applications/Docker.app", .identifier = "com.docker.docker", .name = "Docker", .version = "4.40", .layout = Layout::binary, .signing = Signing::xml, .groups = "group.com.docker", .bytes = 288 * kKB},
    {.path = "/Applications/IntelliJ IDEA.app", .identifier = "com.jetbrains.intellij", .name = "IntelliJ IDEA", .version = "2026.1", .bytes = 336 * kKB},
    {.path = "/Applications/Visual Studio Code.app", .identifier = "com.microsoft.VSCode", .name = "Code", .displayName = "Visual Studio Code", .version = "1.101", .bytes = 258 * kKB},
    {.path = "/Applications/Steam.app", .identifier = "com.valvesoftware.steam", .name = "Steam", .version = "4.0", .bytes = 90 * kKB},
    {.path = "/Applications/Firefox.app", .identifier = "org.mozilla.firefox", .name = "Firefox", .version = "146.0", .bytes = 228 * kKB},
    {.path = "/Applications/Thunderbird.app", .identifier = "org.mozilla.thunderbird", .name = "Thunderbird", .version = "146.0", .bytes = 204 * kKB},
    {.path = "/Applications/Spotify.app", .identifier = "com.spotify.client", .name = "Spotify", .version = "1.2", .bytes = 174 * kKB},
    {.path = "/Applications/zoom.us.app", .identifier = "us.zoom.xos", .name = "zoom.us", .displayName = "Zoom Workplace", .version = "6.4", .bytes = 162 * kKB},
    {.path = "/Applications/VirtualBox.app", .identifier = "org.virtualbox.app.VirtualBox", .name = "VirtualBox", .version = "7.1", .bytes = 186 * kKB},
    {.path = "/Applications/Dropbox.app", .identifier = "com.getdropbox.dropbox", .name = "Dropbox", .version = "220.4", .bytes = 150 * kKB},
    // Part of macOS
    {.path = "/System/Applications/Mail.app", .identifier = "com.apple.mail", .name = "Mail", .version = "16.0", .layout = Layout::binary, .signing = Signing::xml, .groups = "group.com.apple.mail"},
    {.path = "/System/Applications/Notes.app", .identifier = "com.apple.Notes", .name = "Notes", .version = "4.12", .layout = Layout::binary},
    {.path = "/System/Applications/Photos.app", .identifier = "com.apple.Photos", .name = "Photos", .version = "11.0", .layout = Layout::binary},
    {.path = "/System/Applications/Messages.app", .identifier = "com.apple.MobileSMS", .name = "Messages", .version = "14.0", .layout = Layout::binary},
    {.path = "/System/Applications/Utilities/Terminal.app", .identifier = "com.apple.Terminal", .name = "Terminal", .version = "2.15"},
    {.path = "/System/Library/CoreServices/Applications/Archive Utility.app", .identifier = "com.apple.archiveutility", .name = "Archive Utility"},
    {.path = "/System/Cryptexes/App/System/Applications/Safari.app", .identifier = "com.apple.Safari", .name = "Safari", .version = "26.2", .layout = Layout::binary},
    // Not discovered: a folder too deep, and another user's app
    {.path = "/Applications/One/Two/Three/Four/Deep Four.app", .identifier = "com.example.deepfour", .name = "Deep Four"},
    {.path = "/Users/bob/Applications/Bob Tool.app", .identifier = "com.example.bobtool", .name = "Bob Tool"},
});
// clang-format on
static_assert(kApps.size() == 56);

}  // namespace

std::span<const App> apps() { return kApps; }

}  // namespace quarn::sample

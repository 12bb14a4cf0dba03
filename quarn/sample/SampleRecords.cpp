#include "quarn/sample/SampleRecords.h"

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {
namespace {

constexpr std::string_view kReceipts = "/private/var/db/receipts";

// clang-format off
constexpr auto kJobs = std::to_array<Job>({
    // Linked to their apps by the label, the program, or an argument in other letter case.
    {.path = "~/Library/LaunchAgents/com.lumenworks.notes.agent.plist", .label = "com.lumenworks.notes.agent",
     .program = "/Applications/Lumen Notes.app/Contents/MacOS/Lumen Notes"},
    {.path = "~/Library/LaunchAgents/daily.plist", .label = "org.updates.daily",
     .program = "/Users/ann/Library/Application Support/com.example.app/updater",
     .arguments = {"updater", "--quiet"}},
    {.path = "~/Library/LaunchAgents/ink.plist", .label = "org.ink.sync",
     .arguments = {"/bin/sh", "-c", "exec /opt/COM.QUILLINK.QUILL/sync"}, .format = PlistFormat::binary},
    {.path = "/Library/LaunchAgents/com.fathom.backup.menu.plist", .label = "com.fathom.backup.menu",
     .program = "/Applications/Fathom/Fathom Backup.app/Contents/MacOS/Fathom Backup"},
    {.path = "/Library/LaunchAgents/com.kestrelsoft.kestrelpro.tray.plist",
     .label = "com.kestrelsoft.kestrelpro.tray",
     .program = "/Applications/Kestrel Pro.app/Contents/MacOS/Kestrel Pro"},
    {.path = "/Library/LaunchDaemons/com.fathom.backup.helper.plist", .label = "com.fathom.backup.helper",
     .program = "/Library/PrivilegedHelperTools/com.fathom.backup.helper"},
    {.path = "/Library/LaunchDaemons/com.microsoft.autoupdate.helper.plist",
     .label = "com.microsoft.autoupdate.helper",
     .program = "/Library/PrivilegedHelperTools/com.microsoft.autoupdate.helper"},
    {.path = "/Library/LaunchDaemons/org.virtualbox.startup.plist", .label = "org.virtualbox.startup",
     .arguments = {"/Library/Application Support/VirtualBox/LaunchDaemons/VirtualBoxStartup.sh", "restart"}},
    {.path = "/System/Library/LaunchAgents/com.apple.mail.agent.plist", .label = "com.apple.mail.agent",
     .program = "/System/Applications/Mail.app/Contents/MacOS/Mail", .format = PlistFormat::binary},
    {.path = "/System/Library/LaunchDaemons/com.apple.syslogd.plist", .label = "com.apple.syslogd",
     .program = "/usr/sbin/syslogd"},
    // Belongs to no app on this volume.
    {.path = "/Library/LaunchDaemons/org.unrelated.plist", .label = "org.unrelated", .program = "/usr/local/bin/skiff"},
});

constexpr auto kReceiptRows = std::to_array<Receipt>({
    {.folder = kReceipts, .packageIdentifier = "com.harboraudio.suite.pkg", .version = "4.2", .prefix = "/",
     .files = "Library/Audio/Plug-Ins/Components/Harbor Reverb.component/Contents/MacOS/Harbor Reverb\n"
              "Library/Audio/Plug-Ins/VST3/Harbor Reverb.vst3/Contents/MacOS/Harbor Reverb\n"
              "Library/Audio/Presets/HA/Reverb/Quay.aupreset"},
    {.folder = kReceipts, .packageIdentifier = "com.tessera.everything", .version = "12.1", .prefix = "/",
     .files = "Applications/Tessera Studio/Tessera Studio.app/Contents/Info.plist\n"
              "Applications/Tessera Studio/Read Me.rtf\n"
              "Library/Application Support/Tessera Studio/Brushes/Charcoal.brush\n"
              "Library/Extensions/TesseraAudio.kext/Contents/Info.plist\n"
              "Library/Extensions/TesseraAudio.kext/Contents/MacOS/TesseraAudio"},
    {.folder = kReceipts, .packageIdentifier = "com.fathom.backup", .version = "5.0", .prefix = "Applications/Fathom",
     .files = "Fathom Backup.app/Contents/Info.plist", .format = PlistFormat::binary},
    {.folder = kReceipts, .packageIdentifier = "com.fathom.backupextras", .version = "5.0", .prefix = "Library",
     .files = "Application Support/Other/extra.db"},
    {.folder = kReceipts, .packageIdentifier = "com.microsoft.package.Microsoft_Word.app", .version = "16.90",
     .prefix = "Applications",
     .files = "Microsoft Word.app/Contents/Info.plist\nMicrosoft Word.app/Contents/MacOS/Microsoft Word", .format = PlistFormat::binary},
    {.folder = kReceipts, .packageIdentifier = "org.virtualbox.pkg.vboxkexts", .version = "7.1",
     .prefix = "Library/Extensions",
     .files = "VBoxDrv.kext/Contents/Info.plist\nVBoxNetFlt.kext/Contents/Info.plist"},
    {.folder = kReceipts, .packageIdentifier = "com.kestrelsoft.kestrel.maps", .hasBill = false},
    {.folder = "/Library/Apple/System/Library/Receipts", .packageIdentifier = "com.apple.pkg.CoreTypes",
     .version = "26.2.0", .prefix = "/",
     .files = "System/Library/CoreServices/SystemVersion.plist", .format = PlistFormat::binary},
    {.folder = "/Library/Receipts", .packageIdentifier = "com.olddays.classic", .prefix = "Applications",
     .files = "Old Days.app/Resources/Info.plist"},
});

constexpr auto kKernelExtensions = std::to_array<KernelExtension>({
    {.path = "/Library/Extensions/TesseraAudio.kext", .identifier = "com.tessera.driver.audio",
     .name = "Tessera Audio", .bytes = 120 * kKB},
    {.path = "/Library/Extensions/TesseraAudio.kext/Contents/PlugIns/TesseraUSB.kext",
     .identifier = "com.tessera.driver.usb", .name = "Tessera USB", .bytes = 40 * kKB},
    {.path = "/Library/Extensions/VBoxDrv.kext", .identifier = "org.virtualbox.kext.VBoxDrv", .name = "VBoxDrv",
     .bytes = 126 * kKB},
    {.path = "/Library/Extensions/VBoxNetFlt.kext", .identifier = "org.virtualbox.kext.VBoxNetFlt",
     .name = "VBoxNetFlt", .bytes = 90 * kKB},
    {.path = "/Library/Extensions/Orphan.kext", .bytes = 20 * kKB},
    {.path = "/Library/Extensions/Borrowed.kext", .identifier = "com.apple.borrowed", .name = "Borrowed",
     .bytes = 10 * kKB},
    {.path = "/System/Library/Extensions/AppleHDA.kext", .identifier = "com.apple.driver.AppleHDA",
     .name = "AppleHDA", .bytes = 108 * kKB},
    {.path = "/System/Library/Extensions/IOUSBFamily.kext", .identifier = "com.apple.iokit.IOUSBFamily",
     .name = "IOUSBFamily", .bytes = 130 * kKB},
});
// clang-format on
static_assert(kJobs.size() == 11);
static_assert(kReceiptRows.size() == 9);
static_assert(kKernelExtensions.size() == 8);

}  // namespace

std::span<const Job> jobs() { return kJobs; }
std::span<const Receipt> receipts() { return kReceiptRows; }
std::span<const KernelExtension> kernelExtensions() { return kKernelExtensions; }

}  // namespace quarn::sample

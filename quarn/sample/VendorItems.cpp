#include <array>

#include "quarn/sample/SampleItems.h"

namespace quarn::sample {
namespace {

// clang-format off
constexpr auto kVendorItems = std::to_array<Item>({
    // Microsoft
    {.path = "~/Library/Application Support/Microsoft/Office/settings.json", .bytes = 12 * kKB},
    {.path = "~/Library/Application Support/Microsoft/Teams/IndexedDB/chat.db", .bytes = 198 * kKB},
    {.path = "~/Library/Application Support/Microsoft/Teams/Cache/f_0001", .bytes = 144 * kKB},
    {.path = "~/Library/Group Containers/UBF8T346G9.Office/MicrosoftRegistrationDB.reg", .bytes = 90 * kKB},
    {.path = "~/Library/Group Containers/UBF8T346G9.Office/Outlook/Outlook 15 Profiles/Main Profile/Data/Outlook.sqlite",
     .bytes = 1'020 * kKB},
    {.path = "~/Library/Group Containers/UBF8T346G9.Office/Outlook/Outlook 15 Profiles/Main Profile/Archive.olm",
     .form = Form::sparse, .bytes = 9 * kGB},
    {.path = "~/Library/Group Containers/UBF8T346G9.ms/token.db", .bytes = 21 * kKB},
    {.path = "~/Library/Group Containers/UBF8T346G9.OfficeOsfWebHost/addins.json", .bytes = 8 * kKB},
    {.path = "~/Library/Group Containers/UBF8T346G9.com.microsoft.teams/store.db", .bytes = 75 * kKB},
    {.path = "~/Library/Group Containers/group.com.microsoft.teams/shared.db", .bytes = 14 * kKB},
    {.path = "~/Library/Caches/com.microsoft.teams/Cache.db", .bytes = 114 * kKB},
    {.path = "~/Library/Containers/com.microsoft.teams/Data/tmp/log.txt", .bytes = 4 * kKB},
    {.path = "~/Library/Containers/com.microsoft.teams2/Data/Library/Application Support/store.db", .bytes = 156 * kKB},
    {.path = "~/Library/Containers/com.microsoft.Word/Data/Library/Preferences/com.microsoft.Word.plist",
     .form = Form::settings, .bytes = 6 * kKB},
    {.path = "~/Library/Containers/com.microsoft.Outlook/Data/Library/Caches/images.db", .bytes = 90 * kKB},
    {.path = "~/Library/Caches/com.microsoft.Outlook/blob", .bytes = 110 * kKB},
    {.path = "~/Library/Preferences/com.microsoft.Word.plist", .form = Form::settings, .bytes = 9 * kKB},
    {.path = "~/Library/Application Support/OneDrive/settings/Personal/global.ini", .bytes = 3 * kKB},
    {.path = "~/Library/CloudStorage/OneDrive-Personal/Pictures/boat.jpg", .bytes = 102 * kKB},
    {.path = "~/Library/CloudStorage/OneDrive-Personal/Archive.zip", .form = Form::sparse, .bytes = 3 * kGB},
    {.path = "~/Library/CloudStorage/OneDrive-Contoso/Minutes.docx", .bytes = 28 * kKB},
    {.path = "~/Library/CloudStorage/.onedrive-temp/part", .bytes = 2 * kKB},
    {.path = "~/Library/CloudStorage/OneDrive readme.txt", .form = Form::text, .text = "a file, not a sync folder\n"},
    {.path = "~/Library/CloudStorage/OneDrive link", .form = Form::link, .text = "OneDrive-Personal"},
    {.path = "/Volumes/.ODContainer-OneDrive/container.db", .bytes = 32 * kKB},
    {.path = "/Volumes/.ODContainer file", .form = Form::text, .text = "no folder\n"},
    {.path = "/Library/Preferences/com.microsoft.office.licensingV2.plist", .form = Form::settings, .bytes = 2 * kKB},
    {.path = "/Library/PrivilegedHelperTools/com.microsoft.autoupdate.helper", .form = Form::tool},
    // Adobe
    {.path = "~/Library/Application Support/Adobe/Common/Media Cache/clip.cfa", .bytes = 192 * kKB},
    {.path = "~/Library/Application Support/Adobe/Adobe Photoshop 2026/Workspace.psw", .bytes = 15 * kKB},
    {.path = "~/Library/Caches/Adobe/Photoshop/scratch", .bytes = 288 * kKB},
    {.path = "/Library/Application Support/Adobe/OOBE/PDApp/core.db", .bytes = 130 * kKB},
    {.path = "/Library/Application Support/Adobe/Uninstall/photoshop.xml", .bytes = 4 * kKB},
    {.path = "~/Library/Preferences/Adobe Photoshop 2026 Settings/Color.psp", .bytes = 5 * kKB},
    {.path = "~/Library/Preferences/com.adobe.Photoshop.plist", .form = Form::settings, .bytes = 6 * kKB},
    // Mail and messages
    {.path = "~/Library/Mail/V10/MailData/Envelope Index", .bytes = 492 * kKB},
    {.path = "~/Library/Mail/V10/1A2B/Inbox.mbox/Messages/1.emlx", .bytes = 31 * kKB},
    {.path = "~/Library/Mail/V10/1A2B/Inbox.mbox/Messages/2.emlx", .bytes = 17 * kKB},
    {.path = "~/Library/Containers/com.apple.mail/Data/Library/Caches/previews.db", .bytes = 120 * kKB},
    {.path = "~/Library/Containers/com.apple.mail/Data/Library/Mail Downloads/Ticket.pdf", .bytes = 84 * kKB},
    {.path = "~/Library/Group Containers/group.com.apple.mail/state.db", .bytes = 10 * kKB},
    {.path = "~/Library/Messages/chat.db", .bytes = 384 * kKB},
    {.path = "~/Library/Messages/Attachments/0a/10/photo.heic", .bytes = 246 * kKB},
    {.path = "~/Library/Containers/com.apple.iChat/Data/Library/Preferences/com.apple.iChat.plist",
     .form = Form::settings, .bytes = 3 * kKB},
    {.path = "~/Library/Group Containers/group.com.apple.messages/state.db", .bytes = 7 * kKB},
    {.path = "~/Library/Thunderbird/Profiles/a1b2.default/global-messages-db.sqlite", .bytes = 306 * kKB},
    {.path = "~/Library/Application Support/Thunderbird/crashes/log", .bytes = 2 * kKB},
    {.path = "~/Library/Caches/Thunderbird/Profiles/a1b2.default/cache2/entries/1", .bytes = 140 * kKB},
    {.path = "~/Library/Containers/org.mozilla.thunderbird/Data/empty"},
    {.path = "~/Library/Caches/com.orbitmail.client/threads.db", .bytes = 95 * kKB},
    // Chat
    {.path = "~/Library/Application Support/Slack/IndexedDB/db", .bytes = 252 * kKB},
    {.path = "~/Library/Application Support/Slack/Cache/f_0001", .bytes = 126 * kKB},
    {.path = "~/Library/Containers/com.tinyspeck.slackmacgap/Data/Library/Application Support/Slack/storage.db",
     .bytes = 120 * kKB},
    {.path = "~/Library/Group Containers/group.com.tinyspeck.slackmacgap/share.db", .bytes = 9 * kKB},
    {.path = "~/Library/Logs/Slack/main.log", .bytes = 26 * kKB},
    {.path = "~/Library/Application Support/WhatsApp/IndexedDB/db", .bytes = 90 * kKB},
    {.path = "~/Library/Containers/com.whatsapp.WhatsApp/Data/a.db", .bytes = 22 * kKB},
    {.path = "~/Library/Containers/WhatsApp/Data/a.db", .bytes = 18 * kKB},
    {.path = "~/Library/Application Support/Signal/sql/db.sqlite", .bytes = 228 * kKB},
    {.path = "~/Library/Containers/org.whispersystems.Signal/Data/a.db", .bytes = 6 * kKB},
    {.path = "~/Library/Application Support/Telegram Desktop/tdata/data", .bytes = 174 * kKB},
    {.path = "~/Library/Containers/ru.keepcoder.Telegram/Data/a.db", .bytes = 11 * kKB},
    {.path = "~/Library/Application Support/Discord/Cache/f_0001", .bytes = 138 * kKB},
    {.path = "~/Library/Application Support/zoom.us/data/meetings.db", .bytes = 70 * kKB},
    {.path = "~/Library/Logs/zoom.us/zoom.log", .bytes = 13 * kKB},
    // Browsers, music, passwords, drives
    {.path = "~/Library/Application Support/Firefox/Profiles/x9.default/places.sqlite", .bytes = 366 * kKB},
    {.path = "~/Library/Caches/Firefox/Profiles/x9.default/cache2/entries/1", .bytes = 282 * kKB},
    {.path = "~/Library/Safari/History.db", .bytes = 180 * kKB},
    {.path = "~/Library/Application Support/Spotify/Users/ann/recent.json", .bytes = 5 * kKB},
    {.path = "~/Library/Caches/com.spotify.client/Data/1", .bytes = 414 * kKB},
    {.path = "~/Library/Application Support/Dropbox/info.json", .bytes = 1 * kKB},
    {.path = "~/Library/Application Support/Google/DriveFS/metadata.sqlite", .bytes = 96 * kKB},
    {.path = "~/Library/Application Support/MobileSync/Backup/00008110-000A/Manifest.db", .bytes = 210 * kKB},
    {.path = "~/Library/Application Support/MobileSync/Backup/00008110-000A/0f/0f00", .form = Form::sparse,
     .bytes = 14 * kGB},
    // Virtual machines
    {.path = "~/VirtualBox VMs/Debian/Debian.vbox", .bytes = 9 * kKB},
    {.path = "~/VirtualBox VMs/Debian/Debian.vdi", .form = Form::sparse, .bytes = 40 * kGB},
    {.path = "~/Library/VirtualBox/VirtualBox.xml", .bytes = 4 * kKB},
});
// clang-format on
static_assert(kVendorItems.size() == 77);

}  // namespace

std::span<const Item> vendorItems() { return kVendorItems; }

}  // namespace quarn::sample

#include "QuarnCore/ownership/OwnershipPlaces.h"

#include <algorithm>
#include <array>
#include <string>

#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Risk = RiskLevel;
using Naming = EntryNaming;

// clang-format off
constexpr std::array kPlaces{
    OwnershipPlace{.name = "Application Support", .folder = "Library/Application Support", .hasVendorFolders = true,
                   .kind = Kind::applicationSupport, .dataClass = Class::userData, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Updater Caches", .folder = "Library/Application Support/Caches",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Preferences", .folder = "Library/Preferences", .hasVendorFolders = true,
                   .kind = Kind::preferences, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Preferences (ByHost)", .folder = "Library/Preferences/ByHost",
                   .kind = Kind::preferences, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Caches", .folder = "Library/Caches", .hasVendorFolders = true,
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Help Caches", .folder = "Library/Caches/com.apple.helpd/Generated",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Containers", .folder = "Library/Containers",
                   .kind = Kind::container, .dataClass = Class::userData, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Daemon Containers", .folder = "Library/Daemon Containers", .naming = Naming::identifierOnly,
                   .kind = Kind::container, .dataClass = Class::userData, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Group Containers", .folder = "Library/Group Containers",
                   .kind = Kind::groupContainer, .dataClass = Class::shared, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Application Scripts", .folder = "Library/Application Scripts",
                   .kind = Kind::container, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Saved Application State", .folder = "Library/Saved Application State",
                   .kind = Kind::savedState, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "HTTPStorages", .folder = "Library/HTTPStorages",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "WebKit", .folder = "Library/WebKit",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Cookies", .folder = "Library/Cookies",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Logs", .folder = "Library/Logs", .hasVendorFolders = true,
                   .kind = Kind::logs, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Diagnostic Reports", .folder = "Library/Logs/DiagnosticReports",
                   .kind = Kind::logs, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Crash Reporter", .folder = "Library/Logs/CrashReporter",
                   .kind = Kind::logs, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Crash Reporter Data", .folder = "Library/Application Support/CrashReporter",
                   .kind = Kind::logs, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Crash Reporter Caches", .folder = "Library/Caches/com.plausiblelabs.crashreporter.data",
                   .naming = Naming::identifierOnly,
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Crashlytics Caches", .folder = "Library/Caches/com.crashlytics.data",
                   .naming = Naming::identifierOnly,
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Crash Caches", .folder = "Library/Caches/com.crashlytics",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Sentry Caches", .folder = "Library/Caches/SentryCrash",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Crash Dumps", .folder = "Library/Caches/KSCrash",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Downloads in Progress", .folder = "Library/Caches/com.apple.nsurlsessiond/Downloads",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Help Indexes",
                   .folder = "Library/Caches/com.apple.helpd/SDMHelpData/Other/English/HelpSDMIndexFile",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Fabric Caches", .folder = "Library/Caches/io.fabric.sdk.mac.data",
                   .naming = Naming::identifierOnly,
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Launch Agents", .folder = "Library/LaunchAgents",
                   .kind = Kind::launchAgent, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Synced Preferences", .folder = "Library/SyncedPreferences",
                   .kind = Kind::preferences, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Autosave Information", .folder = "Library/Autosave Information",
                   .kind = Kind::savedState, .dataClass = Class::userData, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Recent Documents", .folder = "Library/Application Support/com.apple.sharedfilelist/com.apple.LSSharedFileList.ApplicationRecentDocuments",
                   .kind = Kind::preferences, .dataClass = Class::configuration, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "iCloud Documents", .folder = "Library/Mobile Documents", .naming = Naming::identifierOnly,
                   .kind = Kind::container, .dataClass = Class::syncRestorable, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "iCloud Sessions", .folder = "Library/Application Support/CloudDocs/session/containers",
                   .naming = Naming::identifierOnly,
                   .kind = Kind::cache, .dataClass = Class::syncRestorable, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Internet Plug-Ins", .folder = "Library/Internet Plug-Ins",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Services", .folder = "Library/Services",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Input Methods", .folder = "Library/Input Methods",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Preference Panes", .folder = "Library/PreferencePanes",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Quick Look", .folder = "Library/QuickLook",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Screen Savers", .folder = "Library/Screen Savers",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Audio Components", .folder = "Library/Audio/Plug-Ins/Components",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Audio VST", .folder = "Library/Audio/Plug-Ins/VST",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Audio VST3", .folder = "Library/Audio/Plug-Ins/VST3",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Library", .folder = "Library", .naming = Naming::plain, .hasVendorFolders = true,
                   .kind = Kind::applicationSupport, .dataClass = Class::userData, .riskLevel = Risk::danger},
    OwnershipPlace{.name = ".config", .folder = ".config",
                   .kind = Kind::preferences, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = ".cache", .folder = ".cache",
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = ".local/share", .folder = ".local/share",
                   .kind = Kind::applicationSupport, .dataClass = Class::userData, .riskLevel = Risk::caution},
    OwnershipPlace{.name = ".local/state", .folder = ".local/state",
                   .kind = Kind::applicationSupport, .dataClass = Class::userData, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Hidden files of the home folder", .folder = "", .naming = Naming::dotted,
                   .kind = Kind::applicationSupport, .dataClass = Class::userData, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Home folder", .folder = "", .naming = Naming::plain,
                   .kind = Kind::unknown, .dataClass = Class::userData, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Documents", .folder = "Documents", .naming = Naming::plain,
                   .kind = Kind::unknown, .dataClass = Class::userData, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Music", .folder = "Music", .naming = Naming::plain,
                   .kind = Kind::unknown, .dataClass = Class::userData, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Shared", .folder = "/Users/Shared", .hasVendorFolders = true,
                   .kind = Kind::applicationSupport, .dataClass = Class::shared, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Application Support (System)", .folder = "/Library/Application Support",
                   .hasVendorFolders = true,
                   .kind = Kind::applicationSupport, .dataClass = Class::shared, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Preferences (System)", .folder = "/Library/Preferences", .hasVendorFolders = true,
                   .kind = Kind::preferences, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Caches (System)", .folder = "/Library/Caches", .hasVendorFolders = true,
                   .kind = Kind::cache, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Logs (System)", .folder = "/Library/Logs", .hasVendorFolders = true,
                   .kind = Kind::logs, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Diagnostic Reports (System)", .folder = "/Library/Logs/DiagnosticReports",
                   .kind = Kind::logs, .dataClass = Class::rebuildable, .riskLevel = Risk::safe},
    OwnershipPlace{.name = "Launch Agents (System)", .folder = "/Library/LaunchAgents",
                   .kind = Kind::launchAgent, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Launch Daemons", .folder = "/Library/LaunchDaemons",
                   .kind = Kind::launchDaemon, .dataClass = Class::configuration, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Privileged Helper Tools", .folder = "/Library/PrivilegedHelperTools",
                   .kind = Kind::launchDaemon, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Internet Plug-Ins (System)", .folder = "/Library/Internet Plug-Ins",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Services (System)", .folder = "/Library/Services",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Input Methods (System)", .folder = "/Library/Input Methods",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Preference Panes (System)", .folder = "/Library/PreferencePanes",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Quick Look (System)", .folder = "/Library/QuickLook",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Screen Savers (System)", .folder = "/Library/Screen Savers",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Audio Components (System)", .folder = "/Library/Audio/Plug-Ins/Components",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Audio VST (System)", .folder = "/Library/Audio/Plug-Ins/VST",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Audio VST3 (System)", .folder = "/Library/Audio/Plug-Ins/VST3",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Audio Drivers", .folder = "/Library/Audio/Plug-Ins/HAL",
                   .kind = Kind::unknown, .dataClass = Class::app, .riskLevel = Risk::caution},
    OwnershipPlace{.name = "Kernel Extensions", .folder = "/Library/Extensions",
                   .kind = Kind::kernelExtension, .dataClass = Class::configuration, .riskLevel = Risk::danger},
    OwnershipPlace{.name = "Library (System)", .folder = "/Library", .naming = Naming::plain, .hasVendorFolders = true,
                   .kind = Kind::applicationSupport, .dataClass = Class::shared, .riskLevel = Risk::danger},
};
// clang-format on
static_assert(kPlaces.size() == 71);

// Folders that all apps share and that are not places, with their parent folders.
struct SharedParents {
  std::string_view folder;
  std::string_view names;  ///< in lower case, each between two bars
};
// clang-format off
constexpr std::array kSharedParents{
    SharedParents{.folder = "", .names =
        "|.aws|.azure|.bundle|.cache|.cargo|.config|.docker|.gem|.gnupg|.kube|.local|.m2|.npm|.nvm|.oracle_jre_usage|"
        ".ssh|.trash|.vim|.zsh_sessions|"
        "applications|desktop|documents|downloads|icloud drive (archive)|library|movies|music|pictures|public|sites|"},
    SharedParents{.folder = "Library/Application Support", .names =
        "|clouddocs|crashreporter|com.apple.sharedfilelist|"},
    SharedParents{.folder = "Library/Caches", .names = "|com.apple.helpd|com.crashlytics|com.crashlytics.data|"
                                                       "com.plausiblelabs.crashreporter.data|io.fabric.sdk.mac.data|"},
    SharedParents{.folder = "Library/Preferences", .names = "|byhost|"},
    SharedParents{.folder = "Library/Logs", .names = "|crashreporter|diagnosticreports|"},
    SharedParents{.folder = "/Library/Application Support", .names = "|crashreporter|"},
    SharedParents{.folder = "/Library/Logs", .names = "|crashreporter|diagnosticreports|"},
};
static_assert(kSharedParents.size() == 7);

// The entries of a new Mac, besides identifiers of com.apple.
struct SystemEntries {
  std::string_view folder;
  std::string_view names;
};
constexpr std::string_view kLibraryNames =
    "|accessibility|accounts|address book plug-ins|analytics|apple|appledatadevicehistory|appleintelligence|"
    "applemediaservices|application scripts|application support|"
    "appstore|assistant|assistants|audio|autosave information|automator|biome|bluetooth|bundles|caches|calendars|"
    "callservices|catacomb|"
    "cloudstorage|colorpickers|colors|colorsync|com.apple.aiml.instrumentation|com.apple.appleaccountd|"
    "com.apple.bluetooth.services.cloud|"
    "com.apple.bluetoothuser|com.apple.icloud.searchpartyd|com.apple.internal.ck|components|compositions|"
    "containermanager|containers|contacts|contextual menu items|"
    "cookies|coredata|corefollowup|coreanalytics|coremediaio|daemon containers|dataaccess|datadeliveryservices|"
    "desktop pictures|developer|dictionaries|directoryservices|documentation|"
    "donotdisturb|driverextensions|duetexpertcenter|extensions|family|familycircle|favorites|feedbackassistant|"
    "filesystems|financekit|findmy|fontcollections|fonts|frameworks|"
    "frontboard|fonts disabled|gamekit|graphics|group containers|homekit|httpstorages|identityservices|image capture|"
    "input methods|intelligenceflow|intelligenceplatform|internet plug-ins|"
    "itunes|java|keyboard layouts|keyboard|keyboardservices|keychains|languagemodeling|launchagents|launchdaemons|"
    "lexicons|library|lockdownmode|logs|mail|managed installs|messages|metadata|"
    "metrickit|mobile documents|modem scripts|mobiledevice|news|nameandphoto|networkserviceproxy|opendirectory|"
    "osanalytics|passes|passkit|pdf services|perl|personalizationportrait|phonetic|photos|"
    "pointerui|preferencepanes|preferences|printers|privatecloudcompute|privilegedhelpertools|"
    "privileged helper tools|proactiveapprefs|python|quicklook|quicktime|receipts|reminders|responsekit|ruby|"
    "safari|safarisafebrowsing|saved application state|savedsearches|screen recordings|screen savers|screensavers|"
    "screentime|scripting|scriptingadditions|scripts|security|services|sharing|shortcuts|sounds|"
    "speech|spelling|spotlight|staged extensions|stagedextensions|statuskit|staging|stickers|studentd|suggestions|"
    "syncedpreferences|syncservices|system|systemextensions|systemmigration|systemprofiler|"
    "templatemigration|textinput|translation|triald|trial|tvos|ultra|unifiedassetframework|updates|user pictures|"
    "user template|usernotifications|vcpencoder|video|virtualization|voicetrigger|voices|weather|webkit|webserver|"
    "widgets|"
    "workflows|";
constexpr std::array kSystemEntries{
    SystemEntries{.folder = "Library", .names = kLibraryNames},
    SystemEntries{.folder = "/Library", .names = kLibraryNames},
    SystemEntries{.folder = "Library/Application Support", .names =
        "|addressbook|accessibility|animoji|app store|apple|appplaceholdersyncd|appplaceholderssyncd|baseband|"
        "btserver|callhistorydb|callhistorytransactions|clouddocs|cloudkit|"
        "contextstoreagent|contactsd|controlcenter|coreparsec|coredata|crashreporter|default.store|"
        "differentialprivacy|diskimages|dock|donotdisturbd|facetime|familysettings|fileprovider|finder|"
        "geoservices|homeenergyd|icdd|icloud|identityservicesd|ilifemediabrowser|imessage|jetpackcache|knowledge|"
        "livefs|locationaccessstored|maps|mobilesync|music|networkserviceproxy|"
        "notificationcenter|passkit|photos|photosearch|privatecloudcomputed|quick look|remindd|screensaver|sharing|"
        "siri|sirireferenceresolution|spotlight|stickersd|stocks|"
        "syncservices|tipsd|tips|transparencyd|translation|translationd|triald|videosubscriptionsd|virtualization|"
        "weather|"},
    SystemEntries{.folder = "/Library/Application Support", .names =
        "|apple|appstore|btserver|content caching|coremediaio|crashreporter|directoryservice|garageband|icdd|icloud|"
        "ilifemediabrowser|itunes|logic|mobilesync|"
        "pdf services|pcsc|script editor|security|securityagent|sirireferenceresolution|tipsd|videosubscriptions|"},
    SystemEntries{.folder = "Library/Preferences", .names =
        "|.globalpreferences.plist|.globalpreferences_m.plist|contextstoreagent.plist|diagnostics_agent.plist|"
        "familycircled.plist|"
        "icloudmailagent.plist|knowledge-agent.plist|loginwindow.plist|mbhelper.plist|mobilemeaccounts.plist|pbs.plist|"
        "scopedbookmarkagent.plist|siri|siriknowledged.plist|systemuiserver.plist|systemsettings.plist|"
        "universalaccessauthwarning.plist|"},
    SystemEntries{.folder = "/Library/Preferences", .names =
        "|.globalpreferences.plist|audio|directoryservice|loginwindow.plist|logging|opendirectory|securityagent|"
        "systemconfiguration|xsan|"},
    SystemEntries{.folder = "Library/Caches", .names =
        "|.ds_store|ask.permission.ui|cloudkit|familycircle|gamekit|geoservices|knowledge|locationd|metadata|passkit|"
        "photoanalysisd|privatebrowsing|tipsd|tmp|tts|"},
    SystemEntries{.folder = "/Library/Caches", .names = "|colorsync|tmp|"},
    SystemEntries{.folder = "Library/Logs", .names =
        "|accessibility|assistant|coresimulator|crashreporter|diagnosticreports|discrecording.log|diskutility.log|"
        "fsck_hfs.log|garageband|photos|shortcuts|sync|sharing|"},
    SystemEntries{.folder = "/Library/Logs", .names = "|bluetooth|crashreporter|coreduet|diagnosticreports|pointerui|"},
    SystemEntries{.folder = "", .names =
        "|.bash_history|.bash_profile|.bash_sessions|.bashrc|.cfusertextencoding|.ds_store|.hushlogin|.lesshst|"
        ".localized|.profile|.python_history|"
        ".vimrc|.viminfo|.zprofile|.zsh_history|.zshenv|.zshrc|.zcompdump|"},
    SystemEntries{.folder = "Documents", .names = "|.ds_store|.localized|"},
    SystemEntries{.folder = "Music", .names = "|.ds_store|.localized|audio music apps|garageband|itunes|music|"},
    SystemEntries{.folder = "/Users/Shared",
                  .names = "|.ds_store|.localized|adi|relocated items|previously relocated items|sc info|"},
};
static_assert(kSystemEntries.size() == 14);
// clang-format on

template <std::size_t Count, class Row>
bool isNamed(const std::array<Row, Count>& rows, std::string_view folder, std::string_view lowercased) {
  const std::string needle = "|" + std::string(lowercased) + "|";
  return std::any_of(rows.begin(), rows.end(), [&](const Row& row) {
    return row.folder == folder && row.names.find(needle) != std::string_view::npos;
  });
}

constexpr std::string_view kFinderFile = ".ds_store";

}  // namespace

std::span<const OwnershipPlace> ownershipPlaces() { return kPlaces; }

bool isSharedParent(const OwnershipPlace& place, std::string_view name) {
  if (name.find('|') != std::string_view::npos) return false;
  const std::string lowercased = Text::lowercased(name);
  return isNamed(kSharedParents, place.folder, lowercased);
}

bool isSystemEntry(const OwnershipPlace& place, std::string_view name) {
  if (name.find('|') != std::string_view::npos) return false;
  const std::string lowercased = Text::lowercased(name);
  return lowercased == kFinderFile || lowercased == ".localized" || isNamed(kSystemEntries, place.folder, lowercased);
}

}  // namespace quarn

#include "QuarnCore/vendors/DeepInspectorService.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>

#include "QuarnModels/ArtifactIdentity.h"
#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Scope = ArtifactScope;
using Risk = RiskLevel;

/// The location of a built-in artifact.
enum class Place : std::uint8_t {
  path,                     ///< the path of the row
  oneDriveFolders,          ///< folders in the path with "onedrive" in their names; one artifact each
  oneDriveCacheContainers,  ///< folders in the path with the prefix ".ODContainer"; one artifact each
};

struct BuiltIn {
  std::string_view title;
  std::string_view path;
  Place place = Place::path;
  Kind kind;
  Class dataClass;
  Scope scope = Scope::user;
  Risk risk;
  double confidence;
  std::string_view explanation;
};

// clang-format off
constexpr std::array kMicrosoft{
    BuiltIn{.title = "Microsoft Shared", .path = "Library/Application Support/Microsoft",
            .kind = Kind::applicationSupport, .dataClass = Class::shared, .risk = Risk::danger, .confidence = 0.6,
            .explanation = "Shared Microsoft folder for Office/Teams/OneDrive: contains data for multiple apps."},
    BuiltIn{.title = "Office Group Container", .path = "Library/Group Containers/UBF8T346G9.Office",
            .kind = Kind::groupContainer, .dataClass = Class::shared, .risk = Risk::danger, .confidence = 0.9,
            .explanation = "Shared Office container: contains data for multiple Microsoft apps."},
    BuiltIn{.title = "Microsoft Shared Group", .path = "Library/Group Containers/UBF8T346G9.ms",
            .kind = Kind::groupContainer, .dataClass = Class::shared, .risk = Risk::danger, .confidence = 0.75,
            .explanation = "Shared Microsoft container: may be used by multiple apps."},
    BuiltIn{.title = "Office WebHost Group", .path = "Library/Group Containers/UBF8T346G9.OfficeOsfWebHost",
            .kind = Kind::groupContainer, .dataClass = Class::shared, .risk = Risk::danger, .confidence = 0.7,
            .explanation = "Office WebHost/add-ins: used by multiple Office apps."},
    BuiltIn{.title = "Teams Support", .path = "Library/Application Support/Microsoft/Teams",
            .kind = Kind::applicationSupport, .dataClass = Class::rebuildable, .risk = Risk::caution,
            .confidence = 0.45,
            .explanation = "Teams data/logs: mostly recoverable, but may include chat caches."},
    BuiltIn{.title = "Teams Cache", .path = "Library/Caches/com.microsoft.teams",
            .kind = Kind::cache, .dataClass = Class::rebuildable, .risk = Risk::safe, .confidence = 0.5,
            .explanation = "Teams cache: rebuilt as needed."},
    BuiltIn{.title = "Teams Group Container", .path = "Library/Group Containers/UBF8T346G9.com.microsoft.teams",
            .kind = Kind::groupContainer, .dataClass = Class::shared, .risk = Risk::danger, .confidence = 0.6,
            .explanation = "Teams (new): shared container that may contain user data."},
    BuiltIn{.title = "Teams Container", .path = "Library/Containers/com.microsoft.teams2",
            .kind = Kind::container, .dataClass = Class::userData, .risk = Risk::danger, .confidence = 0.6,
            .explanation = "Teams container (com.microsoft.teams2): may contain local data."},
    BuiltIn{.title = "OneDrive Local Data", .path = "Library/Application Support/OneDrive",
            .kind = Kind::applicationSupport, .dataClass = Class::userData, .risk = Risk::danger, .confidence = 0.5,
            .explanation = "OneDrive local sync data: delete only after signing out/unlinking."},
    BuiltIn{.title = "OneDrive CloudStorage", .path = "Library/CloudStorage",
            .place = Place::oneDriveFolders, .kind = Kind::applicationSupport, .dataClass = Class::userData,
            .risk = Risk::danger, .confidence = 0.55,
            .explanation = "OneDrive sync folder (File Provider): contains local or pinned files."},
    BuiltIn{.title = "OneDrive Cache Container", .path = "/Volumes",
            .place = Place::oneDriveCacheContainers, .kind = Kind::cache, .dataClass = Class::userData,
            .scope = Scope::system, .risk = Risk::danger, .confidence = 0.45,
            .explanation = "Hidden .ODContainer cache: may contain unsynced content."},
    BuiltIn{.title = "Outlook Data", .path = "Library/Group Containers/UBF8T346G9.Office/Outlook",
            .kind = Kind::groupContainer, .dataClass = Class::userData, .risk = Risk::danger, .confidence = 0.7,
            .explanation = "Outlook profiles/databases: contains mail/archives; review carefully."},
    BuiltIn{.title = "Outlook Cache", .path = "Library/Caches/com.microsoft.Outlook",
            .kind = Kind::cache, .dataClass = Class::rebuildable, .risk = Risk::caution, .confidence = 0.5,
            .explanation = "Cache/temp files: typically recoverable."},
};
static_assert(kMicrosoft.size() == 13);

constexpr std::array kAdobe{
    BuiltIn{.title = "Adobe Shared", .path = "Library/Application Support/Adobe",
            .kind = Kind::applicationSupport, .dataClass = Class::shared, .risk = Risk::danger, .confidence = 0.55,
            .explanation = "Shared Adobe folder (Creative Cloud/apps/updater): contains data for multiple apps."},
    BuiltIn{.title = "Adobe Cache", .path = "Library/Caches/Adobe",
            .kind = Kind::cache, .dataClass = Class::rebuildable, .risk = Risk::caution, .confidence = 0.55,
            .explanation = "Adobe cache: mostly recoverable, but may include downloads."},
    BuiltIn{.title = "Adobe OOBE", .path = "/Library/Application Support/Adobe/OOBE",
            .kind = Kind::applicationSupport, .dataClass = Class::shared, .scope = Scope::system,
            .risk = Risk::danger, .confidence = 0.55,
            .explanation = "System-wide Adobe login/update area: affects multiple Adobe apps."},
};
static_assert(kAdobe.size() == 3);

constexpr std::array kMail{
    BuiltIn{.title = "Local Mail Data", .path = "Library/Mail",
            .kind = Kind::applicationSupport, .dataClass = Class::userData, .risk = Risk::danger, .confidence = 0.4,
            .explanation = "Local mail data (On My Mac): may include unsynced content."},
    BuiltIn{.title = "Mail Cache", .path = "Library/Containers/com.apple.mail/Data/Library/Caches",
            .kind = Kind::cache, .dataClass = Class::syncRestorable, .risk = Risk::caution, .confidence = 0.4,
            .explanation = "Mail cache/attachments: usually re-downloadable; check local accounts."},
    BuiltIn{.title = "Mail Downloads", .path = "Library/Containers/com.apple.mail/Data/Library/Mail Downloads",
            .kind = Kind::cache, .dataClass = Class::syncRestorable, .risk = Risk::caution, .confidence = 0.4,
            .explanation = "Attachment downloads: typically re-downloadable."},
};
static_assert(kMail.size() == 3);

/// An ecosystem, and how to recognise its apps by lower-cased bundle identifier and name.
struct Ecosystem {
  std::optional<std::string_view> bundleIDPrefix;
  std::span<const std::string_view> nameParts;
  std::span<const std::string_view> bundleIDParts;
  std::span<const BuiltIn> artifacts;
};
constexpr std::array<std::string_view, 4> kMicrosoftNames{"microsoft", "office", "teams", "onedrive"};
constexpr std::array<std::string_view, 1> kAdobeNames{"adobe"};
constexpr std::array<std::string_view, 3> kMailNames{"mail", "outlook", "thunderbird"};
constexpr std::array kEcosystems{
    Ecosystem{.bundleIDPrefix = "com.microsoft.", .nameParts = kMicrosoftNames, .bundleIDParts = {},
              .artifacts = kMicrosoft},
    Ecosystem{.bundleIDPrefix = "com.adobe.", .nameParts = kAdobeNames, .bundleIDParts = {}, .artifacts = kAdobe},
    Ecosystem{.bundleIDPrefix = std::nullopt, .nameParts = kMailNames, .bundleIDParts = kMailNames,
              .artifacts = kMail},
};
static_assert(kEcosystems.size() == 3);
// clang-format on

bool holdsAny(std::string_view text, std::span<const std::string_view> parts) {
  return std::any_of(parts.begin(), parts.end(), [&](std::string_view part) { return Text::contains(text, part); });
}

bool belongsTo(const Ecosystem& ecosystem, std::string_view bundleID, std::string_view name) {
  const bool hasPrefix = ecosystem.bundleIDPrefix && Text::hasPrefix(bundleID, *ecosystem.bundleIDPrefix);
  return hasPrefix || holdsAny(name, ecosystem.nameParts) || holdsAny(bundleID, ecosystem.bundleIDParts);
}

bool isWantedFolder(Place place, std::string_view name) {
  if (place == Place::oneDriveCacheContainers) return Text::hasPrefix(name, ".ODContainer");
  return Text::contains(Text::lowercased(name), "onedrive");
}

std::vector<FileURL> itemsOf(const BuiltIn& row, const FileManager& files) {
  const FileURL location = row.path.starts_with('/') ? FileURL(row.path) : files.homeDirectory().appending(row.path);
  std::vector<FileURL> items;
  if (row.place == Place::path) {
    if (std::optional<FileURL> item = files.existingURL(location.path())) items.push_back(std::move(*item));
    return items;
  }
  for (const DirectoryEntry& entry : files.contentsOrNone(location, HiddenItems::include)) {
    if (entry.type != FileType::directory) continue;
    if (isWantedFolder(row.place, entry.url.lastPathComponent())) items.push_back(entry.url);
  }
  return items;
}

Artifact makeArtifact(const BuiltIn& row, const FileURL& url) {
  return identified({.kind = row.kind,
                     .dataClass = row.dataClass,
                     .scope = row.scope,
                     .urls = {url},
                     .riskLevel = row.risk,
                     .confidence = row.confidence,
                     .title = std::string(row.title),
                     .explanation = localized(row.explanation)});
}

void markSource(std::vector<Artifact>& artifacts) {
  const std::string source = localized("Source: Layer C (Vendor Inspector)");
  for (Artifact& artifact : artifacts) {
    if (!artifact.explanation || artifact.explanation->find(source) != std::string::npos) continue;
    *artifact.explanation += "\n\n" + source;
  }
}

}  // namespace

DeepInspectorService::DeepInspectorService(VendorProfileRegistry vendorProfiles, FileManager files)
    : vendorProfiles_(std::move(vendorProfiles)), files_(std::move(files)) {}

std::vector<Artifact> DeepInspectorService::builtIn(const AppEntity& app, const FileManager& files) {
  const std::string bundleID = Text::lowercased(app.bundleIdentifier.value_or(""));
  const std::string name = Text::lowercased(app.name);
  std::vector<Artifact> artifacts;
  for (const Ecosystem& ecosystem : kEcosystems) {
    if (!belongsTo(ecosystem, bundleID, name)) continue;
    for (const BuiltIn& row : ecosystem.artifacts) {
      for (const FileURL& url : itemsOf(row, files)) artifacts.push_back(makeArtifact(row, url));
    }
  }
  return artifacts;
}

std::vector<Artifact> DeepInspectorService::inspect(const AppEntity& app,
                                                    const std::vector<Artifact>& /*existingArtifacts*/,
                                                    const EntitlementsInfo& /*entitlements*/,
                                                    const Cancellation& cancellation) const {
  const FileManager files = files_.cancelledBy(cancellation);
  std::vector<Artifact> artifacts = builtIn(app, files);
  append(artifacts, vendorProfiles_.artifacts(app, files, files.homeDirectory()));
  markSource(artifacts);
  return artifacts;
}

std::function<std::vector<Artifact>(const AppEntity& app)> DeepInspectorService::forManyApps(
    const Cancellation& cancellation) const {
  using Artifacts = std::vector<Artifact>;
  const auto known = std::make_shared<std::unordered_map<std::size_t, Artifacts>>();
  return [profiles = vendorProfiles_, files = files_.cancelledBy(cancellation), known](const AppEntity& app) {
    Artifacts artifacts = builtIn(app, files);
    for (const std::size_t index : profiles.matchingIndices(app)) {
      auto at = known->find(index);
      if (at == known->end()) {
        at = known->emplace(index, profiles.profiles()[index].makeArtifacts(files, files.homeDirectory())).first;
      }
      append(artifacts, at->second);
    }
    markSource(artifacts);
    return artifacts;
  };
}

}  // namespace quarn

#include "QuarnCore/ownership/AppFactsReader.h"

#include <array>
#include <string_view>
#include <utility>

#include "QuarnPlatform/base/Parallel.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/BundleInfo.h"

namespace quarn {
namespace {

// The folders of an app bundle that contain embedded bundles, and the endings of those bundles.
struct EmbeddedFolder {
  std::string_view folder;
  std::string_view endings;  ///< each between two bars
};
// clang-format off
constexpr std::array kEmbeddedFolders{
    EmbeddedFolder{.folder = "PlugIns", .endings = "|appex|plugin|bundle|"},
    EmbeddedFolder{.folder = "Extensions", .endings = "|appex|"},
    EmbeddedFolder{.folder = "XPCServices", .endings = "|xpc|"},
    EmbeddedFolder{.folder = "Library/LoginItems", .endings = "|app|"},
    EmbeddedFolder{.folder = "Library/SystemExtensions", .endings = "|systemextension|dext|"},
    EmbeddedFolder{.folder = "Library/QuickLook", .endings = "|qlgenerator|"},
    EmbeddedFolder{.folder = "Library/Spotlight", .endings = "|mdimporter|"},
    EmbeddedFolder{.folder = "Frameworks", .endings = "|app|xpc|"},
    EmbeddedFolder{.folder = "Helpers", .endings = "|app|xpc|"},
    EmbeddedFolder{.folder = "MacOS", .endings = "|app|"},
    EmbeddedFolder{.folder = "Resources", .endings = "|app|prefpane|"},
    EmbeddedFolder{.folder = "SharedSupport", .endings = "|app|"},
    EmbeddedFolder{.folder = "Applications", .endings = "|app|"},
};
// clang-format on
static_assert(kEmbeddedFolders.size() == 13);

// Folders whose files are named after helper tools and launchd jobs.
constexpr std::array<std::string_view, 3> kHelperFolders{"Library/LaunchServices", "Library/LaunchAgents",
                                                         "Library/LaunchDaemons"};

bool hasEnding(std::string_view name, std::string_view endings) {
  const std::string ending = Text::lowercased(path::extension(name));
  return !ending.empty() && endings.find("|" + ending + "|") != std::string_view::npos;
}

std::string_view withoutPlistEnding(std::string_view name) {
  constexpr std::string_view kEnding = ".plist";
  if (name.ends_with(kEnding)) name.remove_suffix(kEnding.size());
  return name;
}

void addEmbedded(const FileManager& files, const FileURL& contents, AppFacts& facts) {
  for (const EmbeddedFolder& row : kEmbeddedFolders) {
    for (const DirectoryEntry& entry : files.contentsOrNone(contents.appending(row.folder), HiddenItems::skip)) {
      if (facts.embeddedIdentifiers.size() >= kMostEmbedded) return;
      if (entry.type != FileType::directory || !hasEnding(entry.url.lastPathComponent(), row.endings)) continue;
      if (auto identifier = readBundleInfo(files, entry.url).identifier) {
        facts.embeddedIdentifiers.push_back(std::move(*identifier));
      }
    }
  }
}

void addHelpers(const FileManager& files, const FileURL& contents, AppFacts& facts) {
  for (const std::string_view folder : kHelperFolders) {
    for (const DirectoryEntry& entry : files.contentsOrNone(contents.appending(folder), HiddenItems::skip)) {
      if (facts.helpers.size() >= kMostEmbedded) return;
      facts.helpers.emplace_back(withoutPlistEnding(entry.url.lastPathComponent()));
    }
  }
}

AppFacts factsOf(const FileManager& files, const EntitlementsReader& entitlements, const AppEntity& app) {
  AppFacts facts;
  BundleInfo info = readBundleInfo(files, app.bundleURL);
  for (std::optional<std::string>* name : {&info.name, &info.executable}) {
    if (*name) facts.otherNames.push_back(std::move(**name));
  }
  facts.helpers = std::move(info.privilegedHelpers);
  const FileURL contents = info.bundle.appending("Contents");
  addEmbedded(files, contents, facts);
  addHelpers(files, contents, facts);
  facts.groups = entitlements.readEntitlements(app.bundleURL).applicationGroups;
  if (entitlements.readTeamIdentifier) facts.team = entitlements.readTeamIdentifier(app.bundleURL);
  return facts;
}

}  // namespace

std::vector<AppFacts> readAppFacts(const FileManager& files, const EntitlementsReader& entitlements,
                                   const std::vector<AppEntity>& apps, const Cancellation& cancellation) {
  std::vector<AppFacts> facts(apps.size());
  inParallel(apps.size(), [&](std::size_t i) {
    if (!cancellation.isCancelled()) facts[i] = factsOf(files, entitlements, apps[i]);
  });
  return facts;
}

}  // namespace quarn

#include "QuarnCore/planning/AppRemovalPlanner.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

#include "QuarnPlatform/resources/Localization.h"

namespace quarn {
namespace {

using Operation = RemovalOperationPreview;

constexpr double kRecommendedConfidence = 0.8;

// clang-format off
constexpr std::array<std::string_view, 4> kModeDescriptions{
    "Only cache/rebuildable data (best effort).",
    "Cache + (later) sync-restorable related items, without deleting local unsynced data.",
    "Remove app + cache; preferences/user data are kept by default.",
    "Aggressive: app + cache + preferences + app data (may be irreversible).",
};
// clang-format on
static_assert(kModeDescriptions.size() == RawValues<CleanupMode>::kStrings.size());

bool removesApp(CleanupMode mode) { return mode == CleanupMode::removeApp || mode == CleanupMode::aggressive; }

bool isSelected(const Artifact& artifact, CleanupMode mode) {
  if (artifact.urls.empty()) return false;
  if (mode == CleanupMode::aggressive) return true;
  if (artifact.dataClass == ArtifactDataClass::shared || artifact.riskLevel == RiskLevel::danger) return false;
  if (artifact.dataClass == ArtifactDataClass::rebuildable) return true;
  if (mode == CleanupMode::associatedDataOnly) return artifact.dataClass == ArtifactDataClass::syncRestorable;
  return mode == CleanupMode::removeApp && artifact.kind == ArtifactKind::appBundle;
}

std::optional<FileURL> recommendedUninstaller(const AppInspection& inspection, CleanupMode mode) {
  if (!removesApp(mode) || inspection.uninstallers.empty()) return std::nullopt;
  const auto best = std::max_element(inspection.uninstallers.begin(), inspection.uninstallers.end(),
                                     [](const UninstallerCandidate& left, const UninstallerCandidate& right) {
                                       return left.confidence < right.confidence;
                                     });
  return best->confidence >= kRecommendedConfidence ? std::optional<FileURL>(best->url) : std::nullopt;
}

template <class Predicate>
long countArtifacts(const AppInspection& inspection, Predicate predicate) {
  return std::count_if(inspection.artifacts.begin(), inspection.artifacts.end(), predicate);
}

// Notes about the whole inspection, independent of the selection.
std::vector<std::string> notes(const AppInspection& inspection, CleanupMode mode) {
  std::vector<std::string> texts{localized(kModeDescriptions[static_cast<std::size_t>(mode)])};
  const long shared = countArtifacts(
      inspection, [](const Artifact& artifact) { return artifact.dataClass == ArtifactDataClass::shared; });
  const long dangerous =
      countArtifacts(inspection, [](const Artifact& artifact) { return artifact.riskLevel == RiskLevel::danger; });
  const long syncRestorable = countArtifacts(
      inspection, [](const Artifact& artifact) { return artifact.dataClass == ArtifactDataClass::syncRestorable; });
  if (shared > 0 && mode == CleanupMode::aggressive) {
    texts.push_back(
        localizedCount("Found shared/vendor artifacts (%ld): selected in “Everything”; review carefully.", shared));
  } else if (shared > 0) {
    texts.push_back(localizedCount("Found shared/vendor artifacts (%ld): not selected automatically.", shared));
  }
  if (dangerous > 0) {
    texts.push_back(localizedCount("Found dangerous artifacts (%ld): always review manually.", dangerous));
  }
  if (mode == CleanupMode::associatedDataOnly && syncRestorable == 0) {
    texts.push_back(
        localized("No app-specific sync rules yet: “Related Items” currently mostly includes cache/rebuildable data."));
  }
  return texts;
}

std::int64_t allocatedBytes(const std::vector<Artifact>& artifacts) {
  std::int64_t sum = 0;
  for (const Artifact& artifact : artifacts) {
    if (artifact.size) sum = checkedAdd(sum, artifact.size->allocatedBytes);
  }
  return sum;
}

bool anyPathBegins(const std::vector<FileURL>& urls, std::string_view first, std::string_view second) {
  return std::any_of(urls.begin(), urls.end(), [&](const FileURL& url) {
    return url.path().starts_with(first) || url.path().starts_with(second);
  });
}

std::vector<FileURL> launchdJobs(const std::vector<Artifact>& artifacts) {
  std::vector<FileURL> urls;
  for (const Artifact& artifact : artifacts) {
    if (artifact.kind != ArtifactKind::launchAgent && artifact.kind != ArtifactKind::launchDaemon) continue;
    urls.insert(urls.end(), artifact.urls.begin(), artifact.urls.end());
  }
  return urls;
}

enum class Undo : std::uint8_t { possible, impossible };
enum class Admin : std::uint8_t { required, notRequired };

Admin adminFor(bool isRequired) { return isRequired ? Admin::required : Admin::notRequired; }

void addOperation(std::vector<Operation>& operations, Operation::Type type, std::vector<FileURL> urls, Undo undo,
                  Admin admin, std::string_view explanation) {
  if (urls.empty()) return;
  operations.push_back({.type = type,
                        .urls = std::move(urls),
                        .reversible = undo == Undo::possible,
                        .requiresAdmin = admin == Admin::required,
                        .explanation = localized(explanation)});
}

/// The selected items by path, without duplicates: the user's own items go to quarantine, all others to the Trash.
struct Targets {
  std::vector<FileURL> trash;
  std::vector<FileURL> quarantine;
};

// The home folder is compared as a text prefix, on purpose: "/Users/ann2" counts as the user's own.
Targets targets(const std::vector<Artifact>& artifacts, const FileManager& files) {
  const std::string home = files.standardizedPath(files.homeDirectory());
  std::set<FileURL> urls;
  for (const Artifact& artifact : artifacts) urls.insert(artifact.urls.begin(), artifact.urls.end());
  Targets result;
  for (const FileURL& url : urls) {
    const bool isUsers = files.standardizedPath(url).starts_with(home);
    (isUsers ? result.quarantine : result.trash).push_back(url);
  }
  return result;
}

}  // namespace

AppRemovalPlanner::AppRemovalPlanner(FileManager files) : files_(std::move(files)) {}

std::vector<Artifact> AppRemovalPlanner::defaultSelectedArtifacts(const AppInspection& inspection, CleanupMode mode) {
  std::vector<Artifact> selected;
  std::copy_if(inspection.artifacts.begin(), inspection.artifacts.end(), std::back_inserter(selected),
               [&](const Artifact& artifact) { return isSelected(artifact, mode); });
  return selected;
}

AppRemovalPlanPreview AppRemovalPlanner::buildPreview(
    const AppInspection& inspection, CleanupMode mode,
    const std::optional<std::vector<Artifact>>& selectedArtifacts) const {
  const std::vector<Artifact> selected =
      selectedArtifacts ? *selectedArtifacts : defaultSelectedArtifacts(inspection, mode);
  AppRemovalPlanPreview plan{.mode = mode,
                             .app = inspection.app,
                             .recommendedUninstaller = recommendedUninstaller(inspection, mode),
                             .notes = notes(inspection, mode),
                             .estimatedBytes = allocatedBytes(selected),
                             .status = AppRemovalPlanPreview::Status::preview};
  std::vector<Operation>& operations = plan.operations;
  if (plan.recommendedUninstaller) {
    addOperation(operations, Operation::Type::openUninstaller, {*plan.recommendedUninstaller}, Undo::impossible,
                 Admin::notRequired, "Open vendor uninstaller (recommended), then optional cleanup.");
  }
  const std::vector<FileURL> jobs = launchdJobs(selected);
  addOperation(operations, Operation::Type::disableLaunchServices, jobs, Undo::impossible,
               adminFor(anyPathBegins(jobs, "/Library/LaunchDaemons", "/Library/LaunchAgents")),
               "Disable launch services before removing files.");
  if (removesApp(mode)) {
    addOperation(operations, Operation::Type::quitApp, {inspection.app.bundleURL}, Undo::impossible, Admin::notRequired,
                 "Quit the app so files aren’t locked during removal.");
  }
  const auto [trash, quarantine] = targets(selected, files_);
  addOperation(operations, Operation::Type::moveToTrash, trash, Undo::possible,
               adminFor(anyPathBegins(trash, "/Library", "/System")),
               "Move to Trash (may require admin for system paths).");
  addOperation(operations, Operation::Type::moveToQuarantine, quarantine, Undo::possible, Admin::notRequired,
               "Move to Quarantine (undoable).");
  return plan;
}

}  // namespace quarn

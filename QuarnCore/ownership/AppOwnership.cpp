#include "QuarnCore/ownership/AppOwnership.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnPlatform/paths/PathSet.h"

namespace quarn {
namespace {

std::optional<std::uint32_t> positionOf(const AppEntity& app, const OwnershipMap& map) {
  const std::vector<AppEntity>& apps = map.apps();
  for (std::uint32_t i = 0; i < apps.size(); ++i) {
    if (apps[i].bundleURL == app.bundleURL) return i;
  }
  return std::nullopt;
}

// An owner that the record leaves out may be the app.
bool isOwner(const Ownership& ownership, const AppEntity& app) {
  if (ownership.ownersLeftOut > 0) return true;
  return std::any_of(ownership.owners.begin(), ownership.owners.end(),
                     [&](const OwnershipClaim& owner) { return owner.bundleURL == app.bundleURL; });
}

// Whether somebody else loses something with the item.
bool isAnothers(const FileURL& url, const AppEntity& app, const OwnershipMap& map) {
  const Ownership ownership = map.owners(url);
  if (ownership.status == OwnershipStatus::shared) return true;
  if (ownership.status == OwnershipStatus::owned && !isOwner(ownership, app)) return true;
  return map.holdsEntriesOfOthers(url.path(), app.bundleURL);
}

PathSet pathsOf(const AppInspection& inspection) {
  PathSet paths;
  for (const Artifact& artifact : inspection.artifacts) {
    for (const FileURL& url : artifact.urls) paths.insert(url.path());
  }
  return paths;
}

/// The entries that the app alone owns and that no path covers.
std::vector<Ownership> entriesBeyond(const AppEntity& app, const PathSet& known, const OwnershipMap& map) {
  std::vector<Ownership> entries;
  const auto position = positionOf(app, map);
  if (!position) return entries;
  for (std::size_t i = 0; i < map.size(); ++i) {
    if (map.status(i) != OwnershipStatus::owned || map.owners(i).front() != *position) continue;
    if (!known.covers(map.url(i).path())) entries.push_back(map.ownership(i));
  }
  return entries;
}

Artifact artifactOf(const Ownership& entry) {
  Artifact artifact{.kind = entry.kind,
                    .dataClass = entry.dataClass,
                    .scope = entry.scope,
                    .urls = {entry.url},
                    .riskLevel = entry.riskLevel,
                    .confidence = entry.confidence,
                    .title = entry.place + " (" + std::string(entry.url.lastPathComponent()) + ")",
                    .explanation = entry.evidence};
  artifact.renewID();
  return artifact;
}

}  // namespace

AppOwnership compareWithMap(const AppInspection& inspection, const OwnershipMap& map) {
  AppOwnership result;
  result.alsoOwned = entriesBeyond(inspection.app, pathsOf(inspection), map);
  PathSet seen;
  for (const Artifact& artifact : inspection.artifacts) {
    if (artifact.kind == ArtifactKind::appBundle) continue;
    for (const FileURL& url : artifact.urls) {
      Ownership ownership = map.owners(url);
      const bool hasOwner = ownership.status == OwnershipStatus::owned || ownership.status == OwnershipStatus::shared;
      const bool isOwned = isOwner(ownership, inspection.app);
      const bool isAlone = isOwned && ownership.status == OwnershipStatus::owned;
      if (!hasOwner || isAlone || !seen.insertUnlessCovered(url.path())) continue;
      (isOwned ? result.shared : result.fitsBetter).push_back(std::move(ownership));
    }
  }
  return result;
}

std::vector<Artifact> chosenArtifacts(const AppInspection& inspection, CleanupMode mode, const OwnershipMap& map) {
  std::vector<Artifact> chosen;
  for (Artifact& artifact : AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode)) {
    const std::size_t count = artifact.urls.size();
    if (artifact.kind != ArtifactKind::appBundle) {
      std::erase_if(artifact.urls, [&](const FileURL& url) { return isAnothers(url, inspection.app, map); });
    }
    if (artifact.urls.empty()) continue;
    if (artifact.urls.size() != count) {
      artifact.renewID();
      artifact.size.reset();
    }
    chosen.push_back(std::move(artifact));
  }
  AppInspection beyond{.app = inspection.app};
  for (const Ownership& entry : entriesBeyond(inspection.app, pathsOf(inspection), map)) {
    const bool isStrong = entry.owners.front().evidence <= EvidenceKind::name;
    if (isStrong && !map.holdsEntriesOfOthers(entry.url.path(), inspection.app.bundleURL)) {
      beyond.artifacts.push_back(artifactOf(entry));
    }
  }
  append(chosen, AppRemovalPlanner::defaultSelectedArtifacts(beyond, mode));
  return chosen;
}

}  // namespace quarn

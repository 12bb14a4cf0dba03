#include "QuarnCore/vendors/VendorProfile.h"

#include <algorithm>
#include <array>

#include "QuarnCore/vendors/ListedFolders.h"
#include "QuarnCore/vendors/VendorArtifactDeduplicator.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnModels/ArtifactIdentity.h"
#include "QuarnPlatform/resources/Localization.h"

namespace quarn {
namespace {

constexpr double kCarveOutConfidence = 0.45;

// Artifacts of these classes keep their class, however many folders a pattern matches.
constexpr std::array kSettledClasses{ArtifactDataClass::app, ArtifactDataClass::rebuildable,
                                     ArtifactDataClass::syncRestorable, ArtifactDataClass::shared};

bool isLikelyShared(const VendorProfile::ArtifactDefinition& definition, const std::vector<FileURL>& urls) {
  return urls.size() >= 2 &&
         std::any_of(definition.paths.begin(), definition.paths.end(), VendorPathResolver::hasFolderLevelWildcard) &&
         std::find(kSettledClasses.begin(), kSettledClasses.end(), definition.dataClass) == kSettledClasses.end();
}

void markShared(Artifact& artifact) {
  const std::string note = localized("Multiple paths found: likely suite/shared data (may affect multiple apps).");
  const bool isExplained = artifact.explanation && !artifact.explanation->empty();
  artifact.dataClass = ArtifactDataClass::shared;
  artifact.riskLevel = std::max(artifact.riskLevel, RiskLevel::caution);
  artifact.explanation = isExplained ? *artifact.explanation + "\n\n" + note : note;
}

Artifact makeArtifact(const VendorProfile::ArtifactDefinition& definition, std::vector<FileURL> urls) {
  Artifact artifact{.kind = definition.kind,
                    .dataClass = definition.dataClass,
                    .scope = definition.scope,
                    .urls = std::move(urls),
                    .riskLevel = definition.riskLevel,
                    .confidence = definition.confidence,
                    .title = definition.title,
                    .explanation = definition.explanation};
  if (isLikelyShared(definition, artifact.urls)) markShared(artifact);
  return identified(std::move(artifact));
}

// Compared as a text prefix, on purpose: "/Users/ann2/x" counts as inside "/Users/ann".
ArtifactScope scopeOf(const std::vector<FileURL>& urls, const FileManager& files, const FileURL& home) {
  const std::string homePath = files.standardizedPath(home);
  const bool areUsers = std::all_of(
      urls.begin(), urls.end(), [&](const FileURL& url) { return files.standardizedPath(url).starts_with(homePath); });
  return areUsers ? ArtifactScope::user : ArtifactScope::system;
}

Artifact makeArtifact(const VendorProfile::CarveOut& carveOut, std::vector<FileURL> urls, ArtifactScope scope) {
  return identified({.kind = ArtifactKind::unknown,
                     .dataClass = ArtifactDataClass::shared,
                     .scope = scope,
                     .urls = std::move(urls),
                     .riskLevel = RiskLevel::danger,
                     .confidence = kCarveOutConfidence,
                     .title = carveOut.title,
                     .explanation = carveOut.reason});
}

}  // namespace

std::vector<Artifact> VendorProfile::makeArtifacts(const FileManager& files, const FileURL& home) const {
  std::vector<Artifact> found;
  ListedFolders folders(files);
  for (const ArtifactDefinition& definition : artifacts) {
    std::vector<FileURL> urls = VendorPathResolver::resolve(definition.paths, folders, home);
    if (!urls.empty()) found.push_back(makeArtifact(definition, std::move(urls)));
  }
  for (const CarveOut& carveOut : carveOuts) {
    std::vector<FileURL> urls = VendorPathResolver::resolve(carveOut.paths, folders, home);
    if (urls.empty()) continue;
    const ArtifactScope scope = scopeOf(urls, files, home);
    found.push_back(makeArtifact(carveOut, std::move(urls), scope));
  }
  return VendorArtifactDeduplicator::deduplicate(found, files);
}

}  // namespace quarn

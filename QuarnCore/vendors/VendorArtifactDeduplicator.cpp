#include "QuarnCore/vendors/VendorArtifactDeduplicator.h"

#include <algorithm>
#include <string>

#include "QuarnModels/ArtifactIdentity.h"
#include "QuarnPlatform/paths/PathSet.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

struct Ranked {
  std::size_t length;
  Artifact artifact;
};

// Shortest path first, so that a folder claims its content before the content is checked.
std::vector<Ranked> shortestFirst(const std::vector<Artifact>& artifacts) {
  std::vector<Ranked> ranked;
  ranked.reserve(artifacts.size());
  for (const Artifact& artifact : artifacts) {
    const std::size_t length = artifact.urls.empty() ? 0 : Text::characterCount(artifact.urls.front().path());
    ranked.push_back({length, artifact});
  }
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const Ranked& left, const Ranked& right) { return left.length < right.length; });
  return ranked;
}

}  // namespace

std::vector<Artifact> VendorArtifactDeduplicator::deduplicate(const std::vector<Artifact>& artifacts,
                                                              const FileManager& files) {
  PathSet claimed;
  std::vector<Artifact> result;
  for (auto& [length, artifact] : shortestFirst(artifacts)) {
    std::vector<FileURL> remaining;
    std::vector<std::string> claims;
    for (const FileURL& url : artifact.urls) {
      std::string path = files.standardizedPath(url);
      if (claimed.covers(path)) continue;
      remaining.push_back(url);
      claims.push_back(std::move(path));
    }
    if (remaining.empty()) continue;
    for (const std::string& path : claims) claimed.insert(path);
    artifact.urls = std::move(remaining);
    result.push_back(identified(std::move(artifact)));
  }
  return result;
}

}  // namespace quarn

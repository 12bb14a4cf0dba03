#pragma once

#include <string>
#include <vector>

#include "QuarnModels/ArtifactIdentity.h"

namespace quarn {

/// All fields of an artifact in one line, so that a failed comparison shows the difference.
inline std::string line(const Artifact& artifact) {
  std::string text = std::string(rawValue(artifact.kind)) + " " + std::string(rawValue(artifact.dataClass)) + " " +
                     std::string(rawValue(artifact.scope)) + " " + std::string(rawValue(artifact.riskLevel)) + " " +
                     std::to_string(artifact.confidence) + " '" + artifact.title + "'";
  for (const FileURL& url : artifact.urls) text += " " + url.path() + (url.hasDirectoryPath() ? "/" : "");
  if (artifact.size) {
    text +=
        " " + std::to_string(artifact.size->allocatedBytes) + "/" + std::to_string(artifact.size->logicalBytes) + "B";
  }
  return text + " " + artifact.explanation.value_or("(unexplained)") + " #" + artifact.id;
}

inline std::vector<std::string> lines(const std::vector<Artifact>& artifacts) {
  std::vector<std::string> result;
  for (const Artifact& artifact : artifacts) result.push_back(line(artifact));
  return result;
}

inline std::vector<std::string> titles(const std::vector<Artifact>& artifacts) {
  std::vector<std::string> result;
  for (const Artifact& artifact : artifacts) result.push_back(artifact.title);
  return result;
}

/// The paths of all items, artifact by artifact.
inline std::vector<std::string> paths(const std::vector<Artifact>& artifacts) {
  std::vector<std::string> result;
  for (const Artifact& artifact : artifacts) {
    for (const FileURL& url : artifact.urls) result.push_back(url.path());
  }
  return result;
}

}  // namespace quarn

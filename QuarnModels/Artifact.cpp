#include "QuarnModels/Artifact.h"

#include <iterator>

namespace quarn {

// "cache:user:/Users/ann/Library/Caches/com.example": readable in logs, and unique because the paths are
// percent-encoded.
std::string Artifact::makeID(ArtifactKind kind, ArtifactScope scope, const std::vector<FileURL>& urls) {
  constexpr std::string_view kFileScheme = "file://";
  std::string id(rawValue(kind));
  (id += ':') += rawValue(scope);
  for (const FileURL& url : urls) {
    (id += ':') += FileURL(url.path()).string().substr(kFileScheme.size());
  }
  return id;
}

void append(std::vector<Artifact>& artifacts, std::vector<Artifact> more) {
  artifacts.insert(artifacts.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

}  // namespace quarn

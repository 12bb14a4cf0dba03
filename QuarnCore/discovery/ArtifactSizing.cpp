#include "QuarnCore/discovery/ArtifactSizing.h"

namespace quarn {
namespace {

SizeInfo sizeOrNothing(const FileURL& url, const FileSizeCalculator& calculator, const FileManager& files) {
  if (!files.itemExists(url)) return {};
  try {
    return calculator.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/false);
  } catch (const FileError&) {
    return {};
  }
}

}  // namespace

void sizeArtifacts(std::vector<Artifact>& artifacts, const FileSizeCalculator& calculator, const FileManager& files) {
  for (Artifact& artifact : artifacts) {
    if (artifact.size) continue;
    SizeInfo sum;
    for (const FileURL& url : artifact.urls) sum += sizeOrNothing(url, calculator, files);
    artifact.size = sum;
  }
}

}  // namespace quarn

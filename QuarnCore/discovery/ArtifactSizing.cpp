#include "QuarnCore/discovery/ArtifactSizing.h"

namespace quarn {
namespace {

SizeInfo sizeOrNothing(const FileURL& url, const FileSizeCalculator& calculator, const FileManager& files,
                       const Cancellation& cancellation) {
  if (!files.itemExists(url)) return {};
  try {
    return calculator.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/false, cancellation);
  } catch (const FileError&) {
    return {};
  }
}

}  // namespace

void sizeArtifacts(std::vector<Artifact>& artifacts, const FileSizeCalculator& calculator, const FileManager& files,
                   const Cancellation& cancellation) {
  for (Artifact& artifact : artifacts) {
    if (artifact.size) continue;
    SizeInfo sum;
    for (const FileURL& url : artifact.urls) {
      if (cancellation.isCancelled()) return;
      sum += sizeOrNothing(url, calculator, files, cancellation);
    }
    if (cancellation.isCancelled()) return;
    artifact.size = sum;
  }
}

}  // namespace quarn

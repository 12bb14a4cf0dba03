#include "QuarnCore/discovery/ArtifactSizing.h"

#include <cstdint>
#include <map>
#include <optional>
#include <utility>

namespace quarn {
namespace {

/// Sizes items for one operation. A hostile list reaches one folder on thousands of ways; it is walked once, and counts
/// each time.
class Sizes {
 public:
  Sizes(const FileSizeCalculator& calculator, const FileManager& files, const Cancellation& cancellation)
      : calculator_(calculator), files_(files), cancellation_(cancellation) {}

  SizeInfo of(const FileURL& url) {
    const std::optional<ItemFacts> facts = files_.facts(url, Links::doNotFollow);
    if (!facts || (facts->type == FileType::symbolicLink && !files_.itemExists(url))) return {};
    if (facts->type != FileType::directory) return measured(url);
    const auto [known, isNew] = folders_.try_emplace({facts->device, facts->inode});
    if (isNew) known->second = measured(url);
    return known->second;
  }

 private:
  [[nodiscard]] SizeInfo measured(const FileURL& url) const {
    try {
      return calculator_.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/false, cancellation_);
    } catch (const FileError&) {
      return {};
    }
  }

  const FileSizeCalculator& calculator_;
  const FileManager& files_;
  const Cancellation& cancellation_;
  std::map<std::pair<std::uint64_t, std::uint64_t>, SizeInfo> folders_;  // by device and inode
};

}  // namespace

void sizeArtifacts(std::vector<Artifact>& artifacts, const FileSizeCalculator& calculator, const FileManager& files,
                   const Cancellation& cancellation, const std::function<void()>& onSized) {
  Sizes sizes(calculator, files, cancellation);
  for (Artifact& artifact : artifacts) {
    if (artifact.size) continue;
    SizeInfo sum;
    for (const FileURL& url : artifact.urls) {
      if (cancellation.isCancelled()) return;
      sum += sizes.of(url);
    }
    if (cancellation.isCancelled()) return;
    artifact.size = sum;
    if (onSized) onSized();
  }
}

}  // namespace quarn

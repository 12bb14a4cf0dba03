#include "QuarnCore/storage/MarkerDiscovery.h"

#include <algorithm>
#include <array>
#include <string>
#include <unordered_set>

#include "QuarnCore/storage/MarkerPattern.h"
#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/ItemDepth.h"

namespace quarn {
namespace {

using MarkerKind = StorageSignatureRegistry::Signature::Kind;

constexpr long kMaximumDepth = 5;
constexpr int kMaximumVisited = 60'000;
constexpr std::array<std::string_view, 4> kSearchRoots{"Library/Application Support", "Library/Containers",
                                                       "Library/Group Containers", "/Users/Shared"};

struct Marker {
  MarkerPattern pattern;
  FileType type;
};

Marker makeMarker(const StorageSignatureRegistry::Signature& signature) {
  return {MarkerPattern(signature.pattern),
          signature.kind == MarkerKind::markerFile ? FileType::regular : FileType::directory};
}

class MarkerSearch {
 public:
  MarkerSearch(std::vector<Marker> markers, const FileManager& files) : markers_(std::move(markers)), files_(files) {}

  void search(const FileURL& root) {
    // A look-up reports the folder that closes the way; a walk would report the root.
    if (!files_.itemExists(root)) return;
    const ItemDepth depth(files_, root);
    DirectoryEnumerator items(files_, root,
                              {.hidden = HiddenItems::skip,
                               .packages = PackageContents::skip,
                               .maximumLevel = depth.deepestLevel(kMaximumDepth),
                               .readAheadThreads = DirectoryEnumerator::kReadAheadOfLongWalks});
    for (int visited = 0; visited < kMaximumVisited; ++visited) {
      const DirectoryEnumerator::Item* item = items.next();
      if (item == nullptr) return;
      if (depth.exceeds(kMaximumDepth, *item)) {
        items.skipDescendants();
      } else if (isMarker(*item)) {
        addFolder(item->url().deletingLastPathComponent());
      }
    }
  }

  std::vector<FileURL> takeFolders() { return std::move(folders_); }

 private:
  [[nodiscard]] bool isMarker(const DirectoryEnumerator::Item& item) {
    if (item.type() != FileType::regular && item.type() != FileType::directory) return false;
    const std::string_view name = lowercased(item.name());
    return std::any_of(markers_.begin(), markers_.end(), [&](const Marker& marker) {
      return marker.type == item.type() && marker.pattern.matches(name);
    });
  }

  // Asked for every item, so that it reuses its memory. Valid until the next call.
  std::string_view lowercased(std::string_view name) {
    lowercased_.assign(name);
    if (std::all_of(name.begin(), name.end(), ascii::isASCII)) {
      std::transform(name.begin(), name.end(), lowercased_.begin(), ascii::lowercased);
    } else {
      lowercased_ = Text::lowercased(name);
    }
    return lowercased_;
  }

  void addFolder(FileURL folder) {
    if (seen_.insert(files_.resolvedPath(folder)).second) folders_.push_back(std::move(folder));
  }

  std::vector<Marker> markers_;
  const FileManager& files_;
  std::string lowercased_;
  std::unordered_set<std::string> seen_;
  std::vector<FileURL> folders_;
};

}  // namespace

std::vector<FileURL> markedFolders(const std::vector<StorageSignatureRegistry::Signature>& markers,
                                   const FileManager& files, RootScope scope) {
  std::vector<Marker> singleNames;
  for (const StorageSignatureRegistry::Signature& marker : markers) {
    if (marker.pattern.find('/') == std::string::npos) singleNames.push_back(makeMarker(marker));
  }
  if (singleNames.empty()) return {};
  MarkerSearch search(std::move(singleNames), files);
  for (const std::string_view root : kSearchRoots) {
    if (scope == RootScope::home && root.starts_with('/')) continue;
    search.search(root.starts_with('/') ? FileURL(root) : files.homeDirectory().appending(root));
  }
  return search.takeFolders();
}

}  // namespace quarn

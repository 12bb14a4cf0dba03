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

struct Markers {
  MarkerPatterns files;
  MarkerPatterns folders;
};

class MarkerSearch {
 public:
  MarkerSearch(const Markers& markers, const FileManager& files, KeptListings* kept)
      : markers_(markers), files_(files), kept_(kept) {}

  void search(const FileURL& root) {
    // A look-up reports the folder that closes the way; a walk would report the root.
    if (!files_.itemExists(root)) return;
    const ItemDepth depth(files_, root);
    DirectoryEnumerator items(files_, root,
                              {.hidden = HiddenItems::skip,
                               .packages = PackageContents::skip,
                               .maximumLevel = depth.deepestLevel(kMaximumDepth),
                               .kept = kept_,
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
    items.end();
  }

  std::vector<FileURL> takeFolders() { return std::move(folders_); }

 private:
  [[nodiscard]] bool isMarker(const DirectoryEnumerator::Item& item) {
    if (item.type() == FileType::regular) return matchesOne(markers_.files, item.name());
    return item.type() == FileType::directory && matchesOne(markers_.folders, item.name());
  }

  // Asked for every item, so that it reuses its memory.
  bool matchesOne(const MarkerPatterns& patterns, std::string_view name) {
    if (!std::all_of(name.begin(), name.end(), ascii::isASCII)) return patterns.matches(Text::lowercased(name));
    lowercased_.resize(name.size());
    std::transform(name.begin(), name.end(), lowercased_.begin(), ascii::lowercased);
    return patterns.matches(lowercased_);
  }

  void addFolder(FileURL folder) {
    if (seen_.insert(files_.resolvedPath(folder)).second) folders_.push_back(std::move(folder));
  }

  const Markers& markers_;
  const FileManager& files_;
  KeptListings* const kept_;
  std::string lowercased_;
  std::unordered_set<std::string> seen_;
  std::vector<FileURL> folders_;
};

}  // namespace

std::vector<FileURL> markedFolders(const std::vector<StorageSignatureRegistry::Signature>& markers,
                                   const FileManager& files, RootScope scope, KeptListings* kept) {
  Markers singleNames;
  bool isEmpty = true;
  for (const StorageSignatureRegistry::Signature& marker : markers) {
    if (marker.pattern.find('/') != std::string::npos) continue;
    (marker.kind == MarkerKind::markerFile ? singleNames.files : singleNames.folders)
        .add(MarkerPattern(marker.pattern));
    isEmpty = false;
  }
  if (isEmpty) return {};
  MarkerSearch search(singleNames, files, kept);
  for (const std::string_view root : kSearchRoots) {
    if (scope == RootScope::home && root.starts_with('/')) continue;
    search.search(root.starts_with('/') ? FileURL(root) : files.homeDirectory().appending(root));
  }
  return search.takeFolders();
}

}  // namespace quarn

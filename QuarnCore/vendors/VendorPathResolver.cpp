#include "QuarnCore/vendors/VendorPathResolver.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_set>

#include "QuarnCore/vendors/ListedFolders.h"
#include "QuarnCore/vendors/PatternText.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/TextComposition.h"

namespace quarn {
namespace {

bool isStarred(std::string_view component) { return component.find('*') != std::string_view::npos; }

// A pattern up to its first component with "*": the folder of that must exist.
std::string_view throughFirstStar(std::string_view pattern) {
  const std::size_t star = pattern.find('*');
  return star == std::string_view::npos ? pattern : pattern.substr(0, pattern.find('/', star));
}

// memmem takes linear time, unlike string_view::find. Patterns and names are untrusted.
std::size_t find(std::string_view text, std::string_view part) {
  const void* found = ::memmem(text.data(), text.size(), part.data(), part.size());
  if (found == nullptr) return std::string_view::npos;
  return static_cast<std::size_t>(static_cast<const char*>(found) - text.data());
}

// The text after the first occurrence of a piece. At the start of a pattern, the piece must be at the start of the
// text.
std::optional<std::string_view> behind(std::string_view piece, std::string_view text, bool isAtStart) {
  const std::size_t found = isAtStart ? (text.starts_with(piece) ? 0 : std::string_view::npos) : find(text, piece);
  if (found == std::string_view::npos) return std::nullopt;
  return text.substr(found + piece.size());
}

// Both texts must be composed.
bool matchesComposed(std::string_view pattern, std::string_view text) {
  if (!isStarred(pattern)) return pattern == text;
  std::optional<std::string_view> rest = text;
  std::string_view lastPiece;
  for (std::size_t start = 0; start < pattern.size();) {
    const std::size_t end = std::min(pattern.find('*', start), pattern.size());
    if (end > start) {
      lastPiece = pattern.substr(start, end - start);
      rest = behind(lastPiece, *rest, start == 0);
      if (!rest) return false;
    }
    start = end + 1;
  }
  return pattern.ends_with('*') || text.ends_with(lastPiece);
}

/// The items on the way down a pattern, one level at a time.
class Candidates {
 public:
  Candidates(ListedFolders& folders, const Cancellation& cancellation)
      : folders_(folders), cancellation_(cancellation) {}

  // Plain components are only gathered: an item exists exactly when everything on its way does, so one look-up at the
  // end of a run answers for all of it.
  void appendPlain(std::string_view component) { (pending_ += '/') += component; }

  void settle() {
    if (pending_.empty()) return;
    std::vector<FileURL> existing;
    for (const FileURL& candidate : urls_) {
      if (isCancelled()) break;
      if (auto url = folders_.existingURL(path::join(candidate.path(), pending_))) existing.push_back(std::move(*url));
    }
    urls_ = std::move(existing);
    pending_.clear();
  }

  void appendStarred(std::string_view component, bool isLast) {
    settle();
    dropDuplicates();
    const std::string pattern = composed(component);
    const std::string_view start = std::string_view(pattern).substr(0, pattern.find('*'));
    std::vector<FileURL> matching;
    for (const FileURL& candidate : urls_) {
      if (isCancelled()) break;
      const ListedFolders::Entries entries = folders_.visibleEntries(candidate);
      for (const auto& [item, name] : *entries) {
        if (!isLast && item.type != FileType::directory) continue;
        // The cheap check dismisses most names.
        if (name.starts_with(start) && matchesComposed(pattern, name)) matching.push_back(item.url);
      }
    }
    urls_ = std::move(matching);
  }

  // By the caller's cancellation or that of the file manager.
  [[nodiscard]] bool isCancelled() const {
    return cancellation_.isCancelled() || folders_.files().cancellation().isCancelled();
  }
  [[nodiscard]] bool isEmpty() const { return urls_.empty(); }
  std::vector<FileURL> take() { return std::move(urls_); }

 private:
  // A pattern with ".." makes many candidates equal, and each component with "*" would multiply them. Dropping
  // duplicates does not change the result, because their items have the standardised paths of earlier items.
  void dropDuplicates() {
    if (urls_.size() < 2) return;
    std::unordered_set<std::string> seen;
    std::erase_if(urls_, [&](const FileURL& url) {
      return isCancelled() || !seen.insert(folders_.files().standardizedPath(url)).second;
    });
  }

  ListedFolders& folders_;
  const Cancellation& cancellation_;
  std::vector<FileURL> urls_{FileURL()};
  std::string pending_;
};

// Empty if cancelled. Most paths name nothing on a volume: what is missing is found out before anything is made.
std::vector<FileURL> resolveOne(const std::string& path, ListedFolders& folders, const Cancellation& cancellation) {
  if (folders.isBelowMissing(throughFirstStar(path))) return {};
  const std::vector<std::string_view> names = path::names(path);
  if (names.empty()) return {};
  Candidates candidates(folders, cancellation);
  for (std::size_t i = 0; i < names.size() && !candidates.isEmpty(); ++i) {
    if (isStarred(names[i])) {
      candidates.appendStarred(names[i], i + 1 == names.size());
    } else {
      candidates.appendPlain(names[i]);
    }
  }
  candidates.settle();
  return candidates.isCancelled() ? std::vector<FileURL>() : candidates.take();
}

}  // namespace

std::vector<FileURL> VendorPathResolver::resolve(const std::vector<std::string>& patterns, const FileManager& files,
                                                 const FileURL& home, const Cancellation& cancellation) {
  ListedFolders folders(files);
  return resolve(patterns, folders, home, cancellation);
}

std::vector<FileURL> VendorPathResolver::resolve(const std::vector<std::string>& patterns, ListedFolders& folders,
                                                 const FileURL& home, const Cancellation& cancellation) {
  std::vector<FileURL> urls;
  std::unordered_set<std::string> seen;
  for (const std::string& pattern : patterns) {
    const std::optional<std::string> path = expandedPattern(pattern, home);
    if (!path) continue;
    for (FileURL& url : resolveOne(*path, folders, cancellation)) {
      if (seen.insert(folders.files().standardizedPath(url)).second) urls.push_back(std::move(url));
    }
  }
  return urls;
}

bool VendorPathResolver::matches(std::string_view pattern, std::string_view text) {
  std::string composedPattern;
  std::string composedText;
  return matchesComposed(composed(pattern, composedPattern), composed(text, composedText));
}

bool VendorPathResolver::hasFolderLevelWildcard(std::string_view pattern) {
  const std::vector<std::string_view> names = path::names(trimmed(pattern));
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!isStarred(names[i])) continue;
    if (i + 1 < names.size() || names[i].find('.') == std::string_view::npos) return true;
  }
  return false;
}

}  // namespace quarn

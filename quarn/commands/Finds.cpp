#include "quarn/commands/Finds.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

#include <fmt/format.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PathSet.h"
#include "quarn/terminal/CountText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

/// The paths of artifacts, and which artifacts have each path.
class FindPaths {
 public:
  FindPaths(const std::vector<Artifact>& artifacts, const std::function<std::string(const FileURL&)>& pathOf) {
    paths_.resize(artifacts.size());
    sets_.resize(artifacts.size());
    for (std::size_t i = 0; i < artifacts.size(); ++i) {
      for (const FileURL& url : artifacts[i].urls) {
        paths_[i].push_back(pathOf(url));
        sets_[i].insert(paths_[i].back());
        positions_[paths_[i].back()].push_back(i);
      }
    }
  }

  // The way up from the artifact's first item meets every artifact that holds it, the innermost first.
  [[nodiscard]] std::optional<std::size_t> holderOf(std::size_t held) const {
    if (paths_[held].empty()) return std::nullopt;
    for (std::string_view path = paths_[held].front();; path = path::parent(path)) {
      const auto found = positions_.find(std::string(path));
      if (found != positions_.end()) {
        for (const std::size_t position : found->second) {
          if (mayHold(position, held)) return position;
        }
      }
      if (path == "/" || path.empty()) return std::nullopt;
    }
  }

 private:
  [[nodiscard]] bool covers(std::size_t holder, std::size_t held) const {
    return std::all_of(paths_[held].begin(), paths_[held].end(),
                       [&](const std::string& path) { return sets_[holder].covers(path); });
  }
  [[nodiscard]] bool mayHold(std::size_t holder, std::size_t held) const {
    if (holder == held || !covers(holder, held)) return false;
    return holder < held || !covers(held, holder);
  }

  std::vector<std::vector<std::string>> paths_;
  std::vector<PathSet> sets_;
  std::unordered_map<std::string, std::vector<std::size_t>> positions_;
};

std::optional<SizedItem> scannedItem(const Scan& scan, const std::string& path, HiddenItems hiddenItems) {
  if (const std::optional<ScannedFolder> folder = scan.folder(path)) {
    return SizedItem{.size = hiddenItems == HiddenItems::include ? folder->sizes : scan.visibleSizes(*folder)};
  }
  const std::optional<ScannedFolder> parent = scan.folder(path::parent(path));
  if (!parent) return SizedItem{};
  for (const ScannedFile& file : scan.largeFiles(parent->id, parent->id)) {
    if (file.name == path::lastComponent(path)) return SizedItem{.size = file.sizes};
  }
  return scan.facts().keptAbove < 0 ? std::optional(SizedItem{}) : std::nullopt;
}

}  // namespace

std::vector<std::optional<std::size_t>> holdersOf(const std::vector<Artifact>& artifacts,
                                                  const std::function<std::string(const FileURL&)>& pathOf) {
  const FindPaths paths(artifacts, pathOf);
  std::vector<std::optional<std::size_t>> holders;
  holders.reserve(artifacts.size());
  for (std::size_t i = 0; i < artifacts.size(); ++i) holders.push_back(paths.holderOf(i));
  return holders;
}

FindSizes::FindSizes(CommandContext& context, HiddenItems hidden) : context_(context), hidden_(hidden) {
  if (context.scan() == nullptr) volume_.emplace(context.services().files, hidden);
}

UnionSize FindSizes::together(const std::vector<FileURL>& urls) const {
  if (volume_) return volume_->of(urls, context_.cancellation());
  std::vector<std::string> paths;
  paths.reserve(urls.size());
  for (const FileURL& url : urls) paths.push_back(url.path());
  return unionSize(std::move(paths),
                   [&](const std::string& path) { return scannedItem(*context_.scan(), path, hidden_); });
}

UnionSize FindSizes::together(const std::vector<Artifact>& artifacts) const {
  std::vector<FileURL> urls;
  for (const Artifact& artifact : artifacts) urls.insert(urls.end(), artifact.urls.begin(), artifact.urls.end());
  return together(urls);
}

std::vector<std::optional<std::size_t>> FindSizes::holders(const std::vector<Artifact>& artifacts) const {
  if (!volume_) return holdersOf(artifacts, [](const FileURL& url) { return url.path(); });
  const FileManager& files = context_.services().files;
  return holdersOf(artifacts, [&](const FileURL& url) { return files.standardizedPath(url); });
}

std::string unionNotes(const UnionSize& together, HiddenItems hidden, CommandContext& context) {
  std::string notes;
  if (together.linkedFiles > 0) {
    notes += fmt::format("{} found under several names (hard links) and counted once.\n",
                         countText(static_cast<std::uint64_t>(together.linkedFiles), "file"));
  }
  if (together.heldFiles > 0 && hidden == HiddenItems::include) {
    notes += fmt::format("{} in {} with further names elsewhere: the space is free when all names are gone.\n",
                         context.size(together.heldBytes),
                         countText(static_cast<std::uint64_t>(together.heldFiles), "file"));
  }
  if (!together.isExact) notes += "The sum is not exact: the sizes of some items are not known.\n";
  return notes;
}

nlohmann::ordered_json unionJSON(const UnionSize& together, HiddenItems hidden) {
  nlohmann::ordered_json json{
      {"size", toJSON(together.size)}, {"linkedFiles", together.linkedFiles}, {"isExact", together.isExact}};
  if (hidden == HiddenItems::skip) return json;
  json["heldFiles"] = together.heldFiles;
  json["heldBytes"] = together.heldBytes;
  return json;
}

}  // namespace quarn

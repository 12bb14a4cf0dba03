#include "QuarnCore/scans/ScannedWays.h"

#include <algorithm>
#include <optional>

namespace quarn {
namespace {

/// A folder or an item in a folder.
struct Step {
  std::string_view name{};
  std::uint32_t folder = 0;
  std::optional<std::size_t> item{};
};

}  // namespace

const ScannedWays::Way& ScannedWays::to(std::uint32_t folder) {
  // A hostile scan may nest folders very deeply, so this does not recurse.
  std::vector<std::pair<std::uint32_t, Way>> unknown;
  for (std::uint32_t id = folder; !known_.contains(id); id = unknown.back().second.parent) {
    unknown.emplace_back(id, read(id));
  }
  for (; !unknown.empty(); unknown.pop_back()) {
    auto& [id, way] = unknown.back();
    const Way& parent = known_.at(way.parent);
    way.length = parent.length + 1;
    way.isHidden = way.isHidden || parent.isHidden;
    way.isInPackage = way.isInPackage || parent.isInPackage;
    known_.emplace(id, std::move(way));
  }
  return known_.at(folder);
}

ScannedWays::Way ScannedWays::read(std::uint32_t folder) const {
  ScannedFolder read = scan_.folderWithID(folder);
  // A parent has a smaller id, so the way up ends; a way past the root is a lie of the file.
  if (read.parent < root_) throw ScanError(ScanError::Problem::damaged, scan_.file());
  return {
      .parent = read.parent, .name = std::move(read.name), .isHidden = read.isHidden, .isInPackage = read.isPackage};
}

std::string ScannedWays::path(std::uint32_t folder, std::string_view name) const {
  std::vector<std::string_view> names{name};
  for (std::uint32_t id = folder; id != root_; id = known_.at(id).parent) names.push_back(known_.at(id).name);
  std::string path(names.back());
  for (auto next = names.rbegin() + 1; next != names.rend(); ++next) (path += '/') += *next;
  return path;
}

std::vector<std::size_t> ScannedWays::walkOrder(const std::vector<Place>& places) const {
  std::unordered_map<std::uint32_t, std::vector<Step>> contents;
  for (std::size_t item = 0; item < places.size(); ++item) {
    auto [folder, name] = places[item];
    bool isNew = !contents.contains(folder);
    contents[folder].push_back({.name = name, .item = item});
    for (; isNew && folder != root_;) {
      const Way& way = known_.at(folder);
      isNew = !contents.contains(way.parent);
      contents[way.parent].push_back({.name = way.name, .folder = folder});
      folder = way.parent;
    }
  }
  std::vector<std::size_t> order;
  std::vector<Step> next{{.folder = root_}};
  while (!next.empty()) {
    const Step step = next.back();
    next.pop_back();
    if (step.item) {
      order.push_back(*step.item);
      continue;
    }
    std::vector<Step>& steps = contents[step.folder];
    std::sort(steps.begin(), steps.end(), [](const Step& left, const Step& right) { return left.name > right.name; });
    next.insert(next.end(), steps.begin(), steps.end());
  }
  return order;
}

}  // namespace quarn

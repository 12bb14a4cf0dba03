#include "QuarnCore/storage/ScanRoots.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {
namespace {

using Category = StorageCategoryID;

constexpr ScanMode kItemByItem = ScanMode::enumerate(/*includeHidden=*/true, /*allowSlow=*/true);
constexpr ScanMode kAsOneSum = ScanMode::fast(/*allowSlow=*/true);

constexpr std::array kEnumerated{Category::photos,    Category::communication, Category::development, Category::games,
                                 Category::documents, Category::apps,          Category::other};
// Of equal prefixes, the earlier category wins.
constexpr std::array kRuled{Category::photos, Category::communication, Category::development,
                            Category::games,  Category::documents,     Category::apps};

struct Listed {
  ScanRoot root;
  FileURL url;
  bool isLinked;
};

Listed makeListed(const FileURL& url, Category category, ScanMode mode, RealPaths& places, const FileManager& files) {
  const std::optional<std::string> realPath = places.realPath(url);
  ScanRoot root{
      .path = files.standardizedPath(realPath.value_or(url.path())), .defaultCategory = category, .mode = mode};
  root.location = realPath.value_or(root.path);
  const bool isLinked = root.path != files.standardizedPath(url);
  return {std::move(root), url, isLinked};
}

std::vector<Listed> listRoots(const CategoryRoots& categories, const FileURL& quarantine, const FileManager& files) {
  std::vector<Listed> listed;
  const auto add = [&](const std::vector<FileURL>& urls, Category category, ScanMode mode) {
    for (const FileURL& url : urls) {
      if (files.cancellation().isCancelled()) return;
      listed.push_back(makeListed(url, category, mode, categories.places(), files));
    }
  };
  for (const Category category : kEnumerated) add(categories.roots(category, true), category, kItemByItem);
  add(categories.roots(Category::systemData, true), Category::systemData, kAsOneSum);
  add({quarantine}, Category::systemData, kAsOneSum);
  // A root reached directly wins over one reached through a link.
  std::stable_partition(listed.begin(), listed.end(), [](const Listed& root) { return !root.isLinked; });
  return listed;
}

std::vector<PrefixRule> makePrefixRules(const std::vector<Listed>& listed) {
  std::vector<PrefixRule> rules;
  for (const bool isLinked : {false, true}) {
    for (const Category category : kRuled) {
      for (const Listed& candidate : listed) {
        if (candidate.isLinked != isLinked || candidate.root.defaultCategory != category) continue;
        rules.push_back({candidate.root.location, category});
      }
    }
  }
  return rules;
}

std::vector<ScanRoot> rootsThatCount(const std::vector<Listed>& listed, const VolumeLocationChecker& locations,
                                     RealPaths& places, const FileManager& files) {
  std::vector<ScanRoot> roots;
  std::unordered_set<std::string> seen;
  for (const Listed& candidate : listed) {
    if (files.cancellation().isCancelled()) break;
    if (!places.itemExists(candidate.url) || locations.isExternal(candidate.url)) continue;
    if (seen.insert(candidate.root.path).second) roots.push_back(candidate.root);
  }
  return roots;
}

// The walk of an enumerated root also attributes the enumerated roots inside it, by their rules. If a fast root is
// between the two, that walk does not reach the inner root, which must be walked separately.
void dropRootsInEnumeratedOnes(std::vector<ScanRoot>& roots) {
  PathTrie<ScanMode> modes;
  for (const ScanRoot& root : roots) modes.insert(root.location, root.mode);
  std::erase_if(roots, [&](const ScanRoot& root) {
    if (root.mode.isFast() || root.location == "/") return false;
    const ScanMode* around = modes.longestMatch(path::parent(root.location));
    return around != nullptr && !around->isFast();
  });
}

// Walks never follow links, so an exclusion that goes through a link matches nothing.
std::string exclusionLocation(const FileURL& url, RealPaths& places, const FileManager& files) {
  const std::string path = files.standardizedPath(url);
  const std::optional<std::string> realPath = places.realPath(url);
  return realPath && files.standardizedPath(*realPath) == path ? *realPath : path;
}

// Climbs from each location to the few roots around it, instead of comparing it with all roots.
void excludeFromRootsAround(const std::vector<std::string>& locations, std::vector<ScanRoot>& roots) {
  std::unordered_map<std::string_view, ScanRoot*> byLocation;
  for (ScanRoot& root : roots) byLocation.emplace(root.location, &root);
  for (const std::string& inner : locations) {
    std::string_view around = inner;
    while (around != "/") {
      around = path::parent(around);
      const auto found = byLocation.find(around);
      if (found != byLocation.end()) found->second->exclusions.push_back(inner);
    }
  }
}

std::vector<std::string> locationsOf(const std::vector<ScanRoot>& roots) {
  std::vector<std::string> locations;
  locations.reserve(roots.size());
  for (const ScanRoot& root : roots) locations.push_back(root.location);
  return locations;
}

std::vector<std::string> fastExclusions(const CategoryRoots& categories, const FileManager& files) {
  std::vector<std::string> locations;
  for (const FileURL& url : categories.exclusions(Category::systemData)) {
    if (files.cancellation().isCancelled()) break;
    locations.push_back(exclusionLocation(url, categories.places(), files));
  }
  return locations;
}

}  // namespace

ScanPlan makeScanPlan(const CategoryRoots& categories, const FileURL& quarantine,
                      const VolumeLocationChecker& locations, const FileManager& files) {
  const std::vector<Listed> listed = listRoots(categories, quarantine, files);
  ScanPlan plan{.roots = rootsThatCount(listed, locations, categories.places(), files),
                .prefixRules = makePrefixRules(listed)};
  dropRootsInEnumeratedOnes(plan.roots);
  excludeFromRootsAround(locationsOf(plan.roots), plan.roots);
  const std::vector<std::string> others = fastExclusions(categories, files);
  for (ScanRoot& root : plan.roots) {
    if (root.mode.isFast()) root.exclusions.insert(root.exclusions.end(), others.begin(), others.end());
  }
  return plan;
}

void addPlanOfHome(ScanPlan& all, ScanPlan plan, std::size_t position, const HomeFolders& homes) {
  for (ScanRoot& root : plan.roots) {
    if (!homes.isOf(position, root.location)) continue;
    // Most exclusions are places of the volume that this root does not contain.
    std::erase_if(root.exclusions,
                  [&](const std::string& location) { return !path::isInside(location, root.location); });
    root.home = homes.homeOf(root.location);
    all.roots.push_back(std::move(root));
  }
  for (PrefixRule& rule : plan.prefixRules) {
    if (!homes.isOf(position, rule.prefix)) continue;
    rule.home = homes.homeOf(rule.prefix);
    all.prefixRules.push_back(std::move(rule));
  }
}

void excludeHomes(ScanPlan& all, const HomeFolders& homes) { excludeFromRootsAround(homes.locations(), all.roots); }

}  // namespace quarn

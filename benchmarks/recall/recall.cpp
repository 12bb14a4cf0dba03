// How much of what real apps leave is found, and how much is claimed wrongly. Usage: recall APPS.TSV [--misses FILE]
//
// A listed path is found when the app's claims hold it or a folder around it. A claim is wrong when it holds a path
// that is listed only by apps of other vendors; in the map an inner entry with an owner of its own is not held by the
// folder around it. docs/recall.md says more.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnCore/ownership/OwnershipService.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "RecallData.h"
#include "quarn/services/Services.h"

namespace quarn::recall {
namespace {

using Apps = std::vector<ListedApp>;

struct Share {
  std::size_t found = 0;
  std::size_t all = 0;

  void add(bool isFound) {
    found += isFound ? 1 : 0;
    ++all;
  }
  void add(const Share& other) {
    found += other.found;
    all += other.all;
  }
  [[nodiscard]] double percent() const {
    return all == 0 ? 0 : 100.0 * static_cast<double>(found) / static_cast<double>(all);
  }
};

/// What one way of looking finds on one volume.
struct Score {
  Share recall;
  std::map<std::string, Share> byPlace;
  std::size_t wrong = 0;
  std::size_t preselected = 0;

  void add(const Score& other) {
    recall.add(other.recall);
    for (const auto& [place, share] : other.byPlace) byPlace[place].add(share);
    wrong += other.wrong;
    preselected += other.preselected;
  }
};

struct OrphanScore {
  Share found;
  std::size_t wrong = 0;
  std::size_t ofInstalled = 0;

  void add(const OrphanScore& other) {
    found.add(other.found);
    wrong += other.wrong;
    ofInstalled += other.ofInstalled;
  }
};

std::ofstream misses;

std::string placeOf(const std::string& path) {
  const std::string home(RecallVolume::kHome);
  const std::string library = home + "/Library/";
  if (path.starts_with(library))
    return "~/Library/" + path.substr(library.size(), path.find('/', library.size()) - library.size());
  if (path.starts_with(home + "/.")) return "~/.*";
  if (path.starts_with(home)) return "~/*";
  const std::size_t second = path.find('/', 1);
  return path.substr(0, second == std::string::npos ? second : path.find('/', second + 1));
}

bool hasVendor(const Apps& apps, const std::vector<std::size_t>& listing, const std::string& vendor) {
  return std::any_of(listing.begin(), listing.end(), [&](std::size_t app) { return apps[app].vendor == vendor; });
}

/// Whether something listed only by other vendors lies at or in the path.
bool holdsOthers(const Apps& apps, const RecallVolume& volume, const std::string& path, const std::string& vendor) {
  const auto& paths = volume.paths();
  const std::string inside = path + "/";
  const auto own = paths.find(path);
  if (own != paths.end() && !hasVendor(apps, own->second, vendor)) return true;
  for (auto at = paths.lower_bound(inside); at != paths.end() && at->first.starts_with(inside); ++at) {
    if (!hasVendor(apps, at->second, vendor)) return true;
  }
  return false;
}

AppInspectionService::Options inspectionOptions() {
  return {.includeHeuristicSearch = true,
          .heuristicMaxDepth = 3,
          .heuristicMaxResults = 50,
          .includeDocumentsHeuristicSearch = true,
          .documentsHeuristicMaxDepth = 3,
          .documentsHeuristicMaxResults = 50,
          .includeVendorHeuristics = true,
          .includeSystemArtifacts = true,
          .includeSystemHeuristicSearch = true,
          .includeGroupContainers = true,
          .includeLaunchd = true,
          .includeReceipts = true,
          .includeKernelExtensions = true,
          .computeArtifactSizes = false};
}

bool isClaimed(const std::set<std::string>& claims, const std::string& path) {
  for (std::size_t end = path.size(); end != std::string::npos && end > 0; end = path.rfind('/', end - 1)) {
    if (claims.contains(path.substr(0, end))) return true;
  }
  return false;
}

std::set<std::string> urlsOf(const std::vector<Artifact>& artifacts) {
  std::set<std::string> paths;
  for (const Artifact& artifact : artifacts) {
    if (artifact.kind == ArtifactKind::appBundle) continue;
    for (const FileURL& url : artifact.urls) paths.insert(url.path());
  }
  return paths;
}

std::size_t wrongAmong(const Apps& apps, const RecallVolume& volume, const std::set<std::string>& claims,
                       const std::string& vendor) {
  return static_cast<std::size_t>(std::count_if(
      claims.begin(), claims.end(), [&](const std::string& path) { return holdsOthers(apps, volume, path, vendor); }));
}

Score scoreInspections(const Apps& apps, const RecallVolume& volume, const std::vector<AppInspection>& inspections) {
  Score score;
  for (const AppInspection& inspection : inspections) {
    const std::size_t app = volume.appAt(inspection.app.bundleURL.path());
    const std::set<std::string> claims = urlsOf(inspection.artifacts);
    for (const std::string& path : apps[app].paths) {
      const bool isFound = isClaimed(claims, path);
      score.recall.add(isFound);
      score.byPlace[placeOf(path)].add(isFound);
    }
    score.wrong += wrongAmong(apps, volume, claims, apps[app].vendor);
    const auto selected = AppRemovalPlanner::defaultSelectedArtifacts(inspection, CleanupMode::removeApp);
    score.preselected += wrongAmong(apps, volume, urlsOf(selected), apps[app].vendor);
  }
  return score;
}

Score scoreMap(const Apps& apps, const RecallVolume& volume, const OwnershipMap& map) {
  Score score;
  std::set<std::pair<std::string, std::size_t>> wrong;
  for (const auto& [path, listing] : volume.paths()) {
    const Ownership ownership = map.owners(FileURL(path));
    std::set<std::size_t> owners;
    for (const OwnershipClaim& claim : ownership.owners) owners.insert(volume.appAt(claim.bundleURL.path()));
    for (const std::size_t app : listing) {
      if (!volume.isInstalled(app)) continue;
      score.recall.add(owners.contains(app));
      score.byPlace[placeOf(path)].add(owners.contains(app));
      if (!owners.contains(app) && misses) {
        misses << "MISS\t" << apps[app].name << '\t' << apps[app].bundleIdentifier << '\t' << path << '\t'
               << rawValue(ownership.status);
        for (const std::size_t other : owners)
          misses << '\t' << apps[other].name << " " << apps[other].bundleIdentifier;
        misses << '\n';
      }
    }
    for (const std::size_t owner : owners) {
      if (hasVendor(apps, listing, apps[owner].vendor)) continue;
      const auto around = map.entryAround(path);
      const std::string entry = around ? map.url(*around).path() : path;
      if (wrong.emplace(entry, owner).second && misses) {
        misses << "WRONG\t" << apps[owner].name << '\t' << apps[owner].bundleIdentifier << '\t' << path << '\t'
               << rawValue(ownership.owners.front().evidence) << '\t' << apps[listing.front()].name << ' '
               << apps[listing.front()].bundleIdentifier << (volume.isInstalled(listing.front()) ? "" : " (absent)")
               << '\n';
      }
    }
  }
  score.wrong = wrong.size();
  return score;
}

OrphanScore scoreOrphans(const Apps& apps, const RecallVolume& volume, const OwnershipMap& map) {
  OrphanScore score;
  for (const auto& listed : volume.paths()) {
    const auto& [path, listing] = listed;
    const bool isInstalled =
        std::any_of(listing.begin(), listing.end(), [&](std::size_t app) { return volume.isInstalled(app); });
    const Ownership ownership = map.owners(FileURL(path));
    const bool isOrphaned = ownership.status == OwnershipStatus::orphaned;
    if (isInstalled) {
      ++score.ofInstalled;
      score.wrong += isOrphaned ? 1 : 0;
      if (isOrphaned && misses)
        misses << "FALSE-ORPHAN\t" << apps[listing.front()].name << '\t' << apps[listing.front()].bundleIdentifier
               << '\t' << path << '\n';
      continue;
    }
    const bool isSiblings =
        std::any_of(ownership.owners.begin(), ownership.owners.end(), [&](const OwnershipClaim& claim) {
          return hasVendor(apps, listed.second, apps[volume.appAt(claim.bundleURL.path())].vendor);
        });
    score.found.add(isOrphaned || isSiblings);
    if (!isOrphaned && !isSiblings && misses) {
      misses << "NO-ORPHAN\t" << apps[listing.front()].name << '\t' << apps[listing.front()].bundleIdentifier << '\t'
             << path << '\t' << rawValue(ownership.status);
      for (const OwnershipClaim& claim : ownership.owners)
        misses << '\t' << claim.appID << ' ' << rawValue(claim.evidence);
      misses << '\n';
    }
  }
  return score;
}

struct Result {
  Score inspections;
  Score map;
  OrphanScore orphans;

  void add(const Result& other) {
    inspections.add(other.inspections);
    map.add(other.map);
    orphans.add(other.orphans);
  }
};

// Of the selections of a removal that looks at the whole volume, what others' paths are in.
std::size_t preselectedWrongly(const Apps& apps, const RecallVolume& volume,
                               const std::vector<AppInspection>& inspections, const OwnershipMap& map) {
  std::size_t wrong = 0;
  for (const AppInspection& inspection : inspections) {
    const std::string& vendor = apps[volume.appAt(inspection.app.bundleURL.path())].vendor;
    wrong += wrongAmong(apps, volume, urlsOf(chosenArtifacts(inspection, CleanupMode::removeApp, map)), vendor);
  }
  return wrong;
}

Result measure(const Apps& apps, std::vector<std::size_t> present, const std::vector<bool>& installed, bool inspects) {
  const RecallVolume volume(apps, std::move(present), installed);
  const Services services(FileManager::mounted(volume.folder(), FileURL(RecallVolume::kHome)),
                          ResourceBundle::shipped());
  const std::vector<AppEntity> found = services.appDiscovery.discoverApplications();
  Result result;
  std::vector<AppInspection> inspections;
  if (inspects) {
    services.appInspection().inspectAll(
        found, inspectionOptions(), [&](AppInspection inspection) { inspections.push_back(std::move(inspection)); });
    result.inspections = scoreInspections(apps, volume, inspections);
  }
  const OwnershipMap map = services.ownership().map(found, OwnershipService::kEverything);
  result.map = scoreMap(apps, volume, map);
  result.map.preselected = preselectedWrongly(apps, volume, inspections, map);
  result.orphans = scoreOrphans(apps, volume, map);
  return result;
}

std::vector<std::size_t> allOf(const Apps& apps) {
  std::vector<std::size_t> all(apps.size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  return all;
}

Result everyAppInstalled(const Apps& apps) {
  return measure(apps, allOf(apps), std::vector<bool>(apps.size(), true), true);
}

Result halfOfTheAppsRemoved(const Apps& apps) {
  std::mt19937 random(1);
  std::vector<bool> installed(apps.size());
  for (std::size_t i = 0; i < apps.size(); ++i) installed[i] = random() % 2 == 0;
  return measure(apps, allOf(apps), installed, false);
}

Result livedInMacs(const Apps& apps) {
  constexpr std::size_t kVolumes = 50;
  constexpr std::size_t kPresent = 120;
  constexpr std::size_t kInstalled = 60;
  std::mt19937 random(2);
  Result sum;
  for (std::size_t i = 0; i < kVolumes; ++i) {
    std::vector<std::size_t> chosen = allOf(apps);
    const std::size_t present = std::min(kPresent, chosen.size());
    for (std::size_t at = 0; at < present; ++at) std::swap(chosen[at], chosen[at + random() % (chosen.size() - at)]);
    chosen.resize(present);
    std::vector<bool> installed(apps.size(), false);
    for (std::size_t at = 0; at < std::min(kInstalled, present); ++at) installed[chosen[at]] = true;
    sum.add(measure(apps, chosen, installed, true));
  }
  return sum;
}

void printTable(const Score& inspections, const Score& map) {
  std::vector<std::pair<std::string, Share>> places(map.byPlace.begin(), map.byPlace.end());
  std::stable_sort(places.begin(), places.end(),
                   [](const auto& left, const auto& right) { return left.second.all > right.second.all; });
  std::printf("| place | paths | inspections | map |\n| --- | ---: | ---: | ---: |\n");
  for (const auto& [place, share] : places) {
    if (share.all < 3) continue;
    const auto inspected = inspections.byPlace.find(place);
    std::printf("| %s | %zu | %.1f %% | %.1f %% |\n", place.c_str(), share.all,
                inspected == inspections.byPlace.end() ? 0.0 : inspected->second.percent(), share.percent());
  }
  std::printf("| all | %zu | %.1f %% | %.1f %% |\n", map.recall.all, inspections.recall.percent(),
              map.recall.percent());
  std::printf("inspections: %zu wrong claims, %zu of them preselected\n", inspections.wrong, inspections.preselected);
}

void printLine(const char* name, const Score& map, const OrphanScore& orphans) {
  std::printf("%s: map %.1f %%, wrong claims %zu, preselected %zu, orphans found %.1f %%, orphans wrong %zu\n", name,
              map.recall.percent(), map.wrong, map.preselected, orphans.found.percent(), orphans.wrong);
}

void run(const std::string& file) {
  const Apps apps = readApps(file);
  const Result all = everyAppInstalled(apps);
  printTable(all.inspections, all.map);
  if (misses) misses << "=== half\n";
  const Result half = halfOfTheAppsRemoved(apps);
  std::printf("half of the apps removed: %zu of %zu entries of installed apps called orphaned\n", half.orphans.wrong,
              half.orphans.ofInstalled);
  if (misses) misses << "=== small\n";
  const Result small = livedInMacs(apps);
  std::printf("small volumes: %zu of %zu entries of installed apps called orphaned\n", small.orphans.wrong,
              small.orphans.ofInstalled);
  printLine("recall-small", small.map, small.orphans);
  printLine("recall", all.map, half.orphans);
}

}  // namespace
}  // namespace quarn::recall

int main(int count, char** arguments) {
  if (count < 2) {
    std::cerr << "usage: recall APPS.TSV [--misses FILE]\n";
    return 2;
  }
  for (int i = 2; i < count; ++i) {
    const std::string option = arguments[i];
    if (option == "--misses" && i + 1 < count) quarn::recall::misses.open(arguments[i + 1]);
  }
  try {
    quarn::recall::run(arguments[1]);
  } catch (const std::exception& error) {
    std::cerr << "recall: " << error.what() << '\n';
    return 1;
  }
  return 0;
}

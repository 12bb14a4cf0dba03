#include "QuarnCore/ownership/PathEvidence.h"

#include <algorithm>
#include <utility>

#include "QuarnCore/ownership/OwnershipPlaces.h"
#include "QuarnCore/vendors/ListedFolders.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

constexpr std::size_t kMostOwners = 64;
constexpr std::string_view kHelperTools = "/Library/PrivilegedHelperTools";

// The app bundle that is, or contains, a path: the path up to the first component that ends in ".app".
std::string_view bundleAround(std::string_view path) {
  for (std::size_t at = path.find(".app"); at != std::string_view::npos; at = path.find(".app", at + 1)) {
    const std::size_t end = at + 4;
    if (end == path.size() || path[end] == '/') return path.substr(0, end);
  }
  return {};
}

std::string programOf(const LaunchdEntry& job) {
  if (job.program) return *job.program;
  return job.programArguments.empty() ? std::string() : job.programArguments.front();
}

std::string onlyIdentifier(const VendorProfile& profile) {
  return profile.match.bundleIDs.size() == 1 ? profile.match.bundleIDs.front() : std::string();
}

bool installsApp(const VendorProfile& profile) {
  return !profile.match.bundleIDs.empty() &&
         std::any_of(profile.artifacts.begin(), profile.artifacts.end(),
                     [](const auto& definition) { return definition.kind == ArtifactKind::appBundle; });
}

bool isOfOneApp(const VendorProfile::ArtifactDefinition& definition) {
  return definition.kind != ArtifactKind::appBundle && definition.dataClass != ArtifactDataClass::shared;
}

}  // namespace

PathEvidence::PathEvidence(const AppIndex& index, const std::vector<AppEntity>& apps) : index_(index), apps_(apps) {
  for (std::uint32_t i = 0; i < apps.size(); ++i) bundles_.insert(apps[i].bundleURL.path(), i);
}

std::optional<std::uint32_t> PathEvidence::appAround(std::string_view path) const {
  const std::uint32_t* app = bundles_.longestMatch(path);
  return app == nullptr ? std::nullopt : std::optional(*app);
}

std::string PathEvidence::entryOf(std::string_view path, const FileManager& files) {
  if (!hasPlaces_) {
    for (const OwnershipPlace& place : ownershipPlaces()) {
      const FileURL folder =
          place.folder.starts_with('/') ? FileURL(place.folder) : files.homeDirectory().appending(place.folder);
      places_.insert(folder.path(), '\0');
    }
    hasPlaces_ = true;
  }
  auto node = PathTrie<char>::kRoot;
  std::size_t end = 0;
  bool isBelowPlace = false;
  for (std::size_t at = 0; at < path.size();) {
    const std::size_t next = std::min(path.find('/', at + 1), path.size());
    node = places_.step(node, path.substr(at + 1, next - at - 1));
    if (node == PathTrie<char>::kNone) return isBelowPlace ? std::string(path.substr(0, next)) : std::string();
    isBelowPlace = places_.value(node) != nullptr;
    at = end = next;
  }
  return {};
}

void PathEvidence::add(std::string entry, EvidenceKind kind, const AppList& apps) {
  if (entry.empty() || apps.empty()) return;
  std::vector<Find>& finds = finds_[std::move(entry)];
  auto known = std::find_if(finds.begin(), finds.end(), [&](const Find& find) { return find.kind == kind; });
  if (known == finds.end()) {
    finds.push_back({kind, {}});
    known = finds.end() - 1;
  }
  for (const std::uint32_t app : apps) {
    if (known->apps.size() >= kMostOwners) return;
    if (std::find(known->apps.begin(), known->apps.end(), app) == known->apps.end()) known->apps.push_back(app);
  }
}

std::vector<EvidenceFind> PathEvidence::finds(std::string_view path) const {
  std::vector<EvidenceFind> result;
  const auto found = finds_.find(std::string(path));
  if (found == finds_.end()) return result;
  for (const Find& find : found->second) result.push_back({find.kind, &find.apps});
  std::sort(result.begin(), result.end(),
            [](const EvidenceFind& left, const EvidenceFind& right) { return left.kind < right.kind; });
  return result;
}

const PathEvidence::Former* PathEvidence::former(std::string_view path) const {
  const auto found = former_.find(std::string(path));
  return found == former_.end() ? nullptr : &found->second;
}

void PathEvidence::addReceipts(const std::vector<ReceiptInfo>& receipts, const FileManager& files) {
  for (const ReceiptInfo& receipt : receipts) addReceipt(receipt, files);
}

const AppList* PathEvidence::appsOfPackage(std::string_view packageIdentifier) const {
  const std::string identifier = Text::lowercased(packageIdentifier);
  std::string_view prefix = identifier;
  while (!prefix.empty()) {
    if (const AppList* apps = index_.find(AppIndex::Key::identifier, prefix)) return apps;
    const std::size_t dot = prefix.rfind('.');
    prefix = dot == std::string_view::npos ? std::string_view() : prefix.substr(0, dot);
  }
  return nullptr;
}

// By the package's identifier, and by the bundles that it lists.
AppList PathEvidence::appsOf(const ReceiptInfo& receipt, const FileManager& files, std::string& goneApp) const {
  AppList apps;
  if (const AppList* named = appsOfPackage(receipt.packageIdentifier)) apps = *named;
  std::string_view checked;
  for (const FileURL& file : receipt.files) {
    const std::string_view bundle = bundleAround(file.path());
    if (bundle.empty() || bundle == checked) continue;
    checked = bundle;
    if (const auto app = appAround(bundle)) {
      if (apps.size() < kMostOwners && std::find(apps.begin(), apps.end(), *app) == apps.end()) apps.push_back(*app);
    } else if (goneApp.empty() && !files.itemExists(FileURL(bundle))) {
      goneApp = bundle;
    }
  }
  return apps;
}

void PathEvidence::addReceipt(const ReceiptInfo& receipt, const FileManager& files) {
  if (receipt.packageIdentifier.starts_with("com.apple.")) return;
  std::string goneApp;
  const AppList apps = appsOf(receipt, files, goneApp);
  if (apps.empty() && goneApp.empty()) return;
  std::string last;
  for (const FileURL& file : receipt.files) {
    std::string entry = entryOf(file.path(), files);
    if (entry.empty() || entry == last) continue;
    last = entry;
    if (!apps.empty()) {
      add(std::move(entry), EvidenceKind::receipt, apps);
    } else {
      const FormerOwner owner{.name = std::string(path::stem(goneApp)), .bundleIdentifier = std::nullopt};
      former_.try_emplace(std::move(entry), Former{OrphanKind::receipt, owner});
    }
  }
}

void PathEvidence::addJobs(const std::vector<LaunchdEntry>& jobs, const FileManager& files) {
  for (const LaunchdEntry& job : jobs) {
    const std::string& path = job.url.path();
    if (path.starts_with("/System/")) continue;
    const std::string program = programOf(job);
    if (!program.starts_with('/')) continue;
    if (const auto app = appAround(program)) {
      add(path, EvidenceKind::launchdProgram, {*app});
    } else if (path::isInside(program, kHelperTools)) {
      // A helper outlives its app: that it is there says nothing.
    } else if (files.itemExists(FileURL(program))) {
      workingJobs_.emplace(path, '\0');
    } else {
      const std::string_view bundle = bundleAround(program);
      const std::string name = bundle.empty() ? job.label : std::string(path::stem(bundle));
      former_.try_emplace(path, Former{OrphanKind::launchdJob, {.name = name, .bundleIdentifier = std::nullopt}});
    }
  }
}

void PathEvidence::addProfiles(const VendorProfileRegistry& profiles, const FileManager& files) {
  std::vector<AppList> matching(profiles.profiles().size());
  for (std::uint32_t i = 0; i < apps_.size(); ++i) {
    for (const std::size_t profile : profiles.matchingIndices(apps_[i])) {
      if (matching[profile].size() < kMostOwners) matching[profile].push_back(i);
    }
  }
  ListedFolders folders(files);
  for (std::size_t i = 0; i < matching.size(); ++i) {
    const VendorProfile& profile = profiles.profiles()[i];
    if (matching[i].empty() && !installsApp(profile)) continue;
    for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) {
      if (!isOfOneApp(definition)) continue;
      for (const FileURL& url : VendorPathResolver::resolve(definition.paths, folders, files.homeDirectory())) {
        if (!matching[i].empty()) {
          add(url.path(), EvidenceKind::vendorProfile, matching[i]);
        } else {
          std::string identifier = onlyIdentifier(profile);
          former_.try_emplace(
              url.path(),
              Former{OrphanKind::vendorProfile,
                     {.name = profile.displayName,
                      .bundleIdentifier = identifier.empty() ? std::nullopt : std::optional(std::move(identifier))}});
        }
      }
    }
  }
}

}  // namespace quarn

#include "quarn/commands/BranchFacts.h"

#include <string_view>

#include "QuarnPlatform/paths/Path.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/terminal/OwnerText.h"

namespace quarn {
namespace {

// The only category with folders that are found by what is in them. Looking for them reads app data, as the owners do.
constexpr StorageCategoryID kDiscovered = StorageCategoryID::games;

// Calls `finds` for the path of an item and those of the folders around it, until it returns true. Nothing around a
// home folder decides about what is in it.
template <class Finds>
void fromInside(std::string_view path, const HomeFolders& homes, const Finds& finds) {
  const std::optional<std::size_t> home = homes.homeOf(path);
  const std::string_view last = home ? std::string_view(homes.locations()[*home]) : "/";
  while (!finds(path) && !path.empty() && path != "/" && path != last) path = path::parent(path);
}

}  // namespace

BranchFacts::BranchFacts(CommandContext& context, bool wantsOwners) {
  if (const Scan* scan = context.scan()) {
    readScan(*scan, wantsOwners);
  } else {
    readVolume(context, wantsOwners);
  }
}

void BranchFacts::readVolume(CommandContext& context, bool wantsOwners) {
  const StorageDashboardService& dashboard = context.services().storageDashboard();
  const Cancellation& cancellation = context.cancellation();
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    for (const FileURL& root : dashboard.categoryRoots(category, /*includeDiscovered=*/false, cancellation)) {
      categories_.try_emplace(root.path(), category);
      // A user may say /var for /private/var.
      categories_.try_emplace(context.services().files.standardizedPath(root), category);
    }
  }
  if (!wantsOwners) return;
  for (const FileURL& root : dashboard.preciseRoots(kDiscovered, cancellation)) {
    categories_.try_emplace(root.path(), kDiscovered);
  }
  if (!context.isInterrupted()) map_ = mapOfUsers(context);
}

void BranchFacts::readScan(const Scan& scan, bool wantsOwners) {
  homes_ = scan.homes();
  for (const ScannedPlace& place : scan.places()) categories_.try_emplace(place.url.path(), place.category);
  if (!wantsOwners) return;
  // A root that is only counted may hold items of any category, such as an app among documents.
  for (const ScannedRoot& root : scan.roots()) {
    if (root.isListed && root.category == kDiscovered) categories_.try_emplace(root.url.path(), kDiscovered);
  }
  for (const ScannedApp& app : scan.apps(/*withInspections=*/false)) {
    const AppEntity& owner = app.inspection.app;
    apps_.try_emplace(
        owner.bundleURL.path(),
        Owner{.text = owner.name, .app = owner.name, .names = {owner.name, owner.bundleIdentifier.value_or("")}});
  }
  entries_ = scan.owners();
  entriesByPath_.reserve(entries_.size());
  for (std::size_t i = 0; i < entries_.size(); ++i) entriesByPath_.try_emplace(entries_[i].url.path(), i);
}

BranchFacts::Owner BranchFacts::ownerOf(const Ownership& ownership) {
  Owner owner;
  if (ownership.status != OwnershipStatus::unknown) owner.text = ownerText(ownership);
  const bool isOfOne = ownership.status == OwnershipStatus::owned && ownership.owners.size() == 1;
  if (isOfOne || ownership.status == OwnershipStatus::orphaned) owner.app = owner.text;
  for (const OwnershipClaim& claim : ownership.owners) {
    owner.names.push_back(claim.appName);
    if (claim.bundleIdentifier) owner.names.push_back(*claim.bundleIdentifier);
  }
  if (ownership.formerOwner) {
    owner.names.push_back(ownership.formerOwner->name);
    if (ownership.formerOwner->bundleIdentifier) owner.names.push_back(*ownership.formerOwner->bundleIdentifier);
  }
  return owner;
}

BranchFacts::Owner BranchFacts::find(const FileURL& url) const {
  if (map_) return map_->isComplete() ? ownerOf(map_->mapOf(url).owners(url)) : Owner{};
  Owner owner;
  fromInside(url.path(), homes_, [&](std::string_view path) {
    if (const auto app = apps_.find(path); app != apps_.end()) {
      owner = app->second;
      return true;
    }
    const auto entry = entriesByPath_.find(path);
    if (entry != entriesByPath_.end()) owner = ownerOf(entries_[entry->second]);
    return entry != entriesByPath_.end();
  });
  return owner;
}

std::string BranchFacts::owner(const FileURL& url) const { return find(url).text; }

std::string BranchFacts::app(const FileURL& url) const { return find(url).app; }

std::vector<std::string> BranchFacts::owners(const FileURL& url) const { return find(url).names; }

std::optional<StorageCategoryID> BranchFacts::category(const FileURL& url) const {
  std::optional<StorageCategoryID> category;
  fromInside(url.path(), homes_, [&](std::string_view path) {
    const auto found = categories_.find(path);
    if (found != categories_.end()) category = found->second;
    return category.has_value();
  });
  return category;
}

}  // namespace quarn

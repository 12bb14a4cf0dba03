#include "quarn/commands/BranchFacts.h"

#include <string_view>

#include "QuarnPlatform/paths/Path.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/terminal/OwnerText.h"

namespace quarn {
namespace {

// The value of the innermost path that is, or contains, the item. Nothing around a home folder decides about what is
// in it.
template <class Value>
const Value* innermost(const std::map<std::string, Value>& values, std::string_view path, const HomeFolders& homes) {
  const std::optional<std::size_t> home = homes.homeOf(path);
  const std::string_view last = home ? std::string_view(homes.locations()[*home]) : "/";
  for (;; path = path::parent(path)) {
    const auto found = values.find(std::string(path));
    if (found != values.end()) return &found->second;
    if (path.empty() || path == "/" || path == last) return nullptr;
  }
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
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    const Cancellation& cancellation = context.cancellation();
    for (const FileURL& root : dashboard.categoryRoots(category, /*includeDiscovered=*/false, cancellation)) {
      categories_.try_emplace(context.services().files.standardizedPath(root), category);
    }
  }
  if (wantsOwners && !context.isInterrupted()) map_ = mapOfUsers(context);
}

void BranchFacts::readScan(const Scan& scan, bool wantsOwners) {
  homes_ = scan.homes();
  for (const ScannedRoot& root : scan.roots()) categories_.try_emplace(root.url.path(), root.category);
  if (!wantsOwners) return;
  for (const ScannedApp& app : scan.apps(/*withInspections=*/false)) {
    const AppEntity& owner = app.inspection.app;
    owners_.try_emplace(
        owner.bundleURL.path(),
        Owner{.text = owner.name, .app = owner.name, .names = {owner.name, owner.bundleIdentifier.value_or("")}});
  }
  for (const Ownership& entry : scan.entries()) owners_.try_emplace(entry.url.path(), ownerOf(entry));
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
  const Owner* owner = innermost(owners_, url.path(), homes_);
  return owner != nullptr ? *owner : Owner{};
}

std::string BranchFacts::owner(const FileURL& url) const { return find(url).text; }

std::string BranchFacts::app(const FileURL& url) const { return find(url).app; }

std::vector<std::string> BranchFacts::owners(const FileURL& url) const { return find(url).names; }

std::optional<StorageCategoryID> BranchFacts::category(const FileURL& url) const {
  const StorageCategoryID* category = innermost(categories_, url.path(), homes_);
  return category != nullptr ? std::optional(*category) : std::nullopt;
}

}  // namespace quarn

#include "QuarnCore/scans/ScannedOwners.h"

#include <utility>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {

ScannedHints::ScannedHints(const Scan& scan) : homes_(scan.homes()), hints_(scan.vendorPaths()) {
  for (std::size_t i = 0; i < hints_.size(); ++i) {
    const std::string& path = hints_[i].path;
    byCategory_[hints_[i].category][homes_.homeOf(std::string_view(path))].insert(path, i);
  }
}

std::optional<VendorPathHint> ScannedHints::hint(std::string_view path) const {
  const Owner home = homes_.homeOf(path);
  for (const auto& [category, byOwner] : byCategory_) {
    const VendorPathHint* deepest = nullptr;
    for (const auto& [owner, places] : byOwner) {
      const std::size_t* found = owner && owner != home ? nullptr : places.longestMatch(path);
      if (found == nullptr) continue;
      if (deepest == nullptr || hints_[*found].path.size() > deepest->path.size()) deepest = &hints_[*found];
    }
    // A path of a vendor that is "/" contains nothing else.
    if (deepest != nullptr && (deepest->path != "/" || path == "/")) return *deepest;
  }
  return std::nullopt;
}

ScannedOwners::ScannedOwners(const Scan& scan) {
  const ScannedHints hints(scan);
  std::map<std::string, StorageCategoryID, std::less<>> categories;
  for (const ScannedPlace& place : scan.places()) categories.try_emplace(place.url.path(), place.category);
  for (Ownership& entry : scan.entries()) {
    const std::string path = entry.url.path();
    ItemOwnership item{.ownership = std::move(entry), .vendor = hints.hint(path)};
    const auto category = categories.find(path);
    if (category != categories.end()) item.category = category->second;
    byPath_.insert_or_assign(path, items_.size());
    items_.push_back(std::move(item));
  }
  for (ScannedPackage& package : scan.packages()) {
    if (package.entry >= items_.size()) throw ScanError(ScanError::Problem::damaged, scan.file());
    items_[package.entry].packages.push_back(std::move(package.identifier));
  }
  // An app in one of the places has an owner by its bundle, which an entry does not say.
  for (const ScannedApp& app : scan.apps(/*withInspections=*/false)) {
    byPath_.erase(app.inspection.app.bundleURL.path());
  }
}

std::optional<ItemOwnership> ScannedOwners::of(const FileURL& url) const {
  const auto found = byPath_.find(url.path());
  if (found == byPath_.end()) return std::nullopt;
  ItemOwnership item = items_[found->second];
  item.ownership.url = url;
  return item;
}

std::optional<FileURL> ScannedOwners::entryAround(std::string_view path) const {
  while (path.size() > 1) {
    path = path::parent(path);
    const auto found = byPath_.find(path);
    if (found != byPath_.end()) return items_[found->second].ownership.url;
  }
  return std::nullopt;
}

}  // namespace quarn

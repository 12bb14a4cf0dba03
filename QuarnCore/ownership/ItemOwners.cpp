#include "QuarnCore/ownership/ItemOwners.h"

#include <algorithm>
#include <utility>

namespace quarn {

ItemOwners::ItemOwners(OwnershipMap map, ReceiptSnapshot receipts, StorageDashboardService dashboard,
                       const Cancellation& cancellation)
    : map_(std::move(map)), receipts_(std::move(receipts)), dashboard_(std::move(dashboard)) {
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    for (const FileURL& root : dashboard_.categoryRoots(category, /*includeDiscovered=*/false, cancellation)) {
      categories_.try_emplace(root.path(), category);
    }
  }
}

ItemOwnership ItemOwners::of(const FileURL& url) const {
  ItemOwnership item{.packages = receipts_.packageIDs(url.path()), .vendor = vendorOf(url)};
  item.ownership = map_.owners(url, item.packages);
  const auto category = categories_.find(url.path());
  if (category != categories_.end()) item.category = category->second;
  return item;
}

std::optional<StorageCategoryID> ItemOwners::categoryAround(const FileURL& url) const {
  std::string path = url.path();
  while (true) {
    const auto category = categories_.find(path);
    if (category != categories_.end()) return category->second;
    if (path.size() <= 1) return std::nullopt;
    path.resize(std::max<std::size_t>(path.rfind('/'), 1));
  }
}

// A path belongs to at most one category; the hints are kept by category.
std::optional<VendorPathHint> ItemOwners::vendorOf(const FileURL& url) const {
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (auto hint = dashboard_.vendorHint(url, category)) return hint;
  }
  return std::nullopt;
}

}  // namespace quarn

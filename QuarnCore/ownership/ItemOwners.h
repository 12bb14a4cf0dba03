#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "QuarnModels/Storage.h"
#include "QuarnSystem/ReceiptSnapshot.h"

namespace quarn {

/// The owner of an item, and what else is known of its path. A plain value.
struct ItemOwnership {
  Ownership ownership{};
  std::vector<std::string> packages{};          ///< identifiers of the packages that installed it
  std::optional<VendorPathHint> vendor{};       ///< the vendor's path that is, or contains, the item
  std::optional<StorageCategoryID> category{};  ///< the storage category that has the item as a root
  friend bool operator==(const ItemOwnership&, const ItemOwnership&) = default;
};

/// Finds the owners of items anywhere on the volume: in the app-data folders by the map, elsewhere by receipts, vendor
/// paths and storage categories. Reads the roots of the categories once. Safe from any thread.
class ItemOwners {
 public:
  ItemOwners(OwnershipMap map, ReceiptSnapshot receipts, StorageDashboardService dashboard,
             const Cancellation& cancellation = Cancellation::never());

  /// The path must be standardised. An item that does not exist is judged by its path.
  [[nodiscard]] ItemOwnership of(const FileURL& url) const;
  /// The storage category of the innermost root that is, or contains, the item.
  [[nodiscard]] std::optional<StorageCategoryID> categoryAround(const FileURL& url) const;

 private:
  [[nodiscard]] std::optional<VendorPathHint> vendorOf(const FileURL& url) const;

  OwnershipMap map_;
  ReceiptSnapshot receipts_;
  StorageDashboardService dashboard_;
  std::map<std::string, StorageCategoryID> categories_;  ///< by the path of the root
};

}  // namespace quarn

#pragma once

#include <cstdint>
#include <vector>

#include "QuarnCore/folders/TopItemsService.h"

namespace quarn {

/// What a scan says of the largest items.
struct ScannedAnswer {
  std::vector<TopItem> items{};
  /// False if files that the scan does not have could be among the items; then `items` ends before them.
  bool isWhole = true;
  std::vector<FileURL> missing{};  ///< folders that the scan does not have
};

/// Ranks an item by its sizes.
using ScannedRank = std::int64_t (*)(const SizeInfo& size);

}  // namespace quarn

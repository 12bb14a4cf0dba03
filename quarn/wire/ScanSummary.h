#pragma once

#include <cstdint>
#include <vector>

#include "QuarnCore/scans/ScanContent.h"

namespace quarn {

/// What a client shows of a scan that it opens.
struct ScanSummary {
  ScanFacts facts{};
  std::vector<StorageCategory> categories{};
  std::vector<AppEntity> apps{};
  std::int64_t unreadable = 0;  ///< number of items that the scan could not read
};

}  // namespace quarn

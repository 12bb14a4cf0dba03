#pragma once

#include <vector>

#include "QuarnCore/storage/RecordedFolders.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "quarn/report/ReportPage.h"

namespace quarn {

/// What fills each category, from one partitioned scan and its record: the largest folders or apps, and the largest items
/// in each. A folder with the larger part of its category is replaced by what is in it, so that apps are listed and not
/// "/Applications". Pure function.
std::vector<VolumeReport::Place> reportPlaces(const std::vector<StorageDashboardService::PartitionedRoot>& roots,
                                              const RecordedFolders& recorded);

}  // namespace quarn

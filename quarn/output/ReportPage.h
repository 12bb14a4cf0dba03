#pragma once

#include <string>
#include <utility>
#include <vector>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnModels/Storage.h"
#include "quarn/output/SizeText.h"

namespace quarn {

/// What a report on a volume shows.
struct VolumeReport {
  VolumeInfo volume;
  std::vector<StorageCategory> categories;
  std::vector<TopItem> largest;
  std::uint64_t unreadable = 0;  ///< items that could not be read
  bool isComplete = true;
};

/// What a report on one app shows.
struct AppReport {
  AppInspection inspection;
  std::vector<AppRemovalPlanPreview> plans;  ///< one a cleanup mode
  std::uint64_t unreadable = 0;
};

/// One self-contained HTML page: no script, no network, no other file; light and dark. Whatever stands in file names is
/// shown as text.
std::string reportPage(const VolumeReport& report, SizeUnits units);
std::string reportPage(const AppReport& report, SizeUnits units);

}  // namespace quarn

#pragma once

#include <string>
#include <vector>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnModels/Storage.h"
#include "quarn/terminal/SizeText.h"
#include "quarn/terminal/UnreadSummary.h"

namespace quarn {

/// What every report says of itself and how it speaks.
struct ReportFrame {
  SizeUnits units = SizeUnits::decimal;
  FileURL home;          ///< shown as "~"
  Date madeAt;           ///< when the volume was read
  UnreadSummary unread;  ///< what could not be read
};

/// What a report on a volume shows.
struct VolumeReport {
  /// One of the largest items, with what is known of its place.
  struct Item {
    TopItem item;
    std::optional<VendorPathHint> hint;
  };

  ReportFrame frame;
  VolumeInfo volume;
  std::vector<StorageCategory> categories;
  std::vector<Item> largest;    ///< by the space that they take here, largest first
  std::vector<Item> elsewhere;  ///< by what their length exceeds that by, most first
  bool isComplete = true;       ///< false: the scan was interrupted
};

/// What a report on one app shows.
struct AppReport {
  ReportFrame frame;
  AppInspection inspection;
  std::vector<std::vector<CleanupMode>> selectedBy;  ///< of each artifact: the modes that take it by themselves
  std::vector<AppRemovalPlanPreview> plans;          ///< one a cleanup mode
};

/// One self-contained HTML page: no script, no network, no other file; light and dark; tables that a screen reader can
/// walk and maps whose tiles are links to their rows. Whatever stands in file names is shown as text. Pure functions.
std::string reportPage(const VolumeReport& report);
std::string reportPage(const AppReport& report);

}  // namespace quarn

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnCore/storage/UsersDashboard.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnModels/Storage.h"
#include "quarn/terminal/SizeText.h"
#include "quarn/terminal/UnreadSummary.h"

namespace quarn {

/// The settings and facts that every report has.
struct ReportFrame {
  SizeUnits units = SizeUnits::decimal;
  FileURL home{};          ///< shown as "~"; "/" for reports in which no path begins with "~"
  Date madeAt{};           ///< time of reading the volume
  UnreadSummary unread{};  ///< items that could not be read
};

/// How many leftovers a report on a volume lists.
inline constexpr std::size_t kReportedLeftovers = 100;

/// The content of a report on a volume.
struct VolumeReport {
  /// One of the largest items, with the vendor's description of its folder.
  struct Item {
    TopItem item{};
    std::optional<VendorPathHint> hint{};
  };

  /// An item, and the app whose it alone is, or empty.
  struct Part {
    TopItem item{};
    std::string app{};
  };
  /// A folder or an app that takes space of a category, and the largest items in it.
  struct Place {
    StorageCategoryID category = StorageCategoryID::other;
    TopItem item{};  ///< with the bytes that count for the category
    std::string app{};
    std::vector<Part> items{};  ///< largest first
  };

  ReportFrame frame{};
  VolumeInfo volume{};
  /// False for a folder that is not a mounted volume: the totals in `volume` are those of the disk that holds it.
  bool hasCapacity = true;
  std::vector<StorageCategory> categories{};
  std::vector<Place> places{};                ///< by category, largest first
  std::vector<UsersDashboard::Part> users{};  ///< in a report on all users: what each has, and what no user has
  std::vector<Item> largest{};                ///< by space on this disk, largest first
  std::vector<Item> elsewhere{};              ///< by length minus space on this disk, largest first
  std::vector<Leftover> leftovers{};          ///< of apps that are not installed, sized, largest first
  std::size_t moreLeftovers = 0;              ///< smaller ones that are only counted
  std::optional<ScanDifference> changes{};    ///< since an earlier scan
  bool isComplete = true;                     ///< false: the scan was interrupted
};

/// The content of a report on an app.
struct AppReport {
  ReportFrame frame{};
  AppInspection inspection{};
  SizeInfo together{};                                 ///< of all artifacts, without counting anything twice
  std::vector<std::vector<CleanupMode>> selectedBy{};  ///< per artifact: the modes that select it by default
  std::vector<AppRemovalPlanPreview> plans{};          ///< one per cleanup mode
  AppOwnership ownership{};                            ///< what the map of the whole volume says
  bool isComplete = true;                              ///< false: the inspection was interrupted
};

/// One self-contained HTML page without scripts, network access or other files. It has a light and a dark theme,
/// tables for screen readers, and a map with tiles that link to table rows. All file names are escaped. The page is in
/// English and says so; the texts of the records must be too. Pure functions.
std::string reportPage(const VolumeReport& report);
std::string reportPage(const AppReport& report);

}  // namespace quarn

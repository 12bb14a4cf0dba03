#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/scans/Scan.h"
#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// A storage category whose size changed.
struct CategoryChange {
  StorageCategoryID id = StorageCategoryID::apps;
  SizeInfo before{};
  SizeInfo after{};
  friend bool operator==(const CategoryChange&, const CategoryChange&) = default;
};

/// A folder whose change one of its folders does not explain.
struct FolderChange {
  FileURL url{};
  std::optional<SizeInfo> before{};  ///< absent for a new folder
  std::optional<SizeInfo> after{};   ///< absent for a folder that is gone
  friend bool operator==(const FolderChange&, const FolderChange&) = default;
};

/// An app that is in both scans, with another version or with another size of all that belongs to it.
struct AppChange {
  AppEntity app{};  ///< as it is after
  std::optional<std::string> versionBefore{};
  SizeInfo before{};  ///< of its artifacts
  SizeInfo after{};
  friend bool operator==(const AppChange&, const AppChange&) = default;
};

/// What is left of an app that is not installed.
struct NewLeftover {
  std::string name{};
  std::optional<std::string> bundleIdentifier{};
  std::optional<SizeInfo> size{};
  std::int64_t items = 0;
  friend bool operator==(const NewLeftover&, const NewLeftover&) = default;
};

/// What changed from one scan to a later one. Changes of sizes are those of the space on disk, the largest first.
struct ScanDifference {
  Date before{};  ///< when the scans were made
  Date after{};
  std::vector<CategoryChange> categories{};
  std::vector<FolderChange> folders{};
  std::vector<AppEntity> newApps{};
  std::vector<AppEntity> goneApps{};
  std::vector<AppChange> changedApps{};
  std::vector<NewLeftover> newLeftovers{};
  std::vector<LaunchdEntry> newJobs{};
  std::vector<KernelExtensionInfo> newExtensions{};
  friend bool operator==(const ScanDifference&, const ScanDifference&) = default;

  /// True if nothing is listed.
  [[nodiscard]] bool isEmpty() const {
    return categories.empty() && folders.empty() && newApps.empty() && goneApps.empty() && changedApps.empty() &&
           newLeftovers.empty() && newJobs.empty() && newExtensions.empty();
  }
};

/// The smallest change that people usually want to see: without a limit every log file would be a change.
inline constexpr std::int64_t kUsualSmallestChange = 1'000'000;

/// Compares two scans. Lists the categories, folders and apps that changed by at least `minimumBytes` (at least 1), and
/// every app with another version. A folder is listed if its change is not explained by one folder in it, which means
/// that less than `minimumBytes` are left without that one; nothing below a new folder, or one that is gone, is listed.
/// If cancelled, returns an empty difference. Throws ScanError and FileError.
ScanDifference compareScans(const Scan& before, const Scan& after, std::int64_t minimumBytes,
                            const Cancellation& cancellation = Cancellation::never());

}  // namespace quarn

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/ownership/OwnershipService.h"
#include "QuarnCore/scans/Scan.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "QuarnModels/RawValue.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "QuarnSystem/KernelExtensionService.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

/// The steps of a scan that is kept.
enum class ScanStep : std::uint8_t { folders, storage, apps, ownership, system, writing };
template <>
struct RawValues<ScanStep> {
  static constexpr std::array<std::string_view, 6> kStrings{"folders",   "storage", "apps",
                                                            "ownership", "system",  "writing"};
};

/// Makes scans that are kept in a file, and opens them. One pass over the volume gives all sizes: the answers for apps,
/// categories and leftovers are computed from its record. Synchronous. Copyable and thread-safe; one scan is written at
/// a time.
class ScanStore {
 public:
  using CategorySizes = StorageDashboardService::CategorySizes;

  /// The services that answer. Those that size items are made again for each scan, with a calculator that answers from
  /// the scan's record.
  struct Services {
    std::string programVersion;
    std::int64_t vendorProfiles;
    std::string locale;
    AppDiscoveryClient appDiscovery;
    LaunchdScanner launchdScanner;
    ReceiptScanner receiptScanner;
    OwnershipService ownership;
    std::function<StorageDashboardService(const FileSizeCalculator&)> dashboard;
    std::function<AppInspectionService(const FileSizeCalculator&, const Cancellation&)> inspection;
    std::function<KernelExtensionService(const FileSizeCalculator&)> extensions;
    /// The home folders of a scan of all users, that of the file manager first; empty for a scan of one. Then the
    /// clients above know the apps and jobs of all of them, and `dashboardOf` makes the dashboards of the others.
    std::vector<FileURL> homes{};
    std::function<StorageDashboardService(const FileURL& home, const FileSizeCalculator&)> dashboardOf{};
  };
  struct Progress {
    ScanStep step = ScanStep::folders;
    CategorySizes totals{};  ///< so far; empty after the step `folders`
    friend bool operator==(const Progress&, const Progress&) = default;
  };
  /// The result of `write`.
  struct Written {
    std::int64_t files = 0;
    std::int64_t folders = 0;
    std::int64_t bytes = 0;   ///< of the file
    bool isComplete = false;  ///< false if cancelled: then there is no new file
    friend bool operator==(const Written&, const Written&) = default;
  };

  /// The inspection of every app in a scan: everything on, as the command `inspect` does without options.
  static const AppInspectionService::Options kInspection;

  ScanStore(Services services, FileManager files);

  /// Scans the volume and writes `file`, a path of the host. Calls `onProgress`, if not null, on this thread. Throws
  /// FileError: EROFS (operation "write") if the file would be on the inspected volume, and the errors of writing and
  /// of the volume client.
  Written write(const std::string& file, const std::function<void(const Progress&)>& onProgress,
                const Cancellation& cancellation) const;

 private:
  Services services_;
  FileManager files_;
};

}  // namespace quarn

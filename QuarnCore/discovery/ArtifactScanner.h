#pragma once

#include <functional>
#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/base/Required.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Finds an app's files in the standard Library folders of the user and the system, and folders with similar names.
/// Never throws: a location that is missing or cannot be listed contributes nothing.
/// Scans and searches stop soon after `cancellation` is set and return what they have found.
class ArtifactScanner {
 public:
  /// The options of a scan. There are no defaults: omitting a field does not compile.
  struct Options {
    Required<bool> includeHeuristicSearch;   ///< search the user's folders for similar names and bundle identifiers
    Required<long> heuristicMaxDepth;        ///< for both heuristic searches, see `userHeuristicSearch`
    Required<long> heuristicMaxResults;      ///< for each of them
    Required<bool> includeVendorHeuristics;  ///< include the shared folders of Adobe and Microsoft; nothing else
    Required<bool> includeSystemArtifacts;   ///< include the standard locations in /Library
    Required<bool> includeSystemHeuristicSearch;  ///< search the system's folders for the bundle identifier
    Required<bool> computeSizes;
  };

  /// What a scan asks of the volume. The lookups for one app read the disk for each question; the lookups for many apps
  /// cache what they read.
  struct Lookups {
    std::function<std::vector<FileURL>(const FileURL& folder, const std::string& bundleID)> propertyLists;
    std::function<std::vector<Artifact>(const AppEntity& app)> userSearch;
    std::function<std::vector<Artifact>(const AppEntity& app)> systemSearch;
    FileSizeCalculator sizes;
  };

  ArtifactScanner(FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The app's bundle, its artifacts in the standard locations, and those that the options add. No file is in two
  /// artifacts. Sorted by allocated size, largest first (no size counts as 0), then by title.
  [[nodiscard]] std::vector<Artifact> scan(const AppEntity& app, const EntitlementsInfo& entitlements,
                                           const Options& options,
                                           const Cancellation& cancellation = Cancellation::never()) const;
  /// The same scan with these lookups.
  [[nodiscard]] std::vector<Artifact> scan(const AppEntity& app, const EntitlementsInfo& entitlements,
                                           const Options& options, const Lookups& lookups,
                                           const Cancellation& cancellation) const;

  /// Searches four of the user's Library folders for visible items, outside packages, with a name similar to the
  /// app's name or bundle identifier, in walk order. Searches up to `maxDepth` levels below each folder. The direct
  /// entries are level 1; they are included for a depth of 0 too. A negative depth finds nothing. Stops after
  /// `maxResults` results in total; less than 1 finds nothing.
  [[nodiscard]] std::vector<Artifact> userHeuristicSearch(
      const AppEntity& app, long maxDepth, long maxResults,
      const Cancellation& cancellation = Cancellation::never()) const;
  /// The same in three folders of /Library, by bundle identifier only.
  [[nodiscard]] std::vector<Artifact> systemHeuristicSearch(
      const AppEntity& app, long maxDepth, long maxResults,
      const Cancellation& cancellation = Cancellation::never()) const;
  /// The same for folders below ~/Documents, including packages, by name and bundle identifier. The URL of a result
  /// is the resolved, standardised folder.
  [[nodiscard]] std::vector<Artifact> documentsHeuristicSearch(
      const AppEntity& app, long maxDepth, long maxResults,
      const Cancellation& cancellation = Cancellation::never()) const;

  /// Makes an artifact of each job that belongs to the app, in order: its label, program or an argument contains the
  /// bundle identifier, ignoring case.
  [[nodiscard]] std::vector<Artifact> launchdArtifacts(const AppEntity& app,
                                                       const std::vector<LaunchdEntry>& entries) const;
  /// Makes an artifact of each receipt, in order, with the files that it lists.
  [[nodiscard]] std::vector<Artifact> receiptArtifacts(const std::vector<ReceiptInfo>& receipts) const;

 private:
  FileSizeCalculator fileSizeCalculator_;
  FileManager files_;
};

}  // namespace quarn

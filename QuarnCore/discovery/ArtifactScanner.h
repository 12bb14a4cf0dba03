#pragma once

#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Finds the files that an app leaves in the well-known Library folders of the user and of the system, and folders that
/// resemble its name or bundle identifier. A plain value; nothing throws: a location that does not exist or cannot be
/// listed contributes nothing.
class ArtifactScanner {
 public:
  /// What a scan does. No field has a default: the caller chooses every value.
  struct Options {
    bool includeHeuristicSearch;        ///< the user's folders that resemble the app's name or bundle identifier
    long heuristicMaxDepth;             ///< of both heuristic searches, see `userHeuristicSearch`
    long heuristicMaxResults;           ///< of each of them
    bool includeVendorHeuristics;       ///< the folders that Adobe's and Microsoft's apps share, and nothing else
    bool includeSystemArtifacts;        ///< the standard locations in /Library
    bool includeSystemHeuristicSearch;  ///< the system's folders that resemble the bundle identifier
    bool computeSizes;
  };

  ArtifactScanner(FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The app's artifacts in the standard locations and what the options add: its bundle always; no file under two of
  /// them; largest allocation first (no size counts as 0), equal ones by title.
  [[nodiscard]] std::vector<Artifact> scan(const AppEntity& app, const EntitlementsInfo& entitlements,
                                           const Options& options) const;

  /// Visible items outside packages in four of the user's Library folders whose names resemble the app's name or
  /// bundle identifier, in the order of the walk. Items up to `maxDepth` levels below each folder are considered; its
  /// direct entries have level 1 and are considered with a depth of 0 too, and a negative depth finds nothing. The
  /// search ends with the `maxResults`th find, across folders; fewer than 1 finds nothing.
  [[nodiscard]] std::vector<Artifact> userHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults) const;
  /// The same in three folders of /Library, by the bundle identifier alone.
  [[nodiscard]] std::vector<Artifact> systemHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults) const;
  /// The same among the folders below ~/Documents, packages included, by name and bundle identifier; a find's URL is
  /// the resolved, standardised folder.
  [[nodiscard]] std::vector<Artifact> documentsHeuristicSearch(const AppEntity& app, long maxDepth,
                                                               long maxResults) const;

  /// The jobs that belong to the app, each as an artifact, in their order: those whose label, program or one of whose
  /// arguments holds the bundle identifier, letter case ignored.
  [[nodiscard]] std::vector<Artifact> launchdArtifacts(const AppEntity& app,
                                                       const std::vector<LaunchdEntry>& entries) const;
  /// The receipts, each as an artifact of the files that it lists, in their order.
  [[nodiscard]] std::vector<Artifact> receiptArtifacts(const std::vector<ReceiptInfo>& receipts) const;

 private:
  FileSizeCalculator fileSizeCalculator_;
  FileManager files_;
};

}  // namespace quarn

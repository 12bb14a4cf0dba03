#pragma once

#include <string>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Finds the files that an app leaves in the well-known Library folders of the user and of the system, and folders that
/// resemble its name or bundle identifier. A plain value; nothing throws: a location that does not exist or cannot be
/// listed contributes nothing.
class ArtifactScanner {
 public:
  struct Options {
    bool includeHeuristicSearch;
    long heuristicMaxDepth;
    long heuristicMaxResults;
    bool includeVendorHeuristics;
    bool includeSystemArtifacts;
    bool includeSystemHeuristicSearch;
    bool computeSizes;
  };

  ArtifactScanner(FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The app's artifacts in the standard locations: no file under two of them, largest first, equal sizes by title.
  [[nodiscard]] std::vector<Artifact> scan(const AppEntity& app, const EntitlementsInfo& entitlements,
                                           const Options& options) const;

  /// Folders and files below the user's (the system's) Library folders whose names resemble the app's name or bundle
  /// identifier; at most `maxResults`, in the order of the walk.
  [[nodiscard]] std::vector<Artifact> userHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults) const;
  [[nodiscard]] std::vector<Artifact> systemHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults) const;
  /// The same among the folders below ~/Documents.
  [[nodiscard]] std::vector<Artifact> documentsHeuristicSearch(const AppEntity& app, long maxDepth,
                                                               long maxResults) const;

  /// The jobs that belong to the app, by its bundle identifier in label, program or arguments, each as an artifact.
  [[nodiscard]] std::vector<Artifact> launchdArtifacts(const AppEntity& app,
                                                       const std::vector<LaunchdEntry>& entries) const;
  /// The receipts as artifacts.
  [[nodiscard]] std::vector<Artifact> receiptArtifacts(const std::vector<ReceiptInfo>& receipts) const;

 private:
  FileSizeCalculator fileSizeCalculator_;
  FileManager files_;
};

}  // namespace quarn

#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "QuarnCore/storage/RecordedFolders.h"
#include "QuarnCore/storage/ScanAttribution.h"
#include "QuarnCore/storage/ScanRoots.h"
#include "QuarnCore/storage/ScanRules.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/TreeSizer.h"

namespace quarn {

/// Walks the roots of a scan plan and adds the bytes of each regular file to at most one category. The walk begins the
/// roots in order, and begins the next one while threads are still busy with those before it. Single use. The file
/// manager must outlive it.
class PartitionedScan {
 public:
  using Totals = TreeSizer::Totals;  ///< by index of the category

  PartitionedScan(ScanPlan plan, ExtensionCategories::Dictionary categoryByExtension, const FileManager& files);
  PartitionedScan(const PartitionedScan&) = delete;
  PartitionedScan& operator=(const PartitionedScan&) = delete;

  /// What `run` tells while it runs. Functions are called on its own thread and may be null.
  struct Observers {
    /// Gets the totals so far at most once per interval, regardless of the number of roots, and the final totals.
    std::function<void(const Totals&)> onUpdate{};
    /// Gets the totals of each root, also of one that was cancelled. Their sum is the result of `run`.
    std::function<void(const ScanRoot&, const Totals&)> onRoot{};
    /// If not null, `run` also walks what no root contains, which counts for no category, and records every folder. The
    /// caller finishes the record.
    RecordedFolders* recorded = nullptr;
  };

  /// Runs to the end or until cancelled. A root that cannot be listed adds nothing and goes to the read report.
  Totals run(const Observers& observers, const Cancellation& cancellation,
             std::chrono::milliseconds interval = TreeSizer::kProgressInterval);

 private:
  struct Walks;

  [[nodiscard]] Walks planWalks(const Cancellation& cancellation) const;
  void placeRoots() const;
  void planRoot(const ScanRoot& root, Walks& walks) const;
  void planFolder(const ScanRoot& root, bool isInDictionary, std::uint8_t bucket, Walks& walks) const;
  void planRest(const std::string& location, Walks& walks) const;
  void planTree(const std::string& location, const Attribution& attribution, const Attribution::Step& start,
                HiddenItems hidden, Walks& walks) const;
  void logStart(const ScanRoot& root) const;
  void logSize(const ScanRoot& root, const Totals& totals) const;

  ScanPlan plan_;
  ScanRules rules_;
  ItemAttribution itemByItem_;
  WholeAttribution whole_;
  WholeAttribution wholeOfFast_;
  const FileManager& files_;
  RecordedFolders* recorded_ = nullptr;
};

}  // namespace quarn

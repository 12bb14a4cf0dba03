#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "QuarnCore/folders/TopItemsService.h"
#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnSystem/FileSizeCalculator.h"
#include "quarn/rpc/Transport.h"
#include "quarn/wire/ProgressRecords.h"

namespace quarn {

// These classes watch an operation and tell the client what has changed since the last progress value, so that every
// value that was sent, one after another, gives the result. They send nothing if the client asked for no progress; the
// request must outlive them. Not thread-safe.

/// Watches one inspection.
class InspectionGrowth {
 public:
  explicit InspectionGrowth(const RequestContext& request) : request_(request) {}

  /// Null without progress.
  [[nodiscard]] AppInspectionService::Progress onPhase() const;
  [[nodiscard]] AppInspectionService::Growth onGrowth();

 private:
  void send(AppInspectionService::Phase phase, const AppInspection& soFar);

  const RequestContext& request_;
  AppInspection sent_;
};

/// Watches a list of items.
class ItemsGrowth {
 public:
  explicit ItemsGrowth(const RequestContext& request) : request_(request) {}

  /// The service whose operations are watched.
  [[nodiscard]] TopItemsService watched(const TopItemsService& service);
  /// Sends what is left, and returns the result.
  [[nodiscard]] std::vector<TopItem> finish(std::vector<TopItem> result);

 private:
  void send(const std::vector<TopItem>& soFar);

  const RequestContext& request_;
  std::vector<TopItem> sent_;
};

/// Watches a size.
class SizeGrowth {
 public:
  explicit SizeGrowth(const RequestContext& request) : request_(request) {}

  /// A calculator whose walks are watched; the usual one without progress.
  [[nodiscard]] FileSizeCalculator watched(const FileSizeCalculator& usual, const FileManager& files);
  /// The next sizes continue at this one.
  void continueAt(const SizeInfo& before) { before_ = before; }
  [[nodiscard]] SizeInfo finish(const SizeInfo& result) const;

 private:
  void send(const SizeInfo& soFar) const;

  const RequestContext& request_;
  SizeInfo before_{};
};

}  // namespace quarn

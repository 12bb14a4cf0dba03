#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "QuarnCore/scans/ScanContent.h"
#include "QuarnCore/storage/RecordedFolders.h"
#include "QuarnPlatform/base/Cancellation.h"

namespace quarn {

/// Parts of a scan that are made one record after another, so that they are never all in memory. A function calls its
/// argument for each record.
struct StreamedContent {
  using ConsumeEntry = std::function<void(const Ownership& entry, const std::vector<std::string>& packages)>;
  using Entries = std::function<void(const ConsumeEntry& consume)>;
  using ConsumeLeftover = std::function<void(const Leftover& leftover)>;
  using Leftovers = std::function<void(const ConsumeLeftover& consume)>;
};

/// Writes a scan to a host file: beside it first, then synced and renamed, so that the file is the old one or the new
/// one at any moment. All operations throw FileError (operation "write"). Without `commit`, or after an error, no new
/// file is left. One file at a time: a second writer waits for the first. Belongs to the thread that makes it.
class ScanWriter {
 public:
  explicit ScanWriter(const std::string& file);
  ~ScanWriter();
  ScanWriter(const ScanWriter&) = delete;
  ScanWriter& operator=(const ScanWriter&) = delete;

  /// Begins to write what `folders` has, on a thread of its own, so that the caller can gather the rest meanwhile.
  /// Once, before `fill`. Both arguments must outlive the writer.
  void startFolders(const RecordedFolders& folders, const Cancellation& cancellation);
  /// Goes on with the entries of the map, also on a thread of its own, which calls `entries`. Once at most, between
  /// `startFolders` and `fill`. What `entries` refers to must outlive the writer.
  void startEntries(StreamedContent::Entries entries);
  /// Writes the rest. `facts.keptAbove`, `files` and `folders` come from the folders, the entries from `startEntries`
  /// if that was called, the leftovers from `leftovers` if that is not null. Returns false if cancelled. The writer
  /// then needs nothing of what it was given any more.
  bool fill(const ScanContent& content, const StreamedContent::Leftovers& leftovers = nullptr);
  /// Syncs and replaces the file. Once, after `fill` returned true; another thread may do it.
  void commit();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Writes a whole scan. Returns false if cancelled.
bool writeScan(const std::string& file, const ScanContent& content, const RecordedFolders& folders,
               const Cancellation& cancellation);

}  // namespace quarn

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/walking/HelperCount.h"
#include "QuarnPlatform/walking/SizedFolder.h"
#include "QuarnPlatform/walking/SizingTask.h"
#include "QuarnPlatform/walking/TreeSizer.h"

namespace quarn {

class SizingScheduler;

/// What one thread of a sizing walk owns: a reader, the totals that it has not shared yet, and the subfolders of the
/// folder that it is reading. Carries out the scheduler's tasks. Belongs to one thread.
class SizingWorker {
 public:
  explicit SizingWorker(SizingScheduler& scheduler);

  /// Carries out tasks until the walk is over.
  void work();

 private:
  void run(SizingTask& task);
  void readRoot(SizingTask& task);
  // The errno that ended the listing, or 0.
  int read(SizedFolder& folder);
  bool isPutOff(SizingTask& task, int error);
  void enter(SizingTask& task);
  [[nodiscard]] KeptListings::Place placeOf(const SizingTask& task) const;
  void countKept(const SizingTask& task, const KeptListings::Place& place);
  void readPart(SizingTask& task);
  // False when the walk is to end.
  bool countAll(SizedFolder& folder);
  void count(SizedFolder& folder, const DirectoryReader::Entry& entry);
  void countFile(SizedFolder& folder, const DirectoryReader::Entry& entry);
  void countWithDetails(SizedFolder& folder, const DirectoryReader::Entry& entry, ByteCounts& total);
  // False, and reported, if the file cannot be looked up.
  bool readSizes(SizedFolder& folder, const DirectoryReader::Entry& entry, ByteCounts& sizes,
                 DirectoryReader::Details* details);
  void observeFile(SizedFolder& folder, const FolderObserver::File& file);
  void tellCounted(SizedFolder& folder);
  FolderObserver::Folder observe(const SizingTask& task, int descriptor, bool isPackage);
  static std::int64_t changeOf(const SizingTask& task, int descriptor);
  void tellFolder(const WalkedFolders::Use& parent, const char* name);
  void keepSubFolder(SizedFolder& folder, const DirectoryReader::Entry& entry);
  void shareRest(SizedFolder& folder);
  void queueSubFolders(SizedFolder& folder);
  void beginToMeasure(std::size_t callsSoFar);
  void noteTime();

  [[nodiscard]] SizedTree& tree() { return *unshared_.tree; }

  SizingScheduler& scheduler_;
  const bool wantsDetails_;  // of each file, besides its sizes
  UnsharedTotals unshared_;  // of the tree of the current task
  bool again_ = false;       // the current task is to be tried once more
  DirectoryReader reader_;
  std::vector<SubFolders::Item> subFolders_;  // of the folder that is being read
  std::string subFolderNames_;
  HelperCount::Observations observations_;
  HelperCount::Clock::time_point since_{};  // of the calls that were not noted yet
  std::size_t calls_ = 0;
};

}  // namespace quarn

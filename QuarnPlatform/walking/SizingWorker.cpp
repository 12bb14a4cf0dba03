#include "QuarnPlatform/walking/SizingWorker.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/files/Packages.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/SizingScheduler.h"

namespace quarn {
namespace {

constexpr unsigned kCallsToSizeFolder = 4;
constexpr std::size_t kScratchItems = 4096;
constexpr unsigned kTriesForDescriptor = 16;

}  // namespace

SizingWorker::SizingWorker(SizingScheduler& scheduler)
    : scheduler_(scheduler), wantsDetails_(scheduler.observer() != nullptr || scheduler.linked() != nullptr) {}

// Counts the files directly in the root of a tree and queues its subfolders.
void SizingWorker::readRoot(SizingTask& task) {
  const TreeSizer::Tree& asked = tree().tree;
  std::optional<FileError> failure;
  // A root for which no descriptor was left is tried again, so its failure is not reported at once.
  std::shared_ptr<ReadReport> refused;
  try {
    const auto use = std::make_shared<const WalkedFolders::Use>(scheduler_.openRoot(tree(), refused));
    const PinnedFolder pinned(*use);
    SizedFolder root(tree(), use, pinned.descriptor(), asked.rootStep, asked.observedRoot);
    if (scheduler_.kept() != nullptr) root.setPlace(scheduler_.kept()->find(asked.root.path()));
    const int error = read(root);
    if (error == 0) return;
    scheduler_.reportUnreadable(tree(), *use, error);
    throwFileError(error, "list", asked.root.path());
  } catch (const FileError& error) {
    failure = error;
  }
  if (isPutOff(task, failure->error())) return;
  scheduler_.report(*refused);
  tree().found.error = std::move(failure);
}

void SizingWorker::work() {
  for (SizingTask task; scheduler_.take(unshared_, task); task = {}) {
    try {
      run(task);
    } catch (const SizeOverflow&) {
      throw SizeOverflow(tree().tree.root.path());
    }
  }
}

void SizingWorker::run(SizingTask& task) {
  beginToMeasure(kCallsToSizeFolder);
  do {
    again_ = false;
    if (task.bigFolder) {
      readPart(task);
    } else if (task.siblings) {
      enter(task);
    } else {
      readRoot(task);
    }
  } while (again_);
  noteTime();
}

void SizingWorker::beginToMeasure(std::size_t callsSoFar) {
  if (!scheduler_.helperCount().mayGrow()) return;
  calls_ = callsSoFar;
  since_ = HelperCount::begin(observations_);
}

void SizingWorker::noteTime() {
  if (!scheduler_.helperCount().mayGrow()) return;
  scheduler_.helperCount().note(observations_, calls_, HelperCount::Clock::now() - since_);
}

// Tasks fail in this way before they have counted anything.
bool SizingWorker::isPutOff(SizingTask& task, int error) {
  if (!meansNoDescriptor(error)) return false;
  if (scheduler_.putOff(unshared_, task)) return true;
  // The others may have given their descriptors back after this thread failed.
  again_ = ++task.tries < kTriesForDescriptor;
  return again_;
}

KeptListings::Place SizingWorker::placeOf(const SizingTask& task) const {
  if (scheduler_.kept() == nullptr) return {};
  return scheduler_.kept()->step(task.siblings->place, task.name);
}

// A kept folder is not a package: the walk that kept it does not enter packages.
void SizingWorker::countKept(const SizingTask& task, const KeptListings::Place& place) {
  const std::optional<Attribution::Step>& step = task.item.step;
  calls_ = 0;
  if (!step) return;
  SizedFolder folder(tree(), task.siblings->folder, task.name, FileDescriptor(), *step, *step, /*observed=*/0);
  folder.setPlace(place);
  for (const auto& [item, sizes] : scheduler_.kept()->items(place.folder)) {
    DirectoryReader::Entry entry{.name = scheduler_.kept()->name(item), .type = item.type(), .hidden = item.isHidden()};
    if (entry.type == FileType::regular) entry.sizes = sizes;
    count(folder, entry);
  }
  queueSubFolders(folder);
}

void SizingWorker::enter(SizingTask& task) {
  const WalkedFolders::Use& parent = task.siblings->folder;
  const KeptListings::Place place = placeOf(task);
  if (place.isInKept) return countKept(task, place);
  OpenedFolder opened = parent.open(task.name);
  if (!opened.descriptor.isOpen()) {
    if (isPutOff(task, opened.error)) return;
    if (scheduler_.observer() != nullptr) observe(task, -1, isPackageName(task.name));
    return scheduler_.reportUnreadable(tree(), parent, task.name, opened.error);
  }
  SubFolders::Item& item = task.item;
  const bool decides = item.step.has_value() != item.asPackage.has_value();
  const bool isObserved = scheduler_.observer() != nullptr;
  BundleBit bit;
  const bool isPackageByName = isObserved && isPackageName(task.name);
  if (decides || (isObserved && !isPackageByName)) bit = bundleBit(opened.descriptor.get());
  if (decides && bit.error != 0) scheduler_.reportUnreadable(tree(), parent, task.name, bit.error);
  // An error that decides nothing yet is met and reported again when it does.
  if (decides || (isObserved && bit.error == 0)) item.step = item.asPackage = bit.isSet ? item.asPackage : item.step;
  if (!item.step) return;
  if (ListingCount::wantsFolder()) tellFolder(parent, task.name);
  const FolderObserver::Folder observed =
      isObserved ? observe(task, opened.descriptor.get(), isPackageByName || bit.isSet) : 0;
  SizedFolder folder(tree(), parent, task.name, std::move(opened.descriptor), *item.step, *item.asPackage, observed);
  folder.setPlace(place);
  if (const int error = read(folder); error != 0) scheduler_.reportUnreadable(tree(), parent, task.name, error);
}

void SizingWorker::tellFolder(const WalkedFolders::Use& parent, const char* name) {
  ListingCount::tell(tree().pathOf(parent.path() + "/" + name));
}

void SizingWorker::readPart(SizingTask& task) {
  const PinnedFolder pinned(*task.bigFolder);
  if (pinned.descriptor() < 0) {
    if (!isPutOff(task, pinned.error())) scheduler_.reportUnreadable(tree(), *task.bigFolder, pinned.error());
    return;
  }
  SizedFolder folder(tree(), task.bigFolder, pinned.descriptor(), *task.item.step, task.observed);
  folder.setPlace(task.place);
  reader_.resume(pinned.descriptor(), std::move(task.part));
  countAll(folder);
  tellCounted(folder);
  queueSubFolders(folder);
}

int SizingWorker::read(SizedFolder& folder) {
  reader_.start(folder.descriptor(), EnumeratedFacts::sizes);
  while (reader_.readMore() && countAll(folder)) {
  }
  tellCounted(folder);
  queueSubFolders(folder);
  return reader_.error() != 0 ? reader_.error() : folder.error();
}

bool SizingWorker::countAll(SizedFolder& folder) {
  unsigned untilCheck = SizingScheduler::kEntriesBetweenChecks;
  while (const DirectoryReader::Entry* entry = reader_.next()) {
    if (scheduler_.isCancelled()) return false;
    count(folder, *entry);
    if (--untilCheck != 0) continue;
    untilCheck = SizingScheduler::kEntriesBetweenChecks;
    noteTime();
    beginToMeasure(0);
    if (!scheduler_.shareTotals(unshared_)) return false;
    if (scheduler_.hasIdleThread()) shareRest(folder);
  }
  return true;
}

void SizingWorker::count(SizedFolder& folder, const DirectoryReader::Entry& entry) {
  if (entry.hidden && tree().tree.hidden == HiddenItems::skip) return;
  if (entry.type == FileType::directory) keepSubFolder(folder, entry);
  if (entry.type == FileType::regular) countFile(folder, entry);
}

void SizingWorker::countFile(SizedFolder& folder, const DirectoryReader::Entry& entry) {
  const std::optional<std::uint8_t> bucket = folder.bucketOf(entry.name);
  if (!bucket) return;
  ByteCounts& total = unshared_.totals[*bucket];
  if (wantsDetails_) {
    countWithDetails(folder, entry, total);
  } else if (entry.sizes) {
    total += *entry.sizes;
    ++unshared_.files;
  } else if (ByteCounts sizes; readSizes(folder, entry, sizes, nullptr)) {
    total += sizes;
    ++unshared_.files;
  }
}

bool SizingWorker::readSizes(SizedFolder& folder, const DirectoryReader::Entry& entry, ByteCounts& sizes,
                             DirectoryReader::Details* details) {
  if (!DirectoryReader::readSizes(folder.descriptor(), entry.name.data(), sizes, details)) {
    scheduler_.reportUnreadable(tree(), folder, entry.name, errno);
    return false;
  }
  ++calls_;
  return true;
}

// A listing that has the sizes does not have the details.
void SizingWorker::countWithDetails(SizedFolder& folder, const DirectoryReader::Entry& entry, ByteCounts& total) {
  FolderObserver::File file{.name = entry.name, .isHidden = entry.hidden};
  DirectoryReader::Details details;
  if (!readSizes(folder, entry, file.sizes, &details)) return;
  file.modified = details.modified;
  file.device = details.device;
  file.inode = details.inode;
  file.links = details.links;
  total += file.sizes;
  ++unshared_.files;
  if (scheduler_.linked() != nullptr && file.links > 1) {
    scheduler_.linked()->add({.device = file.device,
                              .inode = file.inode,
                              .links = file.links,
                              .sizes = file.sizes,
                              .folder = folder.observed()});
  }
  if (scheduler_.observer() != nullptr) observeFile(folder, file);
}

void SizingWorker::observeFile(SizedFolder& folder, const FolderObserver::File& file) {
  FolderObserver::Counted& counted = folder.counted();
  counted.sizes += file.sizes;
  if (file.isHidden) counted.ofHidden += file.sizes;
  ++counted.files;
  counted.newest = std::max(counted.newest, file.modified);
  if (scheduler_.observer()->wants(file.sizes)) scheduler_.observer()->keep(folder.observed(), file);
}

// A negative descriptor means that the folder could not be opened. Then its name is looked up in its parent.
std::int64_t SizingWorker::changeOf(const SizingTask& task, int descriptor) {
  struct stat facts {};
  if (descriptor >= 0) return ::fstat(descriptor, &facts) == 0 ? facts.st_mtime : FolderObserver::kNoTime;
  const PinnedFolder parent(task.siblings->folder);
  const bool isFound = parent.descriptor() >= 0 &&
                       ::fstatat(parent.descriptor(), task.name, &facts, AT_SYMLINK_NOFOLLOW) == 0 &&
                       S_ISDIR(facts.st_mode);
  return isFound ? facts.st_mtime : FolderObserver::kNoTime;
}

FolderObserver::Folder SizingWorker::observe(const SizingTask& task, int descriptor, bool isPackage) {
  const std::string_view name(task.name);
  return scheduler_.observer()->enter(task.siblings->observed, {.name = name,
                                                                .isHidden = task.item.isHidden,
                                                                .isPackage = isPackage,
                                                                .isRead = descriptor >= 0,
                                                                .modified = changeOf(task, descriptor)});
}

void SizingWorker::tellCounted(SizedFolder& folder) {
  if (scheduler_.observer() != nullptr) scheduler_.observer()->add(folder.observed(), folder.counted());
}

void SizingWorker::keepSubFolder(SizedFolder& folder, const DirectoryReader::Entry& entry) {
  auto item = folder.subFolder(entry.name);
  if (!item && scheduler_.observer() != nullptr) {
    scheduler_.observer()->leaveOut(folder.observed(), {.name = entry.name, .isHidden = entry.hidden, .isRead = false});
  }
  if (!item) return;
  item->isHidden = entry.hidden;
  subFolders_.push_back(*item);
  subFolderNames_.append(entry.name) += '\0';
}

void SizingWorker::shareRest(SizedFolder& folder) {
  const Attribution::Step step = folder.judge();
  std::shared_ptr<const WalkedFolders::Use> shared = folder.share();
  if (!shared) return;
  SizingTask part{.tree = &tree(),
                  .siblings = {},
                  .item = {.step = step, .asPackage = step},
                  .bigFolder = std::move(shared),
                  .part = reader_.takeHalf(),
                  .observed = folder.observed(),
                  .place = folder.place()};
  if (!part.part.empty()) scheduler_.push(std::move(part));
}

void SizingWorker::queueSubFolders(SizedFolder& folder) {
  if (subFolders_.empty()) return;
  scheduler_.push(std::make_shared<SubFolders>(SubFolders{.tree = &tree(),
                                                          .folder = folder.handOver(),
                                                          .items = subFolders_,
                                                          .names = subFolderNames_,
                                                          .observed = folder.observed(),
                                                          .place = folder.place()}));
  subFolders_.clear();
  subFolderNames_.clear();
  if (subFolders_.capacity() > kScratchItems) subFolders_.shrink_to_fit();
  if (subFolderNames_.capacity() > kScratchItems * sizeof(SubFolders::Item)) subFolderNames_.shrink_to_fit();
}

}  // namespace quarn

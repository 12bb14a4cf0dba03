#include "QuarnPlatform/walking/TreeSizer.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/files/Packages.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/HelperCount.h"
#include "QuarnPlatform/walking/WalkedFolders.h"

namespace quarn {
namespace {

using Clock = HelperCount::Clock;
using Step = Attribution::Step;
using Totals = TreeSizer::Totals;

constexpr unsigned kFewestThreads = 8;  // as many as may pay on any machine
constexpr unsigned kMostThreads = 16;
constexpr unsigned kCallsPerFolder = 4;
// Work that is done within this time is not worth the start of a (further) thread.
constexpr std::size_t kCacheLine = 64;
constexpr auto kTimePerThread = std::chrono::microseconds(300);
constexpr unsigned kEntriesBetweenChecks = 256;
constexpr std::size_t kScratchItems = 4096;

unsigned threadsThatMayPay() { return std::clamp(std::thread::hardware_concurrency(), kFewestThreads, kMostThreads); }

unsigned mostHelpers(unsigned threads) { return (threads != 0 ? threads : threadsThatMayPay()) - 1; }

// Folders that one listing found and that are still to be entered; no allocation for each of them.
struct SubFolders {
  struct Item {
    std::optional<Step> step;
    std::optional<Step> asPackage;  // another one where it matters whether the folder is a package
  };

  WalkedFolders::Use folder;
  std::vector<Item> items;
  std::string names;  // each with a NUL behind it, in the order of `items`
  std::size_t nextItem = 0;
  std::size_t nextName = 0;
};

// What a thread takes at one time: a folder to enter, or a part of a big folder's listing.
struct Task {
  std::shared_ptr<const SubFolders> siblings;  // keeps the name, and the folder that it lies in
  SubFolders::Item item;
  const char* name = nullptr;

  std::shared_ptr<const WalkedFolders::Use> bigFolder;
  DirectoryReader::Stretch stretch;
};

// A folder that a thread is reading. The walk gets to know it, by a use, only when something in it is left for later;
// most folders hold no other folders, and never do.
struct Place {
  const WalkedFolders::Use* parent = nullptr;  // null when `use` is known
  std::string_view name;
  FileDescriptor own;
  std::shared_ptr<const WalkedFolders::Use> use;
  int descriptor = -1;
  Step step;
  Step asPackage;  // another one as long as nothing was found that would count otherwise in a package

  // Asks the file system, one call, which most folders are spared: what is in them counts alike in any case.
  void judge() {
    if (asPackage == step) return;
    if (hasBundleBit(descriptor)) step = asPackage;
    asPackage = step;
  }
};

Place placeOf(std::shared_ptr<const WalkedFolders::Use> use, const PinnedFolder& folder, const Step& step) {
  Place place;
  place.use = std::move(use);
  place.descriptor = folder.descriptor();
  place.step = place.asPackage = step;
  return place;
}

class SizingThread;

// What the threads of one walk share.
class Sizing {
 public:
  Sizing(const FileManager& files, const FileURL& root, const Attribution& attribution,
         const TreeSizer::Options& options);
  ~Sizing() { stopAndJoin(); }
  Sizing(const Sizing&) = delete;
  Sizing& operator=(const Sizing&) = delete;

  // On the calling thread.
  Totals run(const Step& rootStep);

  [[nodiscard]] const Attribution& attribution() const { return attribution_; }
  [[nodiscard]] bool skipsHidden() const { return options_.hidden == HiddenItems::skip; }
  [[nodiscard]] bool needsPackages() const { return needsPackages_; }
  [[nodiscard]] HelperCount& helperCount() { return *helperCount_; }
  [[nodiscard]] bool hasIdleThread() const { return waiting_.load(std::memory_order_relaxed) != 0; }

  void push(std::shared_ptr<SubFolders> folders);
  void push(Task part);
  // The thread's next task; false when the walk is over.
  bool take(SizingThread& thread, Task& task);
  // Takes in the thread's totals; false when the walk is to end. To be called now and then during a long task.
  bool goOn(SizingThread& thread);
  void reportUnreadable(const Place& place, std::string_view name, int error) const;
  void reportUnreadable(const WalkedFolders::Use& parent, std::string_view name, int error) const;
  void reportUnreadable(const WalkedFolders::Use& folder, int error) const;

 private:
  [[nodiscard]] bool isCaller() const { return std::this_thread::get_id() == caller_; }
  void report(const std::string& pathBelowRoot, int error) const;
  bool pop(Task& task);
  void takeIn(SizingThread& thread);
  void work(SizingThread& thread);
  void wait(std::unique_lock<std::mutex>& lock);
  void attendToCaller();
  Totals sum(const Step& rootStep);
  void startHelper();
  void help();
  void addBusy(int threads);
  void stopAndJoin();

  const FileManager& files_;
  const FileURL& root_;
  const Attribution& attribution_;
  const TreeSizer::Options& options_;
  const bool needsPackages_;
  const std::thread::id caller_ = std::this_thread::get_id();
  const Clock::time_point started_ = Clock::now();
  WalkedFolders folders_;

  const std::shared_ptr<HelperCount> helperCount_;

  // What is only read, what changes under the lock, and what is looked at for every item keep to lines of the cache of
  // their own: a thread that writes a line slows down all that read it.
  alignas(kCacheLine) std::atomic<unsigned> waiting_ = 0;
  alignas(kCacheLine) std::mutex mutex_;
  std::condition_variable changed_;
  // The last found first, so that a walk goes deep and holds little.
  std::vector<std::shared_ptr<SubFolders>> subFolders_;
  std::vector<Task> parts_;
  Totals totals_{};
  int busy_ = 1;  // threads that may still find something; the caller from the start
  bool stopped_ = false;
  std::exception_ptr failure_;  // the first of a helper, to be thrown on the calling thread
  Clock::time_point lastProgress_ = started_;

  std::vector<std::thread> helpers_;  // the calling thread's
};

// One thread's hands.
class SizingThread {
 public:
  explicit SizingThread(Sizing& sizing) : sizing_(sizing) {}

  void run(Task& task);
  // The errno that ended the listing.
  int read(Place& place);

  Totals totals{};       // until the walk takes them in
  unsigned counted = 0;  // files in them

 private:
  void enter(Task& task);
  void readPart(Task& task);
  // False when the walk is to end.
  bool countAll(Place& place);
  void count(Place& place, const DirectoryReader::Entry& entry);
  void countFile(Place& place, std::string_view name);
  [[nodiscard]] std::optional<std::uint8_t> bucketOf(Place& place, std::string_view name) const;
  void keepFolder(const Place& place, std::string_view name);
  void shareRest(Place& place);
  void leave(Place& place);
  void noteTime();

  Sizing& sizing_;
  DirectoryReader reader_;
  std::vector<SubFolders::Item> foundItems_;
  std::string foundNames_;
  HelperCount::Observations observations_;
  Clock::time_point since_ = Clock::now();  // of the calls that were not noted yet
  std::size_t calls_ = kCallsPerFolder;
};

void SizingThread::run(Task& task) {
  if (sizing_.helperCount().mayGrow()) since_ = Clock::now();
  calls_ = kCallsPerFolder;
  if (task.bigFolder) {
    readPart(task);
  } else {
    enter(task);
  }
  noteTime();
}

void SizingThread::noteTime() {
  if (!sizing_.helperCount().mayGrow()) return;
  const Clock::time_point now = Clock::now();
  sizing_.helperCount().note(observations_, calls_, now - since_);
  since_ = now;
  calls_ = 0;
}

void SizingThread::enter(Task& task) {
  const WalkedFolders::Use& parent = task.siblings->folder;
  OpenedFolder opened = parent.open(task.name);
  if (!opened.descriptor.isOpen()) return sizing_.reportUnreadable(parent, task.name, opened.error);
  SubFolders::Item& item = task.item;
  if (item.step.has_value() != item.asPackage.has_value()) {
    item.step = item.asPackage = hasBundleBit(opened.descriptor.get()) ? item.asPackage : item.step;
  }
  if (!item.step) return;
  Place place;
  place.parent = &parent;
  place.name = task.name;
  place.step = *item.step;
  place.asPackage = *item.asPackage;
  place.own = std::move(opened.descriptor);
  place.descriptor = place.own.get();
  if (const int error = read(place); error != 0) sizing_.reportUnreadable(parent, task.name, error);
}

void SizingThread::readPart(Task& task) {
  const PinnedFolder folder(*task.bigFolder);
  if (folder.descriptor() < 0) return sizing_.reportUnreadable(*task.bigFolder, folder.error());
  Place place = placeOf(task.bigFolder, folder, *task.item.step);
  reader_.resume(folder.descriptor(), std::move(task.stretch));
  countAll(place);
  leave(place);
}

int SizingThread::read(Place& place) {
  reader_.start(place.descriptor);
  while (reader_.readMore() && countAll(place)) {
  }
  leave(place);
  return reader_.error();
}

bool SizingThread::countAll(Place& place) {
  unsigned untilCheck = kEntriesBetweenChecks;
  while (const DirectoryReader::Entry* entry = reader_.next()) {
    count(place, *entry);
    if (--untilCheck != 0) continue;
    untilCheck = kEntriesBetweenChecks;
    noteTime();
    if (!sizing_.goOn(*this)) return false;
    if (sizing_.hasIdleThread()) shareRest(place);
  }
  return true;
}

void SizingThread::count(Place& place, const DirectoryReader::Entry& entry) {
  if (entry.hidden && sizing_.skipsHidden()) return;
  if (entry.type == FileType::directory) {
    place.judge();
    keepFolder(place, entry.name);
  }
  if (entry.type == FileType::regular) countFile(place, entry.name);
}

std::optional<std::uint8_t> SizingThread::bucketOf(Place& place, std::string_view name) const {
  const Attribution& attribution = sizing_.attribution();
  const std::optional<std::uint8_t> bucket = attribution.file(place.step, name);
  if (place.asPackage == place.step || attribution.file(place.asPackage, name) == bucket) return bucket;
  place.judge();
  return attribution.file(place.step, name);
}

void SizingThread::countFile(Place& place, std::string_view name) {
  const std::optional<std::uint8_t> bucket = bucketOf(place, name);
  if (!bucket) return;
  ByteCounts sizes;
  if (DirectoryReader::readSizes(place.descriptor, name.data(), sizes)) {
    totals[*bucket] += sizes;
    ++counted;
    ++calls_;
  } else {
    sizing_.reportUnreadable(place, name, errno);
  }
}

void SizingThread::keepFolder(const Place& place, std::string_view name) {
  const bool needsPackages = sizing_.needsPackages();
  SubFolders::Item item{.step = {}, .asPackage = sizing_.attribution().folder(place.step, name, needsPackages)};
  const bool isKnown = !needsPackages || isPackageName(name);
  item.step = isKnown ? item.asPackage : sizing_.attribution().folder(place.step, name, /*isPackage=*/false);
  if (!item.step && !item.asPackage) return;
  foundItems_.push_back(item);
  foundNames_.append(name) += '\0';
}

// The walk's own descriptor of the folder is a second one: it may be closed and opened again while this thread reads
// on.
void SizingThread::shareRest(Place& place) {
  place.judge();
  if (!place.use) {
    FileDescriptor second = place.own.duplicate();
    if (!second.isOpen()) return;
    place.use = std::make_shared<const WalkedFolders::Use>(place.parent->add(place.name, std::move(second)));
  }
  Task part{.siblings = {},
            .item = {.step = place.step, .asPackage = place.step},
            .bigFolder = place.use,
            .stretch = reader_.takeHalf()};
  if (!part.stretch.empty()) sizing_.push(std::move(part));
}

void SizingThread::leave(Place& place) {
  if (foundItems_.empty()) return;
  auto found = std::make_shared<SubFolders>(
      SubFolders{.folder = place.use ? place.use->another() : place.parent->add(place.name, std::move(place.own)),
                 .items = foundItems_,
                 .names = foundNames_});
  sizing_.push(std::move(found));
  foundItems_.clear();
  foundNames_.clear();
  if (foundItems_.capacity() > kScratchItems) foundItems_.shrink_to_fit();
  if (foundNames_.capacity() > kScratchItems * sizeof(SubFolders::Item)) foundNames_.shrink_to_fit();
}

Sizing::Sizing(const FileManager& files, const FileURL& root, const Attribution& attribution,
               const TreeSizer::Options& options)
    : files_(files),
      root_(root),
      attribution_(attribution),
      options_(options),
      needsPackages_(attribution.needsPackages()),
      folders_(files.openDirectory(root, Links::doNotFollow), files.accessTimes()),
      helperCount_(options.helperCount ? options.helperCount : TreeSizer::makeHelperCount(options.threads)) {}

Totals Sizing::run(const Step& rootStep) {
  try {
    return sum(rootStep);
  } catch (const SizeOverflow&) {
    throw SizeOverflow(root_.path());
  }
}

Totals Sizing::sum(const Step& rootStep) {
  if (options_.cancellation.isCancelled()) return {};
  SizingThread caller(*this);
  {
    const auto use = std::make_shared<const WalkedFolders::Use>(folders_.root());
    const PinnedFolder folder(*use);
    Place place = placeOf(use, folder, rootStep);
    if (const int error = caller.read(place); error != 0) {
      reportUnreadable(*use, error);
      throwFileError(error, "list", root_.path());
    }
  }
  work(caller);
  stopAndJoin();
  if (failure_) std::rethrow_exception(failure_);
  return totals_;
}

void Sizing::work(SizingThread& thread) {
  for (Task task; take(thread, task); task = {}) thread.run(task);
}

void Sizing::push(std::shared_ptr<SubFolders> folders) {
  const std::lock_guard lock(mutex_);
  subFolders_.push_back(std::move(folders));
  // The pushing thread is about to take one of them itself.
  if (hasIdleThread() && (subFolders_.size() > 1 || subFolders_.back()->items.size() > 1)) changed_.notify_one();
}

void Sizing::push(Task part) {
  const std::lock_guard lock(mutex_);
  parts_.push_back(std::move(part));
  changed_.notify_one();
}

bool Sizing::pop(Task& task) {
  if (!parts_.empty()) {
    task = std::move(parts_.back());
    parts_.pop_back();
    return true;
  }
  if (subFolders_.empty()) return false;
  const std::shared_ptr<SubFolders> top = subFolders_.back();
  task.siblings = top;
  task.item = top->items[top->nextItem++];
  task.name = top->names.c_str() + top->nextName;
  top->nextName += std::string_view(task.name).size() + 1;
  if (top->nextItem == top->items.size()) subFolders_.pop_back();
  return true;
}

void Sizing::takeIn(SizingThread& thread) {
  if (thread.counted == 0) return;
  for (std::size_t bucket = 0; bucket < totals_.size(); ++bucket) totals_[bucket] += thread.totals[bucket];
  thread.totals = {};
  thread.counted = 0;
}

bool Sizing::take(SizingThread& thread, Task& task) {
  if (isCaller()) attendToCaller();
  std::unique_lock lock(mutex_);
  --busy_;
  if (thread.counted >= kEntriesBetweenChecks) takeIn(thread);
  for (;;) {
    if (options_.cancellation.isCancelled()) stopped_ = true;
    if (!stopped_ && pop(task)) break;
    takeIn(thread);
    if (busy_ == 0) stopped_ = true;
    if (stopped_) {
      changed_.notify_all();
      return false;
    }
    wait(lock);
  }
  ++busy_;
  // Whoever is woken wakes the next one while there is something to do.
  if (hasIdleThread() && !(parts_.empty() && subFolders_.empty())) changed_.notify_one();
  return true;
}

bool Sizing::goOn(SizingThread& thread) {
  if (isCaller()) attendToCaller();
  const std::lock_guard lock(mutex_);
  takeIn(thread);
  if (options_.cancellation.isCancelled()) stopped_ = true;
  return !stopped_;
}

void Sizing::wait(std::unique_lock<std::mutex>& lock) {
  ++waiting_;
  if (isCaller() && options_.onProgress) {
    changed_.wait_until(lock, lastProgress_ + options_.interval);
  } else {
    changed_.wait(lock);
  }
  --waiting_;
  if (!isCaller()) return;
  lock.unlock();
  attendToCaller();
  lock.lock();
}

// What falls to the calling thread alone; not under the lock.
void Sizing::attendToCaller() {
  const bool startsHelpers = helpers_.size() < helperCount_->wanted() && !hasIdleThread();
  if (!options_.onProgress && !startsHelpers) return;
  const Clock::time_point now = Clock::now();
  if (startsHelpers && (options_.threads != 0 || now > started_ + kTimePerThread * (helpers_.size() + 1)))
    startHelper();
  if (!options_.onProgress || now < lastProgress_ + options_.interval) return;
  lastProgress_ = now;
  std::unique_lock lock(mutex_);
  const Totals soFar = totals_;
  lock.unlock();
  options_.onProgress(soFar);
}

// Without a thread more the walk only takes longer: a system that gives none is no error.
void Sizing::startHelper() {
  addBusy(1);
  try {
    helpers_.emplace_back([this] { help(); });
  } catch (const std::system_error&) {
    addBusy(-1);
    helperCount_->limit(static_cast<unsigned>(helpers_.size()));
  }
}

void Sizing::help() {
  try {
    SizingThread helper(*this);
    work(helper);
  } catch (...) {
    const std::lock_guard lock(mutex_);
    if (!failure_) failure_ = std::current_exception();
    stopped_ = true;
    changed_.notify_all();
  }
}

void Sizing::addBusy(int threads) {
  const std::lock_guard lock(mutex_);
  busy_ += threads;
}

void Sizing::stopAndJoin() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
  }
  for (std::thread& helper : helpers_) helper.join();
  helpers_.clear();
}

void Sizing::reportUnreadable(const Place& place, std::string_view name, int error) const {
  if (files_.readReport() == nullptr) return;
  if (place.use) return report(place.use->path().append("/").append(name), error);
  report(place.parent->path().append("/").append(place.name).append("/").append(name), error);
}

void Sizing::reportUnreadable(const WalkedFolders::Use& parent, std::string_view name, int error) const {
  if (files_.readReport() != nullptr) report(parent.path().append("/").append(name), error);
}

void Sizing::reportUnreadable(const WalkedFolders::Use& folder, int error) const {
  if (files_.readReport() != nullptr) report(folder.path(), error);
}

void Sizing::report(const std::string& pathBelowRoot, int error) const {
  const std::string path = root_.path() == "/" ? pathBelowRoot : root_.path() + pathBelowRoot;
  files_.readReport()->add(path.empty() ? "/" : path, error);
}

class WholeTree : public Attribution {
 public:
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view, bool) const override { return parent; }
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view) const override {
    return parent.bucket;
  }
};

}  // namespace

std::shared_ptr<HelperCount> TreeSizer::makeHelperCount(unsigned threads) {
  return std::make_shared<HelperCount>(mostHelpers(threads), threads != 0 ? threads : HelperCount::furtherCores());
}

TreeSizer::Totals TreeSizer::totals(const FileManager& files, const FileURL& root, const Attribution& attribution,
                                    const Attribution::Step& rootStep, const Options& options) {
  return Sizing(files, root, attribution, options).run(rootStep);
}

ByteCounts TreeSizer::total(const FileManager& files, const FileURL& root, const Options& options) {
  return totals(files, root, WholeTree(), {}, options)[0];
}

}  // namespace quarn

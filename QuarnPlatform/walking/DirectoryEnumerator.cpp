#include "QuarnPlatform/walking/DirectoryEnumerator.h"

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/KeptListings.h"
#include "QuarnPlatform/walking/ReadAhead.h"

namespace quarn {
namespace {

// What a root may be, or lack, without anything having been unreadable.
bool isNoFolder(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

WalkOptions cancelledBy(const Cancellation& cancellation, WalkOptions options) {
  options.cancellation = cancellation;
  return options;
}

}  // namespace

// The consumer's side: where it is in which folders, by what the read-ahead has listed.
class DirectoryEnumerator::Walk {
 public:
  Walk(const FileManager& files, const FileURL& root, const Options& options);
  ~Walk();
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;

  const Item* next();
  void skipDescendants();
  void end();
  [[nodiscard]] int rootError() const { return rootError_; }

 private:
  struct Frame {
    ReadAhead::FolderPointer folder;
    std::size_t pathLength = 0;  // of the path of the folder around it
    std::size_t nextEntry = 0;
    std::size_t nextFolder = 0;  // of the listing's folders
    std::size_t sizedEntries = 0;
    bool isKept = false;
    std::vector<KeptListings::Child> keptFolders{};  // in it
  };

  void open(const FileURL& root);
  const Item* yield(Frame& frame);
  [[nodiscard]] bool skipHidden(Frame& frame) const;
  void enter();
  void leave();
  [[nodiscard]] bool isToBeKept(const ReadAhead::Folder& folder) const;
  void keep(Frame& frame);
  void reportUnreadable(const std::string& path, int error) const;
  void reportUnreadableItem(int error) const;

  const FileManager files_;
  const Options options_;
  std::string path_;      // of the folder whose entries come next; "" for the root folder
  std::string realRoot_;  // the root as walks meet it, if listings are kept
  int rootError_ = 0;
  std::unique_ptr<ReadAhead> ahead_;
  std::vector<Frame> frames_;
  Item item_;
  bool mayEnter_ = false;            // the item is a folder to be entered when the next one is asked for
  ReadAhead::FolderPointer opened_;  // that folder when it had to be opened to know whether it is a package
};

DirectoryEnumerator::Walk::Walk(const FileManager& files, const FileURL& root, const Options& options)
    : files_(files),
      options_(cancelledBy(files.cancellation(), options)),
      path_(root.path() == "/" ? std::string() : root.path()) {
  try {
    open(root);
  } catch (const FileError& error) {
    rootError_ = error.error();
  }
  if (rootError_ != 0 && !isNoFolder(rootError_)) reportUnreadable(root.path(), rootError_);
}

DirectoryEnumerator::Walk::~Walk() {
  if (opened_) ahead_->abandon(std::move(opened_));
  for (Frame& frame : frames_) ahead_->abandon(std::move(frame.folder));
}

void DirectoryEnumerator::Walk::open(const FileURL& root) {
  if (options_.cancellation.isCancelled()) return;
  if (options_.kept != nullptr) realRoot_ = files_.realPath(root).value_or(root.path());
  ahead_ = std::make_unique<ReadAhead>(files_.openDirectory(root, Links::doNotFollow), options_, files_.accessTimes());
  frames_.push_back({.folder = ahead_->takeRoot()});
  frames_.back().isKept = isToBeKept(*frames_.back().folder);
  rootError_ = frames_.back().folder->listing.error;
}

const DirectoryEnumerator::Item* DirectoryEnumerator::Walk::next() {
  if (options_.cancellation.isCancelled()) return nullptr;
  if (mayEnter_) enter();
  while (!frames_.empty()) {
    Frame& frame = frames_.back();
    if (skipHidden(frame)) return yield(frame);
    leave();
  }
  return nullptr;
}

// False at the end of the folder. Hidden items are listed only to be kept.
bool DirectoryEnumerator::Walk::skipHidden(Frame& frame) const {
  const std::vector<FolderListing::Entry>& entries = frame.folder->listing.entries;
  if (options_.hidden == HiddenItems::skip) {
    while (frame.nextEntry < entries.size() && entries[frame.nextEntry].item.isHidden()) ++frame.nextEntry;
  }
  return frame.nextEntry < entries.size();
}

const DirectoryEnumerator::Item* DirectoryEnumerator::Walk::yield(Frame& frame) {
  const FolderListing& listing = frame.folder->listing;
  const std::size_t index = frame.nextEntry++;
  if (options_.facts == EnumeratedFacts::sizes && index >= frame.sizedEntries) {
    frame.sizedEntries = ahead_->sizesUpTo(*frame.folder, index);
  }
  const FolderListing::Entry& entry = listing.entries[index];
  item_.folderPath_ = &path_;
  item_.name_ = listing.name(entry);
  item_.level_ = frame.folder->level;
  item_.type_ = entry.item.type();
  item_.isPackage_ = entry.item.isPackage();
  item_.sizes_.reset();
  if (options_.facts == EnumeratedFacts::sizes) {
    if (entry.hasSizes()) item_.sizes_ = entry.sizes;
    if (entry.sizesError != 0) reportUnreadableItem(entry.sizesError);
  }
  mayEnter_ = frame.nextFolder < listing.folders.size() && listing.folders[frame.nextFolder] == index;
  if (!mayEnter_) return &item_;
  ++frame.nextFolder;
  if (options_.packages == PackageContents::skip) {
    opened_ = ahead_->child(*frame.folder, index);
    item_.isPackage_ = opened_->listing.isPackage;
  }
  return &item_;
}

void DirectoryEnumerator::Walk::skipDescendants() {
  if (!std::exchange(mayEnter_, false)) return;
  if (opened_) return ahead_->abandon(std::move(opened_));
  const Frame& frame = frames_.back();
  ahead_->skip(*frame.folder, frame.nextEntry - 1);
}

void DirectoryEnumerator::Walk::enter() {
  mayEnter_ = false;
  const std::size_t pathLength = path_.size();
  path_.append("/").append(item_.name_);
  if (ListingCount::wantsFolder()) ListingCount::tell(path_);
  // A helper may read in the folder, so nothing may throw between taking it and keeping it.
  if (frames_.size() == frames_.capacity()) frames_.reserve(2 * frames_.size());
  const Frame& parent = frames_.back();
  ReadAhead::FolderPointer folder = opened_ ? std::move(opened_) : ahead_->child(*parent.folder, parent.nextEntry - 1);
  frames_.push_back({.folder = std::move(folder), .pathLength = pathLength});
  frames_.back().isKept = frames_[frames_.size() - 2].isKept && isToBeKept(*frames_.back().folder);
  if (const int error = frames_.back().folder->listing.error; error != 0) reportUnreadable(path_, error);
}

void DirectoryEnumerator::Walk::leave() {
  Frame& frame = frames_.back();
  keep(frame);
  path_.resize(frame.pathLength);
  if (frame.folder->listing.wantsSizes && frame.sizedEntries < frame.folder->listing.entries.size()) {
    // The folder was not kept, so nobody asked for all of its sizes.
    ahead_->abandon(std::move(frame.folder));
  } else {
    ahead_->leave(std::move(frame.folder));
  }
  frames_.pop_back();
}

// Decided before the folders in it are entered, so that no folder is kept without the one around it. The listing of a
// cancelled walk may be incomplete.
bool DirectoryEnumerator::Walk::isToBeKept(const ReadAhead::Folder& folder) const {
  return options_.kept != nullptr && folder.level <= options_.maximumLevel && !options_.cancellation.isCancelled() &&
         options_.kept->reserve(folder.listing);
}

void DirectoryEnumerator::Walk::keep(Frame& frame) {
  if (!frame.isKept) return;
  const FolderListing& listing = frame.folder->listing;
  while (frame.sizedEntries < listing.entries.size()) {
    frame.sizedEntries = ahead_->sizesUpTo(*frame.folder, frame.sizedEntries);
  }
  const KeptListings::Folder kept = options_.kept->add(listing, std::move(frame.keptFolders));
  if (kept == KeptListings::kNone) return;
  if (frames_.size() == 1) return options_.kept->addRoot(realRoot_, kept);
  Frame& parent = frames_[frames_.size() - 2];
  parent.keptFolders.push_back({.item = static_cast<std::uint32_t>(parent.nextEntry - 1), .folder = kept});
}

void DirectoryEnumerator::Walk::end() {
  skipDescendants();
  for (; !frames_.empty(); frames_.pop_back()) {
    keep(frames_.back());
    ahead_->abandon(std::move(frames_.back().folder));
  }
}

void DirectoryEnumerator::Walk::reportUnreadable(const std::string& path, int error) const {
  if (ReadReport* report = files_.readReport()) report->add(path, error);
}

// Compiled apart from `yield`, which runs for every item.
[[gnu::cold]] void DirectoryEnumerator::Walk::reportUnreadableItem(int error) const {
  reportUnreadable(path_ + '/' + std::string(item_.name_), error);
}

FileURL DirectoryEnumerator::Item::url() const {
  std::string path;
  path.reserve(folderPath_->size() + 1 + name_.size());
  path.append(*folderPath_).append("/").append(name_);
  return FileURL(path, isDirectory() ? URLKind::directory : URLKind::item);
}

DirectoryEnumerator::DirectoryEnumerator(const FileManager& files, const FileURL& root, const Options& options)
    : walk_(std::make_unique<Walk>(files, root, options)) {}
DirectoryEnumerator::DirectoryEnumerator(DirectoryEnumerator&&) noexcept = default;
DirectoryEnumerator& DirectoryEnumerator::operator=(DirectoryEnumerator&&) noexcept = default;
DirectoryEnumerator::~DirectoryEnumerator() = default;

const DirectoryEnumerator::Item* DirectoryEnumerator::next() { return walk_->next(); }
void DirectoryEnumerator::skipDescendants() { walk_->skipDescendants(); }
void DirectoryEnumerator::end() { walk_->end(); }
int DirectoryEnumerator::rootError() const { return walk_->rootError(); }

}  // namespace quarn

#include "QuarnPlatform/walking/DirectoryEnumerator.h"

#include <cerrno>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/files/ReadReport.h"
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
  [[nodiscard]] int rootError() const { return rootError_; }

 private:
  struct Frame {
    ReadAhead::FolderPointer folder;
    std::size_t pathLength = 0;  // of the path of the folder around it
    std::size_t nextEntry = 0;
    std::size_t nextFolder = 0;  // of the listing's folders
    std::size_t sizedEntries = 0;
  };

  void open(const FileURL& root);
  const Item* yield(Frame& frame);
  void enter();
  void leave();
  [[nodiscard]] std::optional<ByteCounts> sizesOf(const FolderListing::Entry& entry) const;
  void reportUnreadable(const std::string& path, int error) const;

  const FileManager files_;
  const Options options_;
  std::string path_;  // of the folder whose entries come next; "" for the root folder
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
  ahead_ = std::make_unique<ReadAhead>(files_.openDirectory(root, Links::doNotFollow), options_, files_.accessTimes());
  frames_.push_back({.folder = ahead_->takeRoot()});
  rootError_ = frames_.back().folder->listing.error;
}

const DirectoryEnumerator::Item* DirectoryEnumerator::Walk::next() {
  if (options_.cancellation.isCancelled()) return nullptr;
  if (mayEnter_) enter();
  while (!frames_.empty()) {
    Frame& frame = frames_.back();
    if (frame.nextEntry < frame.folder->listing.entries.size()) return yield(frame);
    leave();
  }
  return nullptr;
}

const DirectoryEnumerator::Item* DirectoryEnumerator::Walk::yield(Frame& frame) {
  const FolderListing& listing = frame.folder->listing;
  const std::size_t index = frame.nextEntry++;
  if (index >= frame.sizedEntries) frame.sizedEntries = ahead_->sizesUpTo(*frame.folder, index);
  const FolderListing::Entry& entry = listing.entries[index];
  item_.folderPath_ = &path_;
  item_.name_ = listing.name(entry);
  item_.level_ = frame.folder->level;
  item_.type_ = entry.item.type();
  item_.isPackage_ = entry.item.isPackage();
  item_.sizes_ = sizesOf(entry);
  mayEnter_ = frame.nextFolder < listing.folders.size() && listing.folders[frame.nextFolder] == index;
  if (!mayEnter_) return &item_;
  ++frame.nextFolder;
  if (options_.packages == PackageContents::skip) {
    opened_ = ahead_->child(*frame.folder, index);
    item_.isPackage_ = opened_->listing.isPackage;
  }
  return &item_;
}

std::optional<ByteCounts> DirectoryEnumerator::Walk::sizesOf(const FolderListing::Entry& entry) const {
  if (entry.hasSizes()) return entry.sizes;
  if (entry.sizesError != 0) reportUnreadable(path_ + '/' + std::string(item_.name_), entry.sizesError);
  return std::nullopt;
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
  if (const int error = frames_.back().folder->listing.error; error != 0) reportUnreadable(path_, error);
}

void DirectoryEnumerator::Walk::leave() {
  path_.resize(frames_.back().pathLength);
  ahead_->leave(std::move(frames_.back().folder));
  frames_.pop_back();
}

void DirectoryEnumerator::Walk::reportUnreadable(const std::string& path, int error) const {
  if (ReadReport* report = files_.readReport()) report->add(path, error);
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
int DirectoryEnumerator::rootError() const { return walk_->rootError(); }

}  // namespace quarn

#include "QuarnPlatform/files/FileManager.h"

#include <algorithm>
#include <cerrno>
#include <functional>

#include "QuarnPlatform/base/Budget.h"
#include "QuarnPlatform/base/CancellableSort.h"
#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/files/Packages.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/files/Volume.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PrivatePrefix.h"

namespace quarn {
namespace {

bool hasParentComponent(std::string_view path) {
  const std::vector<std::string_view> names = path::names(path);
  return std::find(names.begin(), names.end(), "..") != names.end();
}

// Where each component of the path ends, the root's "/" first; runs of slashes end nothing.
std::vector<std::size_t> componentEnds(std::string_view path) {
  std::vector<std::size_t> ends{1};
  for (std::size_t i = 1; i < path.size(); ++i) {
    const bool isLast = path[i] != '/' && (i + 1 == path.size() || path[i + 1] == '/');
    if (isLast) ends.push_back(i + 1);
  }
  return ends;
}

// True if the item itself can be looked up although this operation was refused.
bool isRefusal(int error) {
  const UnreadableCause cause = unreadableCause(error);
  return cause == UnreadableCause::permission || cause == UnreadableCause::privacy ||
         cause == UnreadableCause::onlyInCloud;
}

URLKind kindOf(FileType type) { return type == FileType::directory ? URLKind::directory : URLKind::item; }

}  // namespace

FileManager::FileManager(std::shared_ptr<const Volume> volume, FileURL home)
    : volume_(std::move(volume)), home_(std::move(home)) {}

FileManager FileManager::host(AccessTimes accessTimes) {
  return FileManager(std::make_shared<const Volume>("/", accessTimes),
                     FileURL(Volume::currentHome(), URLKind::directory));
}

FileManager FileManager::mounted(const std::string& hostFolder, const FileURL& home, AccessTimes accessTimes) {
  return FileManager(std::make_shared<const Volume>(hostFolder, accessTimes), FileURL(home.path(), URLKind::directory));
}

const FileURL& FileManager::homeDirectory() const { return home_; }

FileManager FileManager::withHome(const FileURL& home) const {
  FileManager copy = *this;
  copy.home_ = FileURL(home.path(), URLKind::directory);
  return copy;
}

FileManager FileManager::reportingTo(std::shared_ptr<ReadReport> report) const {
  FileManager copy = *this;
  copy.report_ = std::move(report);
  return copy;
}

FileManager FileManager::forOneOperation() const {
  FileManager copy = *this;
  copy.budget_ = std::make_shared<Budget>(limits::kFileBytes);
  return copy;
}

void FileManager::note(const FileURL& url, int error) const {
  if (report_) report_->add(url.path(), error);
}

bool FileManager::mayRead(const OpenFile& file, std::size_t maximumBytes) const {
  return file.size() <= maximumBytes && (!budget_ || budget_->take(static_cast<std::size_t>(file.size())));
}

ReadReport* FileManager::readReport() const { return report_.get(); }

FileManager FileManager::cancelledBy(Cancellation cancellation) const {
  FileManager copy = *this;
  copy.cancellation_ = std::move(cancellation);
  return copy;
}

const std::string& FileManager::hostFolder() const { return volume_->hostFolder(); }

FileDescriptor FileManager::openFolder(const std::string& path, Links links) const {
  FileDescriptor folder = volume_->openFolder(path, links);
  if (!folder.isOpen()) noteFailure(path, errno);
  return folder;
}

void FileManager::noteFailure(const std::string& path, int error) const {
  if (report_ && !meansMissing(error)) report_->add(std::string(isRefusal(error) ? refusedPart(path) : path), error);
  errno = error;
}

// The item that refused is the deepest component that can still be looked up. So one folder without search permission
// counts once, however many items below it are looked up. If an item can be looked up, so can all on the way to it,
// which allows halving; a hostile path may have thousands of components.
std::string_view FileManager::refusedPart(std::string_view path) const {
  if (!path.starts_with('/')) return path;
  const std::vector<std::size_t> ends = componentEnds(path);
  const auto firstHidden = std::partition_point(ends.begin() + 1, ends.end(),
                                                [&](std::size_t end) { return volume_->exists(path.substr(0, end)); });
  return path.substr(0, *std::prev(firstHidden));
}

std::optional<ItemFacts> FileManager::facts(const FileURL& url, Links links) const {
  std::optional<ItemFacts> found = volume_->facts(url.path(), links);
  if (!found) noteFailure(url.path(), errno);
  return found;
}

ItemFacts FileManager::requireFacts(const FileURL& url, Links links) const {
  const std::optional<ItemFacts> found = facts(url, links);
  if (!found) throwFileError("stat", url.path());
  return *found;
}

bool FileManager::itemExists(const FileURL& url) const { return facts(url, Links::follow).has_value(); }

bool FileManager::isDirectory(const FileURL& url) const {
  const std::optional<ItemFacts> found = facts(url, Links::doNotFollow);
  return found && found->type == FileType::directory;
}

bool FileManager::isExecutableFile(const FileURL& url) const {
  const std::optional<ItemFacts> found = facts(url, Links::follow);
  return found && found->type == FileType::regular && found->anyExecuteBit;
}

bool FileManager::isPackage(const FileURL& url) const {
  if (!isDirectory(url)) return false;
  if (isPackageName(url.lastPathComponent())) return true;
  const FileDescriptor folder = openFolder(url.path(), Links::doNotFollow);
  if (!folder.isOpen()) return false;
  const BundleBit bit = bundleBit(folder.get());
  if (bit.error != 0) noteFailure(url.path(), bit.error);
  return bit.isSet;
}

FileURL FileManager::url(std::string_view path) const {
  const FileURL plain{path};
  return isDirectory(plain) ? FileURL(path, URLKind::directory) : plain;
}

FileURL FileManager::url(const FileURL& base, std::string_view component) const {
  return url(path::join(base.path(), component));
}

std::optional<FileURL> FileManager::existingURL(std::string_view path) const {
  const FileURL plain{path};
  const std::optional<ItemFacts> found = facts(plain, Links::doNotFollow);
  if (!found || (found->type == FileType::symbolicLink && !itemExists(plain))) return std::nullopt;
  return FileURL(path, kindOf(found->type));
}

std::vector<DirectoryEntry> FileManager::contentsOfDirectory(const FileURL& url, HiddenItems hidden) const {
  if (cancellation_.isCancelled()) return {};
  const FileDescriptor folder = openDirectory(url, Links::follow);
  if (ListingCount::wantsFolder()) ListingCount::tell(url.path());
  std::vector<DirectoryEntry> entries;
  DirectoryReader reader;
  reader.start(folder.get());
  while (!cancellation_.isCancelled() && reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) {
      if (hidden == HiddenItems::skip && entry->hidden) continue;
      entries.push_back({url.appending(entry->name, kindOf(entry->type)), entry->type});
    }
  }
  if (reader.error() != 0) {
    noteFailure(url.path(), reader.error());
    throwFileError(reader.error(), "list", url.path());
  }
  // The paths differ in their names alone.
  const auto isBefore = [](const DirectoryEntry& left, const DirectoryEntry& right) {
    return left.url.path() < right.url.path();
  };
  if (!sortUnlessCancelled(entries.begin(), entries.end(), isBefore, cancellation_)) return {};
  return entries;
}

std::vector<DirectoryEntry> FileManager::contentsOrNone(const FileURL& url, HiddenItems hidden) const {
  try {
    return contentsOfDirectory(url, hidden);
  } catch (const FileError& error) {
    if (report_ && error.error() == ELOOP) report_->add(url.path(), ELOOP);
    return {};
  }
}

FileDescriptor FileManager::openDirectory(const FileURL& url, Links links) const {
  FileDescriptor folder = openFolder(url.path(), links);
  if (folder.isOpen()) return folder;
  const int error = errno;
  // The kernel reports ENOTDIR for a link that is not followed. Report ELOOP instead, to distinguish it.
  const std::optional<ItemFacts> found = error == ENOTDIR ? facts(url, links) : std::nullopt;
  throwFileError(found && found->type == FileType::symbolicLink ? ELOOP : error, "list", url.path());
}

OpenFile FileManager::openFile(const FileURL& url) const {
  std::optional<OpenFile> file = openRegularFile(url);
  if (!file) throwFileError("open", url.path());
  return std::move(*file);
}

std::optional<OpenFile> FileManager::openRegularFile(const FileURL& url) const {
  if (cancellation_.isCancelled()) {
    errno = ECANCELED;
    return std::nullopt;
  }
  OpenedFile file = volume_->openFile(url.path());
  if (file.descriptor.isOpen()) return OpenFile(std::move(file.descriptor), file.size, url.path(), report_);
  // A folder or a special file is not unread: it holds nothing to read.
  if (file.error != EISDIR && file.error != EINVAL) noteFailure(url.path(), file.error);
  errno = file.error;
  return std::nullopt;
}

std::string FileManager::readFile(const FileURL& url, std::size_t maximumBytes) const {
  const OpenFile file = openFile(url);
  if (!mayRead(file, maximumBytes)) {
    note(url, EFBIG);
    throwFileError(EFBIG, "read", url.path());
  }
  return file.read(0, static_cast<std::size_t>(file.size()));
}

std::optional<std::string> FileManager::readFileIfPossible(const FileURL& url, std::size_t maximumBytes) const {
  const std::optional<OpenFile> file = openRegularFile(url);
  if (!file) return std::nullopt;
  if (!mayRead(*file, maximumBytes)) {
    note(url, EFBIG);
    errno = EFBIG;
    return std::nullopt;
  }
  try {
    return file->read(0, static_cast<std::size_t>(file->size()));
  } catch (const FileError& error) {
    errno = error.error();
    return std::nullopt;
  }
}

std::string FileManager::standardizedPath(std::string_view path) const {
  if (path::isPlain(path)) return withoutPrivatePrefix(std::string(path));
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);  // a trailing "/" requires a folder
  std::string result(path);
  if (hasParentComponent(path)) {
    if (std::optional<std::string> resolved = resolve(path)) result = std::move(*resolved);
  }
  return withoutPrivatePrefix(path::withoutDots(result));
}

std::string FileManager::withoutPrivatePrefix(std::string path) const {
  std::optional<std::string> shortened = path::withoutPrivatePrefix(path);
  if (shortened && itemExists(FileURL(*shortened))) return std::move(*shortened);
  return path;
}

FileURL FileManager::standardized(const FileURL& url) const {
  return FileURL(standardizedPath(url.path()), url.kind());
}

std::optional<std::string> FileManager::resolve(std::string_view path) const {
  std::optional<std::string> resolved = volume_->resolve(path);
  if (!resolved) noteFailure(std::string(path), errno);
  return resolved;
}

std::optional<std::string> FileManager::realPath(const FileURL& url) const { return resolve(url.path()); }

std::string FileManager::resolvedPath(const FileURL& url) const {
  return standardizedPath(realPath(url).value_or(url.path()));
}

FileURL FileManager::resolvingSymlinks(const FileURL& url) const { return FileURL(resolvedPath(url), url.kind()); }

VolumeSpace FileManager::space() const { return volume_->space(); }

VolumeMount FileManager::mount() const { return volume_->mount(); }

AccessTimes FileManager::accessTimes() const { return volume_->accessTimes(); }

}  // namespace quarn

#include "QuarnPlatform/files/FileManager.h"

#include <algorithm>
#include <cerrno>
#include <functional>

#include "QuarnPlatform/base/CancellableSort.h"
#include "QuarnPlatform/files/DirectoryReader.h"
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

/// The errno for an item that cannot be opened as a regular file, or 0. Call it right after the lookup, while errno
/// is set.
int refusal(const std::optional<ItemFacts>& found) {
  if (!found) return errno;
  if (found->type == FileType::directory) return EISDIR;
  return found->type == FileType::regular ? 0 : EINVAL;
}

URLKind kindOf(FileType type) { return type == FileType::directory ? URLKind::directory : URLKind::item; }

}  // namespace

FileManager::FileManager(std::shared_ptr<const Volume> volume, FileURL home)
    : volume_(std::move(volume)), home_(std::move(home)) {}

FileManager FileManager::host() {
  return FileManager(std::make_shared<const Volume>("/"), FileURL(Volume::currentHome(), URLKind::directory));
}

FileManager FileManager::mounted(const std::string& hostFolder, const FileURL& home) {
  return FileManager(std::make_shared<const Volume>(hostFolder), FileURL(home.path(), URLKind::directory));
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

ReadReport* FileManager::readReport() const { return report_.get(); }

FileManager FileManager::cancelledBy(Cancellation cancellation) const {
  FileManager copy = *this;
  copy.cancellation_ = std::move(cancellation);
  return copy;
}

const std::string& FileManager::hostFolder() const { return volume_->hostFolder(); }

FileDescriptor FileManager::open(const std::string& path, OpenFor use, Links links) const {
  FileDescriptor item = volume_->open(path, use, links);
  if (item.isOpen() || !report_) return item;
  const int error = errno;
  noteDenial(path, error);
  errno = error;
  return item;
}

// Reports the deepest path component that can still be looked up. So one folder without search permission counts
// once, however many items below it are looked up.
void FileManager::noteDenial(std::string_view path, int error) const {
  if (error != EACCES && error != EPERM && error != EDEADLK) return;
  while (path != "/" && !volume_->facts(path, Links::follow)) {
    path = path::parent(path);
  }
  report_->add(std::string(path), error);
}

std::optional<ItemFacts> FileManager::facts(const FileURL& url, Links links) const {
  std::optional<ItemFacts> found = volume_->facts(url.path(), links);
  if (!found && report_) {
    const int error = errno;
    noteDenial(url.path(), error);
    errno = error;
  }
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
  const FileDescriptor folder = open(url.path(), OpenFor::folder, Links::doNotFollow);
  return folder.isOpen() && hasBundleBit(folder.get());
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
  std::vector<std::pair<std::string, FileType>> found;
  DirectoryReader reader;
  reader.start(folder.get());
  while (!cancellation_.isCancelled() && reader.readMore()) {
    while (const DirectoryReader::Entry* entry = reader.next()) {
      if (hidden == HiddenItems::skip && entry->hidden) continue;
      found.emplace_back(entry->name, entry->type);
    }
  }
  if (reader.error() != 0) throwFileError(reader.error(), "list", url.path());
  if (!sortUnlessCancelled(found.begin(), found.end(), std::less<>(), cancellation_)) return {};
  std::vector<DirectoryEntry> entries;
  entries.reserve(found.size());
  for (const auto& [name, type] : found) {
    if (cancellation_.isCancelled()) return {};
    entries.push_back({url.appending(name, kindOf(type)), type});
  }
  return entries;
}

std::vector<DirectoryEntry> FileManager::contentsOrNone(const FileURL& url, HiddenItems hidden) const {
  try {
    return contentsOfDirectory(url, hidden);
  } catch (const FileError& error) {
    if (report_ && error.error() != ENOENT && error.error() != ENOTDIR) report_->add(url.path(), error.error());
    return {};
  }
}

FileDescriptor FileManager::openDirectory(const FileURL& url, Links links) const {
  FileDescriptor folder = open(url.path(), OpenFor::folder, links);
  if (folder.isOpen()) return folder;
  const int error = errno;
  // The kernel reports ENOTDIR for a link that is not followed. Report ELOOP instead, to distinguish it.
  const std::optional<ItemFacts> found = error == ENOTDIR ? facts(url, links) : std::nullopt;
  throwFileError(found && found->type == FileType::symbolicLink ? ELOOP : error, "list", url.path());
}

OpenFile FileManager::openFile(const FileURL& url) const {
  int error = 0;
  std::optional<OpenFile> file = openRegularFile(url, error);
  if (!file) throwFileError(error, "open", url.path());
  return std::move(*file);
}

// Check the type before opening (opening a device can have effects) and after it (the item may have been replaced).
std::optional<OpenFile> FileManager::openRegularFile(const FileURL& url, int& error) const {
  error = cancellation_.isCancelled() ? ECANCELED : refusal(facts(url, Links::follow));
  if (error != 0) return std::nullopt;
  FileDescriptor file = open(url.path(), OpenFor::file, Links::follow);
  if (!file.isOpen()) {
    error = errno;
    return std::nullopt;
  }
  const std::optional<ItemFacts> found = Volume::facts(file.get());
  error = refusal(found);
  if (error != 0) return std::nullopt;
  return OpenFile(std::move(file), static_cast<std::uint64_t>(found->sizes.logicalBytes), url.path());
}

std::string FileManager::readFile(const FileURL& url, std::size_t maximumBytes) const {
  const OpenFile file = openFile(url);
  if (file.size() > maximumBytes) throwFileError(EFBIG, "read", url.path());
  return file.read(0, static_cast<std::size_t>(file.size()));
}

std::optional<std::string> FileManager::readFileIfPossible(const FileURL& url, std::size_t maximumBytes) const {
  int error = 0;
  const std::optional<OpenFile> file = openRegularFile(url, error);
  if (!file || file->size() > maximumBytes) return std::nullopt;
  try {
    return file->read(0, static_cast<std::size_t>(file->size()));
  } catch (const FileError& unreadable) {
    if (report_) report_->add(url.path(), unreadable.error());
    return std::nullopt;
  }
}

std::string FileManager::standardizedPath(std::string_view path) const {
  if (path::isPlain(path)) return withoutPrivatePrefix(std::string(path));
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);  // a trailing "/" requires a folder
  std::string result(path);
  if (hasParentComponent(path)) {
    if (std::optional<std::string> resolved = volume_->resolve(path)) result = std::move(*resolved);
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

std::optional<std::string> FileManager::realPath(const FileURL& url) const { return volume_->resolve(url.path()); }

std::string FileManager::resolvedPath(const FileURL& url) const {
  return standardizedPath(realPath(url).value_or(url.path()));
}

FileURL FileManager::resolvingSymlinks(const FileURL& url) const { return FileURL(resolvedPath(url), url.kind()); }

VolumeSpace FileManager::space() const { return volume_->space(); }

}  // namespace quarn

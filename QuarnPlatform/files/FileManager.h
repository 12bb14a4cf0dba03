#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/AccessTimes.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/files/VolumeSpace.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

class Budget;
class ReadReport;
class Volume;

/// An entry of a folder: its URL, marked as a folder if it is one, and its own type.
struct DirectoryEntry {
  FileURL url;
  FileType type = FileType::other;
};

/// An open regular file for positional reads. Movable, not copyable.
class OpenFile {
 public:
  /// What cannot be read is added to `report`, which may be null.
  OpenFile(FileDescriptor descriptor, std::uint64_t size, std::string path,
           std::shared_ptr<ReadReport> report = nullptr)
      : descriptor_(std::move(descriptor)), size_(size), path_(std::move(path)), report_(std::move(report)) {}

  /// The length in bytes at the time of opening.
  [[nodiscard]] std::uint64_t size() const { return size_; }
  /// Reads up to `count` bytes at `offset`; fewer at the end of the file. Throws FileError.
  [[nodiscard]] std::string read(std::uint64_t offset, std::size_t count) const;

 private:
  FileDescriptor descriptor_;
  std::uint64_t size_;
  std::string path_;
  std::shared_ptr<ReadReport> report_;
};

/// A copyable handle to one Mac volume, and the only access to its files. It has no operation that creates, changes
/// or deletes a file. All paths are paths on the Mac ("/Users/ann/Library"); only the handle knows the host's paths.
/// On a mounted volume, lookups never leave the volume's folder, not through symbolic links (including absolute ones)
/// and not through "..". Paths may be longer than PATH_MAX. Thread-safe.
///
/// Operations that cannot fail return false, empty or absent on errors. The others throw FileError.
class FileManager {
 public:
  /// The running system, with the home folder of the current user.
  static FileManager host(AccessTimes accessTimes = AccessTimes::keepIfPermitted);
  /// A Mac volume that is mounted or copied at `hostFolder`. `home` is the home folder of the inspected user, a path
  /// on the Mac; it need not exist. Throws FileError (operation "open volume") if `hostFolder` is not a readable
  /// folder.
  static FileManager mounted(const std::string& hostFolder, const FileURL& home,
                             AccessTimes accessTimes = AccessTimes::keepIfPermitted);

  [[nodiscard]] const FileURL& homeDirectory() const;
  /// The same volume with another home folder.
  [[nodiscard]] FileManager withHome(const FileURL& home) const;
  /// The same volume; what its walks, listings, look-ups and readings leave out is added to `report`, whether or not
  /// the operation throws. For want of permission that is the folder that cannot be searched or the item that cannot be
  /// read, for any other error the item that was asked for. What is missing (see `meansMissing`) is not added.
  [[nodiscard]] FileManager reportingTo(std::shared_ptr<ReadReport> report) const;
  /// The same volume for one operation, which may read `limits::kFileBytes` of whole files. What is beyond goes to the
  /// read report and counts as too large.
  [[nodiscard]] FileManager forOneOperation() const;
  /// Adds an item that could not be read, or not be used, to the read report, if there is one. EFBIG stands for a
  /// limit.
  void note(const FileURL& url, int error) const;
  /// The report for unreadable items, or null.
  [[nodiscard]] ReadReport* readReport() const;
  /// The same volume for one cancellable operation. Once `cancellation` is set, walks stop, listings are empty and
  /// files do not open, so that everything that uses this handle ends soon. Lookups of single items still work. This
  /// is how an operation passes its cancellation down.
  [[nodiscard]] FileManager cancelledBy(Cancellation cancellation) const;
  [[nodiscard]] const Cancellation& cancellation() const { return cancellation_; }

  /// True if an item of any type exists. Follows links: false for a dangling link, a loop, or an unreadable parent.
  [[nodiscard]] bool itemExists(const FileURL& url) const;
  /// The facts of an item; absent if the lookup fails.
  [[nodiscard]] std::optional<ItemFacts> facts(const FileURL& url, Links links) const;
  /// The same, but throws FileError (operation "stat") if the lookup fails.
  [[nodiscard]] ItemFacts requireFacts(const FileURL& url, Links links) const;
  /// True if the item itself is a folder. A link to a folder is not.
  [[nodiscard]] bool isDirectory(const FileURL& url) const;
  /// True if the item, after following links, is a regular file with an execute bit.
  [[nodiscard]] bool isExecutableFile(const FileURL& url) const;
  /// True if the item is a package: a folder that the Finder shows as one item, by `isPackageName` or the bundle bit
  /// of its FinderInfo.
  [[nodiscard]] bool isPackage(const FileURL& url) const;

  /// Makes a URL from `path`, marked as a folder if the item itself is a folder.
  [[nodiscard]] FileURL url(std::string_view path) const;
  /// Appends `component` to `base`, and marks the result in the same way.
  [[nodiscard]] FileURL url(const FileURL& base, std::string_view component) const;

  /// The URL of an existing item, following links; absent if there is none.
  [[nodiscard]] std::optional<FileURL> existingURL(std::string_view path) const;

  /// The entries of a folder in ascending byte order of their names. A link to a folder lists that folder, but the
  /// URLs of the entries keep the path of the link. Throws FileError (operation "list"): ENOENT, EACCES, ENOTDIR.
  /// Empty if cancelled.
  [[nodiscard]] std::vector<DirectoryEntry> contentsOfDirectory(const FileURL& url, HiddenItems hidden) const;
  /// The same, but returns an empty list if the folder cannot be listed, and reports it unless it is missing.
  [[nodiscard]] std::vector<DirectoryEntry> contentsOrNone(const FileURL& url, HiddenItems hidden) const;

  /// Opens a regular file and follows links. Never blocks on pipes. Throws FileError (operation "open"): EISDIR for a
  /// folder, EINVAL for other special files, ECANCELED if cancelled.
  [[nodiscard]] OpenFile openFile(const FileURL& url) const;
  /// A whole regular file of at most `maximumBytes`; EFBIG beyond that or beyond what the operation may read, also in
  /// the read report. Throws FileError.
  [[nodiscard]] std::string readFile(const FileURL& url, std::size_t maximumBytes) const;
  /// The same; absent, and errno, if the file cannot be read.
  [[nodiscard]] std::optional<std::string> readFileIfPossible(const FileURL& url, std::size_t maximumBytes) const;

  /// The standardised path, as Foundation defines it. Collapses repeated slashes and removes "." and "..". Resolves
  /// links only if the path has a ".." component and the item exists. Removes "/private" if the rest exists and is
  /// not a well-known root folder. A path that is already in plain form needs no disk access.
  [[nodiscard]] std::string standardizedPath(std::string_view path) const;
  [[nodiscard]] std::string standardizedPath(const FileURL& url) const { return standardizedPath(url.path()); }
  [[nodiscard]] FileURL standardized(const FileURL& url) const;
  /// The path of an existing item without links; absent if a component is missing or links loop.
  [[nodiscard]] std::optional<std::string> realPath(const FileURL& url) const;
  /// Resolves all links and standardises the result. If a component is missing or links loop, only standardises.
  [[nodiscard]] std::string resolvedPath(const FileURL& url) const;
  [[nodiscard]] FileURL resolvingSymlinks(const FileURL& url) const;

  /// Opens a folder for the walking engine. Throws FileError (operation "list"): ENOTDIR if the item is not a folder,
  /// ELOOP for a link that must not be followed.
  [[nodiscard]] FileDescriptor openDirectory(const FileURL& url, Links links) const;

  /// The space of the volume. Throws FileError (operation "statfs").
  [[nodiscard]] VolumeSpace space() const;
  /// Throws FileError (operation "statfs").
  [[nodiscard]] VolumeMount mount() const;
  [[nodiscard]] AccessTimes accessTimes() const;
  /// The folder of the volume on the host, "/" for the running system. For messages only.
  [[nodiscard]] const std::string& hostFolder() const;

 private:
  FileManager(std::shared_ptr<const Volume> volume, FileURL home);
  [[nodiscard]] std::string withoutPrivatePrefix(std::string path) const;
  [[nodiscard]] FileDescriptor openFolder(const std::string& path, Links links) const;
  /// Absent, and errno, for what `openFile` throws on.
  [[nodiscard]] std::optional<OpenFile> openRegularFile(const FileURL& url) const;
  // Adds a failed operation to the report unless the item is missing; errno is `error` afterwards.
  void noteFailure(const std::string& path, int error) const;
  [[nodiscard]] std::string_view refusedPart(std::string_view path) const;
  [[nodiscard]] std::optional<std::string> resolve(std::string_view path) const;

  std::shared_ptr<const Volume> volume_;
  FileURL home_;
  [[nodiscard]] bool mayRead(const OpenFile& file, std::size_t maximumBytes) const;

  std::shared_ptr<ReadReport> report_;
  Cancellation cancellation_ = Cancellation::never();
  std::shared_ptr<Budget> budget_;
};

}  // namespace quarn

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/AccessTimes.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/files/VolumeSpace.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

class Budget;
class ReadReport;
enum class OpenFor : std::uint8_t;
class Volume;

/// An entry of a listed folder: its URL (a folder's is known to be one) and its own type.
struct DirectoryEntry {
  FileURL url;
  FileType type = FileType::other;
};

/// An open regular file, read by position. Movable; one owner.
class OpenFile {
 public:
  /// What cannot be read is added to `report`, which may be null.
  OpenFile(FileDescriptor descriptor, std::uint64_t size, std::string path,
           std::shared_ptr<ReadReport> report = nullptr)
      : descriptor_(std::move(descriptor)), size_(size), path_(std::move(path)), report_(std::move(report)) {}

  /// Length in bytes when the file was opened.
  [[nodiscard]] std::uint64_t size() const { return size_; }
  /// Up to `count` bytes from `offset`; fewer at the end of the file. Throws FileError.
  [[nodiscard]] std::string read(std::uint64_t offset, std::size_t count) const;

 private:
  FileDescriptor descriptor_;
  std::uint64_t size_;
  std::string path_;
  std::shared_ptr<ReadReport> report_;
};

/// A copyable handle to one Mac volume, and the only door to its files: read-only by construction, for no operation
/// here creates, changes or deletes. Every path is the Mac's ("/Users/ann/Library"); the handle alone knows where it
/// lies on the host. On a mounted volume every look-up stays inside the volume's folder, symbolic links (absolute ones
/// too) and ".." included. Paths may be longer than the system's PATH_MAX. Safe to use from several threads.
///
/// Operations that "cannot fail" answer false, empty or absent; the others throw FileError.
class FileManager {
 public:
  /// The running system: root "/", home of the current user.
  static FileManager host(AccessTimes accessTimes = AccessTimes::keepIfPermitted);
  /// A Mac volume mounted (or copied) at `hostFolder`; `home` is the inspected user's home as the Mac names it and need
  /// not exist. Throws FileError (operation "open volume") when `hostFolder` is no readable folder.
  static FileManager mounted(const std::string& hostFolder, const FileURL& home,
                             AccessTimes accessTimes = AccessTimes::keepIfPermitted);

  [[nodiscard]] const FileURL& homeDirectory() const;
  /// The same volume with another home.
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
  /// Where unreadable items go; may be null.
  [[nodiscard]] ReadReport* readReport() const;

  /// Whether an item of any type exists, links followed: false for a dangling link, a loop, an unreadable parent.
  [[nodiscard]] bool itemExists(const FileURL& url) const;
  /// The item's facts; absent when it cannot be looked up.
  [[nodiscard]] std::optional<ItemFacts> facts(const FileURL& url, Links links) const;
  /// As `facts`; throws FileError (operation "stat") instead of answering absent.
  [[nodiscard]] ItemFacts requireFacts(const FileURL& url, Links links) const;
  /// Whether the item's own type is a folder (a link to a folder is not).
  [[nodiscard]] bool isDirectory(const FileURL& url) const;
  /// Whether a regular file, links followed, has any execute bit.
  [[nodiscard]] bool isExecutableFile(const FileURL& url) const;
  /// Whether the item is a folder that the Finder shows as one item: by `isPackageName` or its FinderInfo's bundle bit.
  [[nodiscard]] bool isPackage(const FileURL& url) const;

  /// `path` as a URL that is known to be a folder exactly when the item's own type is one.
  [[nodiscard]] FileURL url(std::string_view path) const;
  /// `base` with `component` appended, likewise.
  [[nodiscard]] FileURL url(const FileURL& base, std::string_view component) const;

  /// The URL of an item that exists, links followed; absent when none does.
  [[nodiscard]] std::optional<FileURL> existingURL(std::string_view path) const;

  /// The folder's entries in ascending byte order of their names. A link to a folder lists that folder (the entries'
  /// URLs keep the link's path). Throws FileError (operation "list"): ENOENT, EACCES, ENOTDIR.
  [[nodiscard]] std::vector<DirectoryEntry> contentsOfDirectory(const FileURL& url, HiddenItems hidden) const;
  /// The same; empty when the folder cannot be listed, which goes to the read report unless it is missing.
  [[nodiscard]] std::vector<DirectoryEntry> contentsOrNone(const FileURL& url, HiddenItems hidden) const;

  /// Opens a regular file, links followed. Never blocks on pipes. Throws FileError (operation "open"); EISDIR for a
  /// folder, EINVAL for other special files.
  [[nodiscard]] OpenFile openFile(const FileURL& url) const;
  /// A whole regular file of at most `maximumBytes`; EFBIG beyond that or beyond what the operation may read, also in
  /// the read report. Throws FileError.
  [[nodiscard]] std::string readFile(const FileURL& url, std::size_t maximumBytes) const;
  /// The same; absent when the file cannot be read.
  [[nodiscard]] std::optional<std::string> readFileIfPossible(const FileURL& url, std::size_t maximumBytes) const;

  /// The standardised path: slash runs squeezed; only with a ".." component links are resolved when the item exists;
  /// "." and
  /// ".." removed; "/private" dropped where what is left exists and is no well-known root folder. A path in plain form
  /// costs no disk access.
  [[nodiscard]] std::string standardizedPath(std::string_view path) const;
  [[nodiscard]] std::string standardizedPath(const FileURL& url) const { return standardizedPath(url.path()); }
  [[nodiscard]] FileURL standardized(const FileURL& url) const;
  /// The link-free path of an item that exists, as it lies on the volume; absent when anything on the way is missing or
  /// loops.
  [[nodiscard]] std::optional<std::string> realPath(const FileURL& url) const;
  /// Every link resolved, then standardised; when anything on the way is missing or loops, only standardised.
  [[nodiscard]] std::string resolvedPath(const FileURL& url) const;
  [[nodiscard]] FileURL resolvingSymlinks(const FileURL& url) const;

  /// A descriptor of the folder for the walking engine. Throws FileError (operation "list"): ENOTDIR for anything that
  /// is no folder, ELOOP for a link that is not to be followed.
  [[nodiscard]] FileDescriptor openDirectory(const FileURL& url, Links links) const;

  /// Throws FileError (operation "statfs").
  [[nodiscard]] VolumeSpace space() const;
  /// Throws FileError (operation "statfs").
  [[nodiscard]] VolumeMount mount() const;
  [[nodiscard]] AccessTimes accessTimes() const;
  /// Where the volume lies on the host, "/" for the running system; for messages only.
  [[nodiscard]] const std::string& hostFolder() const;

 private:
  FileManager(std::shared_ptr<const Volume> volume, FileURL home);
  [[nodiscard]] std::string withoutPrivatePrefix(std::string path) const;
  [[nodiscard]] FileDescriptor open(const std::string& path, OpenFor use, Links links) const;
  /// Absent, and errno, for what `openFile` throws on.
  [[nodiscard]] std::optional<OpenFile> openRegularFile(const FileURL& url) const;
  // Adds a failed operation to the report unless the item is missing; errno is `error` afterwards.
  void noteFailure(const std::string& path, int error) const;
  [[nodiscard]] std::string_view deniedPart(std::string_view path) const;
  [[nodiscard]] std::optional<std::string> resolve(std::string_view path) const;

  std::shared_ptr<const Volume> volume_;
  FileURL home_;
  [[nodiscard]] bool mayRead(const OpenFile& file, std::size_t maximumBytes) const;

  std::shared_ptr<ReadReport> report_;
  std::shared_ptr<Budget> budget_;
};

}  // namespace quarn

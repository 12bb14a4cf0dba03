#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/walking/WalkOptions.h"

namespace quarn {

/// A deep walk of one folder for one consumer: pre-order, a folder's entries in ascending byte order of their names,
/// links listed and never followed, other devices listed and not entered, the root itself not listed. Yields nothing
/// for a root that is a link, no folder or unreadable. Unreadable folders are listed, not entered, and added to the
/// file manager's read report. Movable, not copyable; used from one thread (it may read ahead on threads of its own,
/// which end with it). Ends early once the file manager's cancellation is set.
///
///   DirectoryEnumerator items(files, root, {.hidden = HiddenItems::skip, .packages = PackageContents::skip});
///   while (const auto* item = items.next()) { ... items.skipDescendants(); ... }
///
/// Paths are built only when asked for, and may be longer than PATH_MAX; open descriptors are bounded whatever the
/// depth.
class DirectoryEnumerator {
 public:
  /// Read-ahead threads for a walk that may be long: as many as a cold cache pays for. No more than the cores can use
  /// are started as long as nothing waits for the disk, and none for a walk of a few folders.
  static constexpr unsigned kReadAheadOfLongWalks = WalkOptions::kMostHelpers;

  using Options = WalkOptions;

  /// The item that `next()` just yielded; valid until the next call.
  class Item {
   public:
    /// The name as it is on the disk.
    [[nodiscard]] std::string_view name() const { return name_; }
    /// Depth below the root: its direct entries have level 1. Equals the difference of the path component counts.
    [[nodiscard]] int level() const { return level_; }
    /// The item's own type.
    [[nodiscard]] FileType type() const { return type_; }
    [[nodiscard]] bool isDirectory() const { return type_ == FileType::directory; }
    /// Whether it is a folder shown as one item. Known only when `packages` is `skip`; else false.
    [[nodiscard]] bool isPackage() const { return isPackage_; }
    /// Sizes of a regular file when they were asked for; absent for all else and for a file that vanished or cannot be
    /// read.
    [[nodiscard]] const std::optional<ByteCounts>& sizes() const { return sizes_; }
    /// The item's URL: the root's URL as given with the names below it appended.
    [[nodiscard]] FileURL url() const;

   private:
    friend class DirectoryEnumerator;
    const std::string* folderPath_ = nullptr;
    std::string_view name_;
    std::optional<ByteCounts> sizes_;
    int level_ = 0;
    FileType type_ = FileType::other;
    bool isPackage_ = false;
  };

  DirectoryEnumerator(const FileManager& files, const FileURL& root, const Options& options);
  DirectoryEnumerator(DirectoryEnumerator&&) noexcept;
  DirectoryEnumerator& operator=(DirectoryEnumerator&&) noexcept;
  ~DirectoryEnumerator();

  /// The next item, or null at the end.
  const Item* next();
  /// Leaves out everything below the item just yielded; no effect when that is no folder.
  void skipDescendants();
  /// Ends the walk early. If listings are kept, keeps those of the folders that the walk is in.
  void end();
  /// Why nothing was yielded: the errno with which the root could not be opened or listed; 0 when it could.
  [[nodiscard]] int rootError() const;

 private:
  class Walk;
  std::unique_ptr<Walk> walk_;
};

}  // namespace quarn

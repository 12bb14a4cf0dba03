#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QuarnPlatform/base/ChunkedVector.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/FolderObserver.h"

namespace quarn {

/// Every folder that the walks of a scan read, with the sum of what is below it, and the largest files. A scan fills it
/// from several threads; `finish` sorts it and adds up; then it is immutable.
///
/// Who owns what: this owns all records. `mutex_` guards them while walks run; it is held for a few instructions, once
/// or twice per folder and once per kept file. Nobody waits for anything else.
///
/// Memory: about 55 bytes and the name per folder, about 110 bytes per kept file. Files that are not kept cost nothing.
class RecordedFolders final : public FolderObserver {
 public:
  static constexpr std::size_t kKeptFiles = 10'000;

  /// A folder. Folders are in pre-order, siblings in ascending byte order of their names, so the folders below one
  /// follow it.
  struct Record {
    std::string_view name;  ///< "/" for the root
    std::uint32_t parent = 0;
    std::uint32_t descendants = 0;  ///< number of folders below it
    ByteCounts sizes{};             ///< of the regular files below it
    ByteCounts hiddenSizes{};       ///< the part of `sizes` that is hidden, as seen from this folder
    std::int64_t files = 0;         ///< regular files below it
    std::int64_t newest = kNoTime;  ///< the latest change of the folder, or of a folder or file below it
    bool isHidden = false;
    bool isPackage = false;
    bool isRead = false;  ///< false if it was not entered: unreadable, or on another device
  };
  struct LargeFile {
    std::uint32_t folder = 0;
    std::string name{};
    ByteCounts sizes{};
    std::int64_t modified = 0;
    bool isHidden = false;
  };

  explicit RecordedFolders(std::size_t keptFiles = kKeptFiles);

  // While the scan runs.

  /// The folder at an absolute path without links. Creates it and its ancestors if they are new. Call it for the roots
  /// of walks before the first walk.
  Folder place(std::string_view path, const FileManager& files);
  /// A file that is a root of the scan, in a folder that `place` created.
  void addFile(std::string_view path, const ByteCounts& sizes, std::int64_t modified);
  Folder enter(Folder parent, const FolderFacts& facts) override;
  void leaveOut(Folder parent, const FolderFacts& facts) override;
  void add(Folder folder, const Counted& files) override;
  void keep(Folder folder, const File& file) override;
  /// Sorts and adds up. Throws SizeOverflow.
  void finish();

  // After `finish`.

  [[nodiscard]] std::size_t size() const { return nodes_.size(); }
  [[nodiscard]] Record at(std::size_t position) const;
  /// The position of a folder that a walk knows by this number.
  [[nodiscard]] std::size_t positionOf(Folder folder) const { return positions_[folder]; }
  /// The folder at an absolute path without links. Costs a search in a few names or a binary search per name.
  [[nodiscard]] std::optional<std::size_t> find(std::string_view path) const;
  /// The largest files, in the order of their folders, then by name.
  [[nodiscard]] const std::vector<LargeFile>& largeFiles() const { return files_; }
  /// All files with a larger size than this are in `largeFiles`; -1 if all files are. The larger of the two sizes of
  /// a file counts.
  [[nodiscard]] std::int64_t keptAbove() const { return keptAbove_; }

 private:
  // 48 bytes, because there may be millions of them.
  struct Node {
    Folder parent = 0;
    std::uint32_t nameStart = 0;
    std::uint32_t descendants = 0;
    std::uint16_t nameLength = 0;
    bool isHidden : 1 = false;
    bool isPackage : 1 = false;
    bool isRead : 1 = false;
    bool hasPlaced : 1 = false;  // a folder in it was created by `place`
    ByteCounts sizes{};
    std::int64_t files = 0;
    std::int64_t newest = kNoTime;
  };
  // The folders in each folder, as one list: those in a folder are from `starts[folder]` to `starts[folder + 1]`.
  struct Children {
    std::vector<std::uint32_t> starts;
    std::vector<Folder> folders;
  };
  // A part of `listed_`.
  struct Range {
    std::uint32_t begin = 0;
    std::uint32_t end = 0;
  };

  [[nodiscard]] std::string_view nameOf(const Node& node) const;
  Folder create(Folder parent, std::string_view name);
  [[nodiscard]] std::optional<Folder> placed(Folder parent, std::string_view name) const;
  [[nodiscard]] std::optional<std::uint32_t> childOf(std::uint32_t position, std::string_view name) const;
  void addUp();
  [[nodiscard]] Children children() const;
  void number();
  void moveNodes();
  void listBigFolders();
  void selectFiles();
  void dropSmallFiles();

  std::size_t mostFiles_;
  std::mutex mutex_;
  ChunkedVector<Node> nodes_;  // a folder comes after its parent; after `finish` by position, also their parents
  std::string names_;
  std::unordered_map<std::string, Folder> placed_;  // by path; empty after `finish`
  std::unordered_map<Folder, ByteCounts> hidden_;   // of hidden items, where there are any; after `finish` by position
  std::vector<LargeFile> files_;                    // while the scan runs, half as many more
  std::int64_t keptAbove_ = -1;
  // After `finish`.
  std::vector<std::uint32_t> positions_;  // by folder
  std::vector<std::uint32_t> listed_;     // the positions of the folders in big folders, by name
  std::unordered_map<std::uint32_t, Range> bigFolders_;
};

}  // namespace quarn

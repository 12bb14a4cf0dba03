#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/walking/FolderObserver.h"
#include "QuarnPlatform/walking/LinkedNames.h"

namespace quarn {

class KeptListings;

/// Decides, item by item, which total a walked item's bytes go to. Implementations are immutable while a walk runs and
/// are called from several threads at once.
class Attribution {
 public:
  /// What was decided for a folder, handed back for the items in it.
  struct Step {
    std::uint32_t node = 0;   ///< the implementation's own place, a trie node for instance
    std::uint32_t state = 0;  ///< the implementation's own mark
    std::uint8_t bucket = 0;  ///< total of the items below that nothing else claims
    friend bool operator==(const Step&, const Step&) = default;
  };

  virtual ~Attribution() = default;

  /// Whether `folder` wants to know packages; when false no attribute is read and `isPackage` is always false.
  [[nodiscard]] virtual bool needsPackages() const { return false; }
  /// Judges a folder in a folder judged `parent`; absent leaves it and everything below it out. May be asked for both
  /// answers: whether the folder is a package is looked up only when something in it would count otherwise.
  [[nodiscard]] virtual std::optional<Step> folder(const Step& parent, std::string_view name, bool isPackage) const = 0;
  /// Judges a regular file: the total it counts to; absent leaves it out and costs no system call.
  [[nodiscard]] virtual std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const = 0;
  /// What `file` answers for every file in a folder judged `parent`. Absent unless it is the same total for all names;
  /// then `file` is not asked.
  [[nodiscard]] virtual std::optional<std::uint8_t> everyFile(const Step& /*parent*/) const { return std::nullopt; }
};

/// Sums the sizes of the regular files of a tree: unordered, on several threads, with a bounded number of open
/// descriptors and memory that does not grow with the number of files. Links are never followed and count nothing, nor
/// do folders and special files; other devices are not entered; unreadable folders are left out and added to the file
/// manager's read report; hard links count each time. Complete whatever the depth (paths may be far longer than
/// PATH_MAX). A sum that does not fit throws SizeOverflow with the path of the tree's root.
class TreeSizer {
 public:
  static constexpr std::size_t kBuckets = 16;
  using Totals = std::array<ByteCounts, kBuckets>;
  static constexpr std::chrono::milliseconds kProgressInterval{100};

  /// One of the trees of a walk.
  struct Tree {
    FileURL root;
    const Attribution* attribution = nullptr;   ///< judges the items; not null; must outlive the walk
    Attribution::Step rootStep{};               ///< where it starts
    HiddenItems hidden = HiddenItems::include;  ///< `skip` leaves hidden items and all below them out, never the root
    FolderObserver::Folder observedRoot = 0;    ///< the observer's number of the root
  };
  /// What a walk found in one tree.
  struct TreeTotals {
    Totals totals{};                   ///< of a cancelled walk: so far
    bool isStarted = false;            ///< false if the walk was cancelled before it came to this tree
    std::optional<FileError> error{};  ///< (operation "list") if the root is a link, no folder, or cannot be listed
  };

  struct Options {
    HiddenItems hidden = HiddenItems::include;  ///< for a walk of one tree; see `Tree`
    unsigned threads = 0;                       ///< 0: as many as pay on this machine
    Cancellation cancellation = Cancellation::never();
    /// Called on the calling thread with the totals of all trees so far, at most once per `interval`; may be empty.
    std::function<void(const Totals&)> onProgress = {};
    std::chrono::milliseconds interval = kProgressInterval;
    /// Is told what the walk counts; null for nobody. Costs one lookup per folder, to detect packages.
    FolderObserver* observer = nullptr;
    FolderObserver::Folder observedRoot = 0;  ///< for a walk of one tree; see `Tree`
    /// Gets the names of counted files that have several. Null for nobody; else a file costs no further system call on
    /// Linux, and one on macOS.
    LinkedNames* linked = nullptr;
    /// Folders that were listed just now: they are counted, not opened. Null for none. Not used with an observer or
    /// with `linked`, which need more than is kept.
    const KeptListings* kept = nullptr;
  };

  /// The totals of each tree, in the order of the trees. The walk begins them in this order, and begins the next one as
  /// soon as a thread has nothing left to do in those before it.
  static std::vector<TreeTotals> totals(const FileManager& files, const std::vector<Tree>& trees,
                                        const Options& options);

  /// The totals of the tree below the folder `root`, whose items are judged by `attribution` starting from `rootStep`.
  /// Cancelled: the totals so far. Throws FileError (operation "list") when `root` is a link, no folder, or cannot be
  /// listed.
  static Totals totals(const FileManager& files, const FileURL& root, const Attribution& attribution,
                       const Attribution::Step& rootStep, const Options& options);

  /// The whole tree as one total.
  static ByteCounts total(const FileManager& files, const FileURL& root, const Options& options);
};

}  // namespace quarn

#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/FolderOpener.h"

namespace quarn {

/// The folders in which a walk of one or several trees still has something to open or to read: how they contain each
/// other, their names, and a bounded number of open descriptors. A folder whose descriptor was closed is reopened when
/// it is needed, by name from its nearest open ancestor; ".." is never used, because a folder that was moved meanwhile
/// would lead the walk out of its root. Safe from any thread; must outlive its uses.
///
/// Who owns what. This owns all folders (`folders_`, whose addresses never change) and their descriptors. A `Use` is
/// one count of `Folder::uses`. A folder is known while it has a use or a known folder in it; then it goes to `free_`
/// and is used again.
///
/// States of a known folder: open (in `open_`, `kClosed` not set) and closed. It is pinned while threads read through
/// its descriptor: each adds itself to `pins`. Only an open folder without pins may be closed. A thread that pins a
/// closed folder reopens it under the lock. The root of a tree stays open as long as it is known.
///
/// Locks. `mutex_` guards everything but `pins` and the descriptor of a pinned folder. Pinning an open folder takes no
/// lock: adding to `pins` keeps it open, because closing exchanges `pins` from exactly 0. No other lock is taken under
/// `mutex_`. Reopening, and making room for a descriptor, make system calls under it, which is rare; descriptors that
/// are given up elsewhere are closed after it. A thread waits for nothing but the lock.
///
/// Memory: a folder costs about 110 bytes and its name while it is known; at most `kMaximumOpen` descriptors are open
/// besides those that are pinned and the roots of trees that are not done.
class WalkedFolders {
 private:
  struct Folder;

 public:
  /// Descriptors held at one time, those in use by a thread at that moment aside.
  static constexpr std::size_t kMaximumOpen = 64;

  /// A right to open and read items in one folder, which stays known as long as some use of it or of a folder in it
  /// lives.
  class Use {
   public:
    Use(Use&& other) noexcept : folders_(std::exchange(other.folders_, nullptr)), folder_(other.folder_) {}
    Use& operator=(Use&& other) noexcept;
    ~Use();

    /// Another use of the same folder.
    [[nodiscard]] Use duplicate() const;
    /// Opens the folder `name` in it. A folder that cannot be reached again gives the errno of the folder that failed.
    [[nodiscard]] OpenedFolder open(const char* name) const;
    /// Takes over the open folder `name` in it; never fails. A folder that is not open is opened when it is needed.
    [[nodiscard]] Use add(std::string_view name, FileDescriptor folder) const;
    /// The names from its root down to it, each behind a "/"; empty for a root.
    [[nodiscard]] std::string path() const;

   private:
    friend class WalkedFolders;
    friend class PinnedFolder;
    Use(WalkedFolders& folders, Folder& folder) : folders_(&folders), folder_(&folder) {}

    WalkedFolders* folders_;
    Folder* folder_;
  };

  explicit WalkedFolders(AccessTimes accessTimes = AccessTimes::keepIfPermitted) : accessTimes_(accessTimes) {}

  /// Takes over the open root of a tree. Folders of a tree are on the device of its root.
  [[nodiscard]] Use addRoot(FileDescriptor root);
  /// Gives a descriptor back to the process. False if all that are open are in use.
  bool makeRoom();

 private:
  friend class PinnedFolder;

  // While `pins` holds this bit the descriptor is closed; else it stays open as long as a thread has added itself.
  static constexpr std::uint32_t kClosed = std::uint32_t{1} << 31;

  struct Folder {
    std::atomic<std::uint32_t> pins = kClosed;
    FileDescriptor descriptor;
    Folder* parent = nullptr;              // of a root: null
    const FolderOpener* opener = nullptr;  // of its tree
    std::string name;
    std::uint32_t depth = 0;
    std::uint32_t uses = 0;
    std::uint32_t children = 0;  // known folders in it
  };

  // These return the descriptor that they give up, so that the caller closes it after releasing the lock.
  [[nodiscard]] FileDescriptor keepOpen(Folder& folder, FileDescriptor descriptor);
  [[nodiscard]] FileDescriptor closeOne();
  [[nodiscard]] FileDescriptor close(Folder& folder);
  [[nodiscard]] FileDescriptor release(Folder& folder);

  Folder& unused();
  Folder& insert(Folder& parent, std::string_view name);
  void forget(Folder* folder);
  // The descriptor, with the calling thread added; negative and errno when it cannot be opened again.
  int pin(Folder& folder);
  bool reopen(Folder& folder);
  OpenedFolder openMakingRoom(const FolderOpener& opener, int parent, const char* name);

  const AccessTimes accessTimes_;
  std::mutex mutex_;
  std::deque<Folder> folders_;
  std::deque<FolderOpener> openers_;  // one for each tree; their addresses never change
  Folder* free_ = nullptr;            // forgotten folders, linked by `parent`
  // Without the roots. In the order of opening, so that ancestors come first.
  std::vector<Folder*> open_;
};

/// A folder's descriptor, open for as long as this lives; for the work of one thread.
class PinnedFolder {
 public:
  explicit PinnedFolder(const WalkedFolders::Use& use);
  PinnedFolder(const PinnedFolder&) = delete;
  PinnedFolder& operator=(const PinnedFolder&) = delete;
  ~PinnedFolder();

  /// Negative when the folder could not be opened again; `error()` says why.
  [[nodiscard]] int descriptor() const { return descriptor_; }
  [[nodiscard]] int error() const { return error_; }

 private:
  WalkedFolders::Folder& folder_;
  int descriptor_;
  int error_;
};

}  // namespace quarn

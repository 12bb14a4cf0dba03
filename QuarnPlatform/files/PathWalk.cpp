#include "QuarnPlatform/files/PathWalk.h"

#include <cerrno>
#include <deque>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/FolderOpener.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

// macOS reports a loop after as many expansions.
constexpr int kMaximumLinkExpansions = 33;
constexpr std::size_t kLongestLink = 4096;

// Device and inode.
using Identity = std::pair<dev_t, ino_t>;

Identity identityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

int lookUp(int folder, const std::string& name, struct stat& status) {
  return againIfInterrupted([&] { return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW); });
}

std::optional<std::string> linkTarget(int folder, const std::string& name) {
  std::string target(kLongestLink, '\0');
  const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
  if (length == 0) errno = ENOENT;
  if (length <= 0) return std::nullopt;
  target.resize(static_cast<std::size_t>(length));
  return target;
}

class PathWalk {
 public:
  PathWalk(int root, std::string_view path, Links links) : root_(root), links_(links) {
    putFirst(path);
    toRoot();
  }

  std::optional<WalkedPlace> run() {
    while (!pending_.empty()) {
      const std::string name = std::move(pending_.front());
      pending_.pop_front();
      if (!enterItem() || !step(name)) return std::nullopt;
    }
    return end();
  }

 private:
  void putFirst(std::string_view path) {
    const std::vector<std::string_view> names = path::names(path);
    for (auto name = names.rbegin(); name != names.rend(); ++name) pending_.emplace_front(*name);
    // "a/" and "a/." require a folder.
    if (!names.empty() && path.ends_with('/')) pending_.insert(pending_.begin() + std::ssize(names), ".");
  }

  void toRoot() {
    inside_ = openForSearch(root_, ".");
    identities_.clear();
    folder_.reset();
    names_.clear();
  }

  // Every next name requires a folder, "." too.
  bool enterItem() {
    if (!inside_.isOpen() && folder_.isOpen()) inside_ = openForSearch(folder_.get(), names_.back().c_str());
    return inside_.isOpen();
  }

  bool step(const std::string& name) {
    if (name == ".") return true;
    if (name == "..") return toParent();
    struct stat status {};
    if (lookUp(inside_.get(), name, status) != 0) return false;
    const bool isLast = pending_.empty();
    if (S_ISLNK(status.st_mode) && (!isLast || links_ == Links::follow)) return expand(name);
    folder_ = std::move(inside_);
    names_.push_back(name);
    identities_.push_back(identityOf(status));
    return true;
  }

  // The root is its own parent; the system is never asked for what lies above it. A folder that was moved meanwhile has
  // another parent than the one that the walk came through, which may lie outside the root: the walk ends there.
  bool toParent() {
    if (names_.empty()) return true;
    names_.pop_back();
    identities_.pop_back();
    wentUp_ = true;
    folder_.reset();
    inside_ = openForSearch(names_.empty() ? root_ : inside_.get(), names_.empty() ? "." : "..");
    struct stat status {};
    if (!inside_.isOpen() || ::fstat(inside_.get(), &status) != 0) return false;
    return names_.empty() || identityOf(status) == identities_.back() || fails(ENOENT);
  }

  bool expand(const std::string& link) {
    const std::optional<std::string> target = linkTarget(inside_.get(), link);
    if (!target) return false;
    if (++expansions_ > kMaximumLinkExpansions) return fails(ELOOP);
    if (target->starts_with('/')) toRoot();
    putFirst(*target);
    return true;
  }

  // If a folder was renamed during the walk, ".." could have left the root. So a walk that went up checks its path
  // again from the root.
  std::optional<WalkedPlace> end() {
    if (wentUp_ || !folder_.isOpen()) folder_ = wayDown();
    if (!folder_.isOpen()) return std::nullopt;
    return WalkedPlace{std::move(folder_), std::move(names_)};
  }

  FileDescriptor wayDown() {
    FileDescriptor folder = openForSearch(root_, ".");
    for (std::size_t i = 0; i + 1 < names_.size() && folder.isOpen(); ++i)
      folder = openForSearch(folder.get(), names_[i].c_str());
    return folder;
  }

  static bool fails(int error) {
    errno = error;
    return false;
  }

  int root_;
  Links links_;
  std::deque<std::string> pending_;
  std::vector<std::string> names_;    // the path of the current item
  std::vector<Identity> identities_;  // of the items that the names lead to
  FileDescriptor folder_;             // the parent of the current item, if known
  FileDescriptor inside_;             // the current item, once it is known to be a folder
  int expansions_ = 0;
  bool wentUp_ = false;
};

}  // namespace

std::optional<WalkedPlace> walkBelow(int root, std::string_view path, Links links) {
  return PathWalk(root, path, links).run();
}

}  // namespace quarn

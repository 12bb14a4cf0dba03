#include <cerrno>
#include <deque>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/files/PathWalk.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

// As many expansions as macOS makes before it calls a chain of links a loop.
constexpr int kMaximumLinkExpansions = 33;
constexpr int kLookOnly = O_PATH | O_NOFOLLOW | O_CLOEXEC;

// Device and inode.
using Identity = std::pair<dev_t, ino_t>;

Identity identityOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

bool isFolder(int item) {
  struct stat status {};
  return ::fstat(item, &status) == 0 && S_ISDIR(status.st_mode);
}

std::optional<std::string> linkTarget(int link) {
  std::string target(4096, '\0');
  const ssize_t length = ::readlinkat(link, "", target.data(), target.size());
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
      if (!step(name)) return std::nullopt;
    }
    if (!item_.isOpen()) return std::nullopt;
    return end();
  }

 private:
  void putFirst(std::string_view path) {
    const std::vector<std::string_view> names = path::names(path);
    for (auto name = names.rbegin(); name != names.rend(); ++name) pending_.emplace_front(*name);
    // "a/" and "a/." ask for a folder.
    if (!names.empty() && path.ends_with('/')) pending_.insert(pending_.begin() + std::ssize(names), ".");
  }

  void toRoot() {
    item_ = open(root_, ".");
    names_.clear();
    identities_.clear();
    folder_.reset();
  }

  static FileDescriptor open(int folder, const char* name) {
    return FileDescriptor(againIfInterrupted([&] { return ::openat(folder, name, kLookOnly); }));
  }

  bool step(const std::string& name) {
    if (name == "." || name == "..") {
      if (!isFolder(item_.get())) return fails(ENOTDIR);
      return name == "." || toParent();
    }
    FileDescriptor next = open(item_.get(), name.c_str());
    struct stat status {};
    if (!next.isOpen() || ::fstat(next.get(), &status) != 0) return false;
    const bool isLast = pending_.empty();
    if (S_ISLNK(status.st_mode) && (!isLast || links_ == Links::follow)) return expand(next.get());
    folder_ = std::exchange(item_, std::move(next));
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
    item_ = names_.empty() ? open(root_, ".") : open(item_.get(), "..");
    struct stat status {};
    if (!item_.isOpen() || ::fstat(item_.get(), &status) != 0) return false;
    return names_.empty() || identityOf(status) == identities_.back() || fails(ENOENT);
  }

  bool expand(int link) {
    const std::optional<std::string> target = linkTarget(link);
    if (!target) return false;
    if (++expansions_ > kMaximumLinkExpansions) return fails(ELOOP);
    if (target->starts_with('/')) toRoot();
    putFirst(*target);
    return true;
  }

  // A folder renamed during the walk could have taken ".." out of the root, so a walk that went up proves its way
  // again.
  std::optional<WalkedPlace> end() {
    if (wentUp_ || !folder_.isOpen()) folder_ = wayDown();
    if (!folder_.isOpen()) return std::nullopt;
    return WalkedPlace{std::move(folder_), std::move(names_)};
  }

  FileDescriptor wayDown() {
    FileDescriptor folder = open(root_, ".");
    for (std::size_t i = 0; i + 1 < names_.size() && folder.isOpen(); ++i)
      folder = open(folder.get(), names_[i].c_str());
    return folder;
  }

  static bool fails(int error) {
    errno = error;
    return false;
  }

  int root_;
  Links links_;
  std::deque<std::string> pending_;
  std::vector<std::string> names_;    // of `item_`
  std::vector<Identity> identities_;  // of the items that the names lead to
  FileDescriptor item_;
  FileDescriptor folder_;  // that holds `item_`, when it is known
  int expansions_ = 0;
  bool wentUp_ = false;
};

}  // namespace

std::optional<WalkedPlace> walkBelow(int root, std::string_view path, Links links) {
  return PathWalk(root, path, links).run();
}

}  // namespace quarn

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <random>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/files/PathWalk.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::path_walk_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PathWalk : public ::testing::Test {
 protected:
  PathWalk() {
    volume_.text("/a/file", "in a").folder("/a/b").text("/a/b/file", "in b").link("/a/up", "..").link("/a/here", ".");
    volume_.link("/a/b/root", "/").link("/a/b/out", "../../../../../etc/passwd").link("/a/b/absolute", "/a/file");
    volume_.link("/a/loop", "loop")
        .link("/a/dangling", "none")
        .link("/a/slash", "file/")
        .link("/a/long", "b/../b/./root/a/b");
    root_ = FileDescriptor(::open(volume_.root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  }

  [[nodiscard]] std::optional<WalkedPlace> walk(const std::string& path, Links links = Links::follow) const {
    return walkBelow(root_.get(), path, links);
  }

  // The device and inode of the item where the walk ended, or the errno.
  [[nodiscard]] std::string itemAt(const std::string& path, Links links) const {
    const std::optional<WalkedPlace> place = walk(path, links);
    if (!place) return "error " + std::to_string(errno);
    struct stat status {};
    const char* name = place->names.empty() ? "." : place->names.back().c_str();
    if (::fstatat(place->folder.get(), name, &status, AT_SYMLINK_NOFOLLOW) != 0) return "vanished";
    return std::to_string(status.st_dev) + " " + std::to_string(status.st_ino);
  }

  // The result of the kernel's own lookup inside the root.
  [[nodiscard]] std::string itemBySystem(const std::string& path, Links links) const {
    try {
      const ItemFacts facts = volume_.files().requireFacts(FileURL(path), links);
      return std::to_string(facts.device) + " " + std::to_string(facts.inode);
    } catch (const FileError& error) {
      return "error " + std::to_string(error.error());
    }
  }

  MacVolume volume_;
  FileDescriptor root_;
};

TEST_F(PathWalk, TheNamesAreThoseWithoutLinks) {
  EXPECT_THAT(walk("/a/b/absolute")->names, ElementsAre("a", "file"));
  EXPECT_THAT(walk("/a/b/absolute", Links::doNotFollow)->names, ElementsAre("a", "b", "absolute"));
  EXPECT_THAT(walk("/a/long/file")->names, ElementsAre("a", "b", "file"));
  EXPECT_THAT(walk("/a/b/root")->names, IsEmpty());
  EXPECT_THAT(walk("/")->names, IsEmpty());
  EXPECT_THAT(walk("/a/here/here/b/..")->names, ElementsAre("a"));
  EXPECT_THAT(walk("/../../a")->names, ElementsAre("a"));
}

TEST_F(PathWalk, TheCauseOfAFailureIsInErrno) {
  struct Row {
    const char* path;
    int error;
  };
  // clang-format off
  constexpr std::array<Row, 7> kRows{{
      {"/none", ENOENT}, {"/a/none/b", ENOENT}, {"/a/dangling", ENOENT}, {"/a/file/b", ENOTDIR},
      {"/a/file/..", ENOTDIR}, {"/a/slash", ENOTDIR}, {"/a/loop", ELOOP},
  }};
  // clang-format on
  for (const Row& row : kRows) {
    EXPECT_FALSE(walk(row.path)) << row.path;
    EXPECT_EQ(errno, row.error) << row.path;
  }
}

TEST_F(PathWalk, AFolderThatMayNotBeSearchedEndsIt) {
  volume_.mode("/a", 0644);
  const UnprivilegedUser user;
  EXPECT_FALSE(walk("/a/b"));
  EXPECT_EQ(errno, EACCES);
}

TEST_F(PathWalk, AFolderThatMayBeSearchedAndNotListedIsWalkedThrough) {
  volume_.mode("/a", 0111);
  const UnprivilegedUser user;
  EXPECT_TRUE(walk("/a/b/file"));
  EXPECT_TRUE(volume_.files().itemExists(FileURL("/a/b/absolute")));
}

// Random paths in a tree full of links: the walk and the kernel's lookup inside the root have the same results.
TEST_F(PathWalk, AgreesWithTheSystemOnEveryPath) {
  const std::vector<std::string> names{"a",  "b",    "file", "up",    "here", "root", "out", "absolute",
                                       "..", "loop", ".",    "slash", "none", "long", "a",   "b"};
  std::mt19937 random(20'261'120);
  for (int round = 0; round < 4'000; ++round) {
    std::string path;
    const unsigned length = random() % 8 + 1;
    for (unsigned i = 0; i < length; ++i) path += "/" + names[random() % names.size()];
    for (const Links links : {Links::follow, Links::doNotFollow}) {
      EXPECT_EQ(itemAt(path, links), itemBySystem(path, links)) << path;
    }
  }
}

// A folder moves out of the root and back while the walk takes its "..". Outside, a link waits that leads back in: the
// walk would end at the link's target if it ever looked beside the folder that was moved.
TEST_F(PathWalk, AFolderThatIsMovedOutWhileItsParentIsTakenLeadsNowhere) {
  MacVolume outside;
  outside.link("/waiting", "/a/file");
  const std::string inside = volume_.host("/a/b");
  const std::string away = outside.host("/b");
  std::atomic<bool> isOver = false;
  std::thread mover([&] {
    while (!isOver) {
      std::rename(inside.c_str(), away.c_str());
      std::rename(away.c_str(), inside.c_str());
    }
  });
  int escapes = 0;
  for (int i = 0; i < 60'000; ++i) escapes += walk("/a/b/../waiting") ? 1 : 0;
  isOver = true;
  mover.join();
  EXPECT_EQ(escapes, 0);
}

}  // namespace
}  // namespace quarn::path_walk_tests

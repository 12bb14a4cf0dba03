#include <cerrno>
#include <optional>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "QuarnPlatform/walking/WalkedFolders.h"
#include "tests/support/Descriptors.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn::walked_folders_tests {
namespace {

FileDescriptor openFolder(const MacVolume& volume, std::string_view path) {
  return FileDescriptor(::open(volume.host(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

WalkedFolders::Use enter(const WalkedFolders::Use& parent, const char* name) {
  OpenedFolder opened = parent.open(name);
  EXPECT_TRUE(opened.descriptor.isOpen()) << opened.error;
  return parent.add(name, std::move(opened.descriptor));
}

// The folders "d" in each other down from the root, all of them in use.
std::vector<WalkedFolders::Use> enterChain(const WalkedFolders::Use& root, int depth) {
  std::vector<WalkedFolders::Use> chain;
  chain.push_back(root.duplicate());
  for (int level = 0; level < depth; ++level) chain.push_back(enter(chain.back(), "d"));
  return chain;
}

/// With fewer descriptors than a walk may hold, other folders are closed than these tests expect.
bool hasFewDescriptors() {
  rlimit limit{};
  return ::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur < 2 * WalkedFolders::kMaximumOpen;
}

bool canOpen(const WalkedFolders::Use& use, const std::string& name) {
  return use.open(name.c_str()).descriptor.isOpen();
}

TEST(WalkedFolders, AFolderKnowsItsPathBelowTheRoot) {
  MacVolume volume;
  volume.folder("/t/a/b");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  const WalkedFolders::Use a = enter(root, "a");
  EXPECT_EQ(root.path(), "");
  EXPECT_EQ(a.path(), "/a");
  EXPECT_EQ(enter(a, "b").path(), "/a/b");
}

TEST(WalkedFolders, APathOutlivesTheUsesOfTheFoldersAboveIt) {
  MacVolume volume;
  volume.folder("/t/a/b/c");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  std::optional<WalkedFolders::Use> use = root.duplicate();
  for (const char* name : {"a", "b", "c"}) use = enter(*use, name);
  EXPECT_EQ(use->path(), "/a/b/c");
}

TEST(WalkedFolders, AFolderThatCannotBeOpenedReturnsItsError) {
  MacVolume volume;
  volume.folder("/t").link("/t/link", "/");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  EXPECT_EQ(root.open("missing").error, ENOENT);
  EXPECT_FALSE(root.open("link").descriptor.isOpen());
}

TEST(WalkedFolders, DescriptorsAreBoundedAndClosedFoldersAreReachedAgain) {
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 500;
  volume.chain("/t", kDepth);
  const std::size_t before = openDescriptors();
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  const std::vector<WalkedFolders::Use> chain = enterChain(root, kDepth);
  EXPECT_LE(openDescriptors(), before + WalkedFolders::kMaximumOpen + 2);
  for (int level = kDepth - 1; level >= 0; --level) {
    ASSERT_TRUE(canOpen(chain[static_cast<std::size_t>(level)], "d")) << level;
  }
  EXPECT_LE(openDescriptors(), before + WalkedFolders::kMaximumOpen + 2);
  for (int level = 0; level < kDepth; level += 37) {
    ASSERT_TRUE(canOpen(chain[static_cast<std::size_t>(level)], "d")) << level;
  }
}

TEST(WalkedFolders, AFolderThatNobodyUsesAnyMoreIsClosed) {
  MacVolume volume;
  volume.folder("/t/a/b");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  const std::size_t before = openDescriptors();
  {
    std::optional<WalkedFolders::Use> a = enter(root, "a");
    const WalkedFolders::Use b = enter(*a, "b");
    const WalkedFolders::Use again = b.duplicate();
    EXPECT_EQ(openDescriptors(), before + 2);
    a.reset();
    EXPECT_EQ(openDescriptors(), before + 1);
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST(WalkedFolders, OneOfSeveralUsesKeepsTheFolder) {
  MacVolume volume;
  volume.folder("/t/a/b");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  std::optional<WalkedFolders::Use> first = enter(root, "a");
  const WalkedFolders::Use second = first->duplicate();
  first.reset();
  EXPECT_TRUE(canOpen(second, "b"));
  EXPECT_EQ(second.path(), "/a");
}

TEST(WalkedFolders, ARootStaysOpenWhileAFolderOfItsTreeIsUsed) {
  MacVolume volume;
  volume.folder("/t/a/b").folder("/u/c");
  WalkedFolders folders;
  const std::size_t before = openDescriptors();
  std::optional<WalkedFolders::Use> root = folders.addRoot(openFolder(volume, "/t"));
  std::optional<WalkedFolders::Use> a = enter(*root, "a");
  root.reset();
  EXPECT_EQ(openDescriptors(), before + 2) << "the root and the folder";
  EXPECT_TRUE(canOpen(*a, "b"));
  a.reset();
  EXPECT_EQ(openDescriptors(), before);
  const WalkedFolders::Use other = folders.addRoot(openFolder(volume, "/u"));
  EXPECT_EQ(other.path(), "");
  EXPECT_EQ(enter(other, "c").path(), "/c");
}

TEST(WalkedFolders, FoldersOfSeveralTreesAreReachedFromTheirOwnRoots) {
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 2 * static_cast<int>(WalkedFolders::kMaximumOpen);
  volume.chain("/t", kDepth).chain("/u", kDepth).folder("/u/mine");
  WalkedFolders folders;
  const WalkedFolders::Use first = folders.addRoot(openFolder(volume, "/t"));
  const WalkedFolders::Use second = folders.addRoot(openFolder(volume, "/u"));
  const std::size_t before = openDescriptors();
  const std::vector<WalkedFolders::Use> firstChain = enterChain(first, kDepth);
  const std::vector<WalkedFolders::Use> secondChain = enterChain(second, kDepth);
  EXPECT_LE(openDescriptors(), before + WalkedFolders::kMaximumOpen);
  for (int level = 0; level < kDepth; ++level) {
    ASSERT_TRUE(canOpen(firstChain[static_cast<std::size_t>(level)], "d")) << level;
    ASSERT_TRUE(canOpen(secondChain[static_cast<std::size_t>(level)], "d")) << level;
  }
  EXPECT_FALSE(canOpen(first, "mine"));
  EXPECT_TRUE(canOpen(second, "mine"));
}

// Where the system cannot check the device, its number is compared with that of the root.
TEST(WalkedFolders, EachOfSeveralTreesHasADeviceOfItsOwn) {
  MacVolume volume = volumeInMemory();
  volume.folder("/usr/bin/a");
  WalkedFolders folders;
  const WalkedFolders::Use ofThisSystem = folders.addRoot(FileDescriptor(::open("/", O_RDONLY | O_DIRECTORY)));
  const WalkedFolders::Use inMemory = folders.addRoot(openFolder(volume, "/"));
  for (const WalkedFolders::Use* root : {&ofThisSystem, &inMemory}) {
    EXPECT_TRUE(canOpen(enter(*root, "usr"), "bin"));
  }
}

TEST(WalkedFolders, MakingRoomClosesAFolderThatNoThreadReadsAndNeverARoot) {
  MacVolume volume;
  volume.folder("/t/a/b");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  EXPECT_FALSE(folders.makeRoom());
  const WalkedFolders::Use a = enter(root, "a");
  const std::size_t before = openDescriptors();
  {
    const PinnedFolder pinned(a);
    EXPECT_FALSE(folders.makeRoom());
  }
  EXPECT_TRUE(folders.makeRoom());
  EXPECT_EQ(openDescriptors(), before - 1);
  EXPECT_TRUE(canOpen(a, "b"));
}

TEST(WalkedFolders, ADeepChainIsLetGoWithoutExhaustingTheStack) {
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 20'000;
  volume.chain("/t", kDepth);
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  std::optional<WalkedFolders::Use> use = root.duplicate();
  for (int level = 0; level < kDepth; ++level) use = enter(*use, "d");
  EXPECT_EQ(use->path().size(), 2U * kDepth);
  use.reset();
  EXPECT_TRUE(canOpen(root, "d"));
}

TEST(WalkedFolders, AFolderThatWasReplacedByALinkIsNotFollowedWhenItIsOpenedAgain) {
  if (hasFewDescriptors()) GTEST_SKIP() << "a walk may hold more descriptors than this process";
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 300;
  volume.chain("/t", kDepth).folder("/outside/d");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  const std::vector<WalkedFolders::Use> chain = enterChain(root, kDepth);
  // Everything but the folders nearest to the root is closed or lies below one that is; then the first one is swapped.
  ASSERT_EQ(::rename(volume.host("/t/d").c_str(), volume.host("/moved").c_str()), 0);
  volume.link("/t/d", "/outside");
  for (const WalkedFolders::Use& use : chain) {
    const PinnedFolder folder(use);
    if (folder.descriptor() < 0) continue;
    struct stat inside {};
    struct stat outside {};
    ASSERT_EQ(::fstat(folder.descriptor(), &inside), 0);
    ASSERT_EQ(::stat(volume.host("/outside").c_str(), &outside), 0);
    EXPECT_NE(inside.st_ino, outside.st_ino);
    ASSERT_EQ(::stat(volume.host("/outside/d").c_str(), &outside), 0);
    EXPECT_NE(inside.st_ino, outside.st_ino);
  }
}

TEST(WalkedFolders, AFolderThatIsGoneWhenItIsOpenedAgainGivesAnErrorAndTheOthersGoOn) {
  if (hasFewDescriptors()) GTEST_SKIP() << "a walk may hold more descriptors than this process";
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 300;
  volume.chain("/t", kDepth).folder("/t/other");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  const std::vector<WalkedFolders::Use> chain = enterChain(root, kDepth);
  volume.remove("/t/d");
  int gone = 0;
  for (const WalkedFolders::Use& use : chain) {
    const PinnedFolder folder(use);
    if (folder.descriptor() >= 0) continue;
    EXPECT_EQ(folder.error(), ENOENT);
    EXPECT_EQ(use.open("d").error, ENOENT);
    ++gone;
  }
  EXPECT_GT(gone, kDepth / 2);
  EXPECT_TRUE(canOpen(root, "other"));
}

TEST(WalkedFolders, WhenTheSystemHasNoDescriptorLeftAnotherFoldersIsGivenUp) {
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 200;
  volume.chain("/t", kDepth);
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  const DescriptorLimit limit(10);
  const std::vector<WalkedFolders::Use> chain = enterChain(root, kDepth);
  for (int level = kDepth - 1; level >= 0; --level) {
    ASSERT_TRUE(canOpen(chain[static_cast<std::size_t>(level)], "d")) << level;
  }
}

TEST(WalkedFolders, APinnedFolderStaysOpenWhateverElseIsOpened) {
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 300;
  volume.chain("/t", kDepth).file("/t/d/here");
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  const WalkedFolders::Use first = enter(root, "d");
  const PinnedFolder pinned(first);
  std::vector<WalkedFolders::Use> chain;
  chain.push_back(first.duplicate());
  for (int level = 1; level < kDepth; ++level) chain.push_back(enter(chain.back(), "d"));
  struct stat status {};
  EXPECT_EQ(::fstatat(pinned.descriptor(), "here", &status, 0), 0);
}

TEST(WalkedFolders, ManyThreadsMayOpenAndLetGo) {
  MacVolume volume = volumeInMemory();
  constexpr int kDepth = 200;
  volume.chain("/t", kDepth);
  WalkedFolders folders;
  const WalkedFolders::Use root = folders.addRoot(openFolder(volume, "/t"));
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      std::vector<WalkedFolders::Use> chain;
      chain.push_back(root.duplicate());
      for (int level = 0; level < kDepth; ++level) {
        OpenedFolder opened = chain.back().open("d");
        if (opened.descriptor.isOpen()) chain.push_back(chain.back().add("d", std::move(opened.descriptor)));
      }
      EXPECT_EQ(chain.size(), static_cast<std::size_t>(kDepth) + 1);
      while (chain.size() > 1) {
        EXPECT_GE(PinnedFolder(chain.back()).descriptor(), 0);
        chain.pop_back();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace quarn::walked_folders_tests

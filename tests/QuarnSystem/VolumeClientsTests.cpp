#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnSystem/VolumeClients.h"
#include "tests/support/MacVolume.h"

namespace quarn::volume_clients_tests {
namespace {

VolumeInfo infoOf(const MacVolume& volume) { return VolumeInfoClient::live(volume.files()).systemVolume(); }

bool isExternal(const MacVolume& volume, std::string_view path) {
  return VolumeLocationChecker::live(volume.files()).isExternal(FileURL(path));
}

TEST(VolumeInfoClient, TheVolumeIsNamedByItsLinkInVolumes) {
  MacVolume volume;
  volume.folder("/Volumes/Backup")
      .link("/Volumes/Elsewhere", "/Users")
      .link("/Volumes/Gone", "/nowhere")
      .link("/Volumes/Ann's Mac", "/");
  EXPECT_EQ(infoOf(volume).name, "Ann's Mac");
  EXPECT_EQ(infoOf(volume).url.string(), "file:///");
}

TEST(VolumeInfoClient, AFolderInVolumesIsNotTheSystemVolume) {
  MacVolume volume;
  volume.folder("/Volumes/Macintosh HD");
  EXPECT_EQ(infoOf(volume).name, std::string(path::lastComponent(volume.root())));
}

TEST(VolumeInfoClient, WithoutThatLinkAMountedVolumeIsNamedByItsHostFolder) {
  MacVolume volume;
  volume.folder("/copy of my mac");
  const FileManager files = FileManager::mounted(volume.host("/copy of my mac") + "/", FileURL("/Users/ann"));
  EXPECT_EQ(VolumeInfoClient::live(files).systemVolume().name, "copy of my mac");
}

TEST(VolumeInfoClient, AHostFolderWithoutANameGetsTheDefaultName) {
  MacVolume volume;
  volume.folder("/Users/ann");
  for (const char* unnamed : {"/.", "/Users/.."}) {
    const FileManager files = FileManager::mounted(volume.root() + unnamed, FileURL("/Users/ann"));
    EXPECT_EQ(VolumeInfoClient::live(files).systemVolume().name, "Macintosh HD");
  }
}

TEST(VolumeInfoClient, TheSpaceIsThatOfTheFileSystem) {
  MacVolume volume;
  struct statvfs status {};
  ASSERT_EQ(::statvfs(volume.root().c_str(), &status), 0);
  const VolumeInfo info = infoOf(volume);
  EXPECT_EQ(info.totalBytes, static_cast<std::int64_t>(status.f_blocks * status.f_frsize));
  EXPECT_GT(info.freeBytes, 0);
  EXPECT_LE(info.freeBytes, info.totalBytes);
}

TEST(VolumeLocationChecker, ItemsBelowVolumesAreExternal) {
  MacVolume volume;
  volume.file("/Volumes/Backup/a/b").file("/Users/ann/a");
  EXPECT_TRUE(isExternal(volume, "/Volumes/Backup"));
  EXPECT_TRUE(isExternal(volume, "/Volumes/Backup/a/b"));
  EXPECT_TRUE(isExternal(volume, "/Volumes/Backup/missing"));
  EXPECT_TRUE(isExternal(volume, "/Volumes/Missing"));
  EXPECT_FALSE(isExternal(volume, "/Users/ann/a"));
  EXPECT_FALSE(isExternal(volume, "/Users/ann/missing"));
  EXPECT_FALSE(isExternal(volume, "/"));
}

TEST(VolumeLocationChecker, TheVolumesFolderAndSimilarNamesAreNotExternal) {
  MacVolume volume;
  volume.folder("/Volumes").folder("/Volumes2/x").folder("/Users/Volumes/x");
  EXPECT_FALSE(isExternal(volume, "/Volumes"));
  EXPECT_FALSE(isExternal(volume, "/Volumes/"));
  EXPECT_FALSE(isExternal(volume, "/Volumes2/x"));
  EXPECT_FALSE(isExternal(volume, "/Users/Volumes/x"));
}

TEST(VolumeLocationChecker, TheEntryOfTheSystemVolumeIsNotExternal) {
  MacVolume volume;
  volume.file("/Users/ann/a").folder("/Volumes").link("/Volumes/Macintosh HD", "/");
  EXPECT_FALSE(isExternal(volume, "/Volumes/Macintosh HD"));
  EXPECT_FALSE(isExternal(volume, "/Volumes/Macintosh HD/Users/ann/a"));
  EXPECT_FALSE(isExternal(volume, "/Volumes/Macintosh HD/missing"));
}

TEST(VolumeLocationChecker, ALinkIsResolved) {
  MacVolume volume;
  volume.folder("/Volumes/Games/Library")
      .folder("/Users/ann/Home")
      .link("/Users/ann/Games", "/Volumes/Games/Library")
      .link("/Volumes/Home", "/Users/ann/Home")
      .link("/Users/ann/Gone", "/Volumes/Gone/x");
  EXPECT_TRUE(isExternal(volume, "/Users/ann/Games"));
  EXPECT_FALSE(isExternal(volume, "/Volumes/Home"));
  EXPECT_FALSE(isExternal(volume, "/Users/ann/Gone"));
  EXPECT_TRUE(isExternal(volume, "/Users/../Volumes/Games"));
  EXPECT_FALSE(isExternal(volume, "/Volumes/Games/../../Users/ann"));
}

TEST(VolumeLocationChecker, ALinkThatLoopsInVolumesIsExternal) {
  MacVolume volume;
  volume.folder("/Volumes").link("/Volumes/Loop", "Loop");
  EXPECT_TRUE(isExternal(volume, "/Volumes/Loop/x"));
}

TEST(QuarantineManager, TheFolderIsInTheHomeFolderAndNeedNotExist) {
  MacVolume volume("/Users/bob");
  const FileURL folder = QuarantineManager::live(volume.files()).baseURL();
  EXPECT_EQ(folder.string(), "file:///Users/bob/Library/Application%20Support/Quarn/Quarantine/");
  EXPECT_FALSE(volume.files().itemExists(folder));
}

}  // namespace
}  // namespace quarn::volume_clients_tests

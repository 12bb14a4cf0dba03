#include <cerrno>
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "tests/support/FileErrors.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::file_manager_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> texts(const std::vector<DirectoryEntry>& entries) {
  std::vector<std::string> result;
  for (const DirectoryEntry& entry : entries) result.push_back(entry.url.string());
  return result;
}

TEST(FileManager, AMountedVolumeKnowsItsFolderAndItsHome) {
  const MacVolume volume;
  const FileManager files = FileManager::mounted(volume.root(), FileURL("/Users/ann"));
  EXPECT_EQ(files.hostFolder(), volume.root());
  EXPECT_EQ(files.homeDirectory().string(), "file:///Users/ann/");
}

TEST(FileManager, TheHomeOfAMountedVolumeNeedNotExist) {
  const MacVolume volume;
  const FileManager files = FileManager::mounted(volume.root(), FileURL("/Users/nobody"));
  EXPECT_EQ(files.homeDirectory().path(), "/Users/nobody");
  EXPECT_FALSE(files.itemExists(files.homeDirectory()));
}

TEST(FileManager, WithAnotherHomeItIsTheSameVolume) {
  MacVolume volume;
  volume.file("/Users/bob/a");
  const FileManager files = volume.files().withHome(FileURL("/Users/bob"));
  EXPECT_EQ(files.homeDirectory().string(), "file:///Users/bob/");
  EXPECT_TRUE(files.itemExists(FileURL("/Users/bob/a")));
  EXPECT_EQ(files.hostFolder(), volume.root());
}

TEST(FileManager, AVolumeThatIsNotAFolderIsRefusedWithItsHostPath) {
  MacVolume volume;
  volume.file("/file");
  try {
    (void)FileManager::mounted(volume.root() + "/missing", FileURL("/Users/ann"));
    FAIL() << "a missing folder was accepted";
  } catch (const FileError& error) {
    EXPECT_EQ(error.error(), ENOENT);
    EXPECT_EQ(error.operation(), "open volume");
    EXPECT_EQ(error.path(), volume.root() + "/missing");
    EXPECT_EQ(error.what(), "open volume " + volume.root() + "/missing: No such file or directory");
  }
  EXPECT_EQ(errorOf([&] { (void)FileManager::mounted(volume.root() + "/file", FileURL("/")); }), ENOTDIR);
}

TEST(FileManager, TheRunningSystemIsAVolume) {
  const FileManager files = FileManager::host();
  EXPECT_EQ(files.hostFolder(), "/");
  EXPECT_TRUE(files.itemExists(FileURL("/")));
}

TEST(FileManager, TheSpaceOfTheVolumeIsInBytes) {
  const MacVolume volume;
  const VolumeSpace space = volume.files().space();
  EXPECT_GT(space.totalBytes, 0);
  EXPECT_GE(space.freeBytes, 0);
  EXPECT_LE(space.freeBytes, space.totalBytes);
}

// Existence and facts.

TEST(FileManager, AnItemOfAnyTypeExistsAndLinksAreFollowed) {
  MacVolume volume;
  volume.file("~/file")
      .folder("~/folder")
      .fifo("~/pipe")
      .socket("~/socket")
      .link("~/link", "file")
      .link("~/far", "folder");
  for (const char* path : {"/", "~/file", "~/folder", "~/pipe", "~/socket", "~/link", "~/far"}) {
    EXPECT_TRUE(volume.files().itemExists(volume.url(path))) << path;
  }
}

TEST(FileManager, DanglingLinksDoNotExist) {
  MacVolume volume;
  volume.link("~/dangling", "missing").link("~/a", "b").link("~/b", "a").link("~/self", "self").file("~/file");
  for (const char* path :
       {"~/missing", "~/dangling", "~/a", "~/self", "~/self/x", "~/file/x", "~/file/.", "~/file/.."}) {
    EXPECT_FALSE(volume.files().itemExists(volume.url(path))) << path;
  }
}

TEST(FileManager, LetterCaseMattersOnACaseSensitiveHost) {
  MacVolume volume;
  volume.file("~/File");
  EXPECT_FALSE(volume.files().itemExists(volume.url("~/file")));
}

TEST(FileManager, AnItemsTypeIsItsOwnUnlessLinksAreFollowed) {
  struct Row {
    const char* path;
    FileType own;
    FileType followed;
  };
  // clang-format off
  constexpr std::array<Row, 6> kRows{{
      {"~/file",     FileType::regular,      FileType::regular},
      {"~/folder",   FileType::directory,    FileType::directory},
      {"~/pipe",     FileType::other,        FileType::other},
      {"~/socket",   FileType::other,        FileType::other},
      {"~/toFile",   FileType::symbolicLink, FileType::regular},
      {"~/toFolder", FileType::symbolicLink, FileType::directory},
  }};
  // clang-format on
  MacVolume volume;
  volume.file("~/file").folder("~/folder").fifo("~/pipe").socket("~/socket").link("~/toFile", "file");
  volume.link("~/toFolder", "folder");
  const FileManager files = volume.files();
  for (const Row& row : kRows) {
    EXPECT_EQ(files.requireFacts(volume.url(row.path), Links::doNotFollow).type, row.own) << row.path;
    EXPECT_EQ(files.requireFacts(volume.url(row.path), Links::follow).type, row.followed) << row.path;
    EXPECT_EQ(files.isDirectory(volume.url(row.path)), row.own == FileType::directory) << row.path;
  }
}

TEST(FileManager, OnlyRegularFilesHaveSizes) {
  MacVolume volume;
  volume.file("~/file", 3_KiB)
      .sparse("~/sparse", 1_MiB)
      .file("~/folder/a", 5_KiB)
      .link("~/link", "file")
      .fifo("~/pipe");
  const FileManager files = volume.files();
  const ByteCounts file = files.requireFacts(volume.url("~/file"), Links::doNotFollow).sizes;
  EXPECT_EQ(file.logicalBytes, 3072);
  EXPECT_GE(file.allocatedBytes, 3072);
  EXPECT_EQ(file.allocatedBytes % 512, 0);
  EXPECT_EQ(files.requireFacts(volume.url("~/sparse"), Links::follow).sizes, (ByteCounts{0, 1024 * 1024}));
  EXPECT_EQ(files.requireFacts(volume.url("~/link"), Links::follow).sizes, file);
  for (const char* path : {"~/folder", "~/link", "~/pipe"}) {
    EXPECT_EQ(files.requireFacts(volume.url(path), Links::doNotFollow).sizes, ByteCounts{}) << path;
  }
}

TEST(FileManager, TheModificationTimeIsThatOfTheContents) {
  constexpr std::int64_t kLongAgo = 1'000'000'000;
  MacVolume volume;
  volume.text("/file", "x").folder("/folder").link("/link", "file");
  // A later change of the mode sets the time of the last status change only.
  volume.modified("/file", kLongAgo).modified("/folder", kLongAgo + 1).mode("/file", 0600);
  EXPECT_EQ(volume.files().requireFacts(FileURL("/file"), Links::doNotFollow).modifiedSeconds, kLongAgo);
  EXPECT_EQ(volume.files().requireFacts(FileURL("/folder"), Links::doNotFollow).modifiedSeconds, kLongAgo + 1);
  EXPECT_EQ(volume.files().requireFacts(FileURL("/link"), Links::follow).modifiedSeconds, kLongAgo);
}

TEST(FileManager, HardLinksShareOneIdentity) {
  MacVolume volume;
  volume.file("~/a").hardLink("~/b", "~/a").file("~/c");
  const auto identity = [&](const char* path) {
    const ItemFacts facts = volume.files().requireFacts(volume.url(path), Links::doNotFollow);
    return std::pair(facts.device, facts.inode);
  };
  EXPECT_EQ(identity("~/a"), identity("~/b"));
  EXPECT_NE(identity("~/a"), identity("~/c"));
}

TEST(FileManager, FactsOfAMissingItemAreAbsentOrThrow) {
  MacVolume volume;
  volume.link("~/dangling", "missing");
  const FileManager files = volume.files();
  EXPECT_FALSE(files.facts(volume.url("~/missing"), Links::follow));
  EXPECT_FALSE(files.facts(volume.url("~/dangling"), Links::follow));
  EXPECT_TRUE(files.facts(volume.url("~/dangling"), Links::doNotFollow));
  try {
    (void)files.requireFacts(volume.url("~/missing"), Links::follow);
    FAIL() << "facts of a missing item";
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "stat /Users/ann/missing: No such file or directory");
    EXPECT_EQ(error.operation(), "stat");
    EXPECT_EQ(error.path(), "/Users/ann/missing");
  }
}

TEST(FileManager, AnExecutableIsARegularFileWithAnyExecuteBit) {
  MacVolume volume;
  volume.folder("~/folder").link("~/link", "u").link("~/toFolder", "folder").link("~/dangling", "missing");
  volume.file("~/u").mode("~/u", 0100).file("~/g").mode("~/g", 0010).file("~/o").mode("~/o", 0001).file("~/none");
  volume.fifo("~/pipe").mode("~/pipe", 0777);
  const FileManager files = volume.files();
  for (const char* path : {"~/u", "~/g", "~/o", "~/link"})
    EXPECT_TRUE(files.isExecutableFile(volume.url(path))) << path;
  for (const char* path : {"~/none", "~/folder", "~/toFolder", "~/dangling", "~/missing", "~/pipe"}) {
    EXPECT_FALSE(files.isExecutableFile(volume.url(path))) << path;
  }
}

TEST(FileManager, APackageIsAFolderByItsExtensionOrItsBundleBit) {
  MacVolume volume;
  volume.folder("~/A.app").folder("~/B.RTFD").folder("~/plain").file("~/file.app").link("~/link.app", "A.app");
  volume.folder("~/marked")
      .bundleBit("~/marked")
      .file("~/markedFile")
      .bundleBit("~/markedFile")
      .link("~/toMarked", "marked");
  const FileManager files = volume.files();
  for (const char* path : {"~/A.app", "~/B.RTFD", "~/marked"}) EXPECT_TRUE(files.isPackage(volume.url(path))) << path;
  for (const char* path : {"~/plain", "~/file.app", "~/link.app", "~/markedFile", "~/toMarked", "~/missing.app"}) {
    EXPECT_FALSE(files.isPackage(volume.url(path))) << path;
  }
}

TEST(FileManager, AURLIsMadeAFolderExactlyWhenTheItemItselfIsOne) {
  MacVolume volume;
  volume.folder("~/folder").file("~/file").link("~/link", "folder");
  const FileManager files = volume.files();
  EXPECT_EQ(files.url("/Users/ann/folder").string(), "file:///Users/ann/folder/");
  EXPECT_EQ(files.url("/Users/ann/file").string(), "file:///Users/ann/file");
  EXPECT_EQ(files.url("/Users/ann/link").string(), "file:///Users/ann/link");
  EXPECT_EQ(files.url("/Users/ann/missing").string(), "file:///Users/ann/missing");
  EXPECT_EQ(files.url(volume.url("~"), "folder").string(), "file:///Users/ann/folder/");
  EXPECT_EQ(files.url(volume.url("~"), "file").string(), "file:///Users/ann/file");
}

TEST(FileManager, ANameWithANulIsRefused) {
  MacVolume volume;
  volume.file("~/a").folder("~/f");
  const FileManager files = volume.files();
  const FileURL file(std::string("/Users/ann/a\0x", 14));
  const FileURL folder(std::string("/Users/ann/f\0x", 14));
  EXPECT_FALSE(files.itemExists(file));
  EXPECT_EQ(errorOf([&] { (void)files.readFile(file, 10); }), ENOENT);
  EXPECT_EQ(errorOf([&] { (void)files.contentsOfDirectory(folder, HiddenItems::include); }), ENOENT);
  EXPECT_EQ(files.resolvedPath(file), file.path());
}

// Listing.

TEST(FileManager, AListingIsInTheOrderOfTheNamesBytes) {
  MacVolume volume;
  volume.file("~/b")
      .file("~/B")
      .file("~/\u00E9")
      .file("~/e\u0301")
      .file("~/.z")
      .file("~/10")
      .file("~/9")
      .file("~/\xFF");
  EXPECT_THAT(texts(volume.files().contentsOfDirectory(volume.url("~"), HiddenItems::include)),
              ElementsAre("file:///Users/ann/.z", "file:///Users/ann/10", "file:///Users/ann/9", "file:///Users/ann/B",
                          "file:///Users/ann/b", "file:///Users/ann/e%CC%81", "file:///Users/ann/%C3%A9",
                          "file:///Users/ann/%FF"));
}

TEST(FileManager, AListingHasTheTypeOfEachItem) {
  MacVolume volume;
  volume.folder("~/a").file("~/b").link("~/c", "a").fifo("~/d");
  const std::vector<DirectoryEntry> entries = volume.files().contentsOfDirectory(volume.url("~"), HiddenItems::include);
  EXPECT_THAT(texts(entries),
              ElementsAre("file:///Users/ann/a/", "file:///Users/ann/b", "file:///Users/ann/c", "file:///Users/ann/d"));
  ASSERT_EQ(entries.size(), 4U);
  EXPECT_EQ(entries[0].type, FileType::directory);
  EXPECT_EQ(entries[1].type, FileType::regular);
  EXPECT_EQ(entries[2].type, FileType::symbolicLink);
  EXPECT_EQ(entries[3].type, FileType::other);
}

TEST(FileManager, AListingCanSkipHiddenItems) {
  MacVolume volume;
  volume.file("~/.hidden").folder("~/.folder").file("~/shown").file("~/..odd");
  EXPECT_THAT(texts(volume.files().contentsOfDirectory(volume.url("~"), HiddenItems::skip)),
              ElementsAre("file:///Users/ann/shown"));
}

TEST(FileManager, AnEmptyFolderListsNothing) {
  const MacVolume volume;
  EXPECT_THAT(volume.files().contentsOfDirectory(volume.url("~"), HiddenItems::include), IsEmpty());
}

TEST(FileManager, ALargeFolderIsListedWhole) {
  MacVolume volume;
  for (int i = 0; i < 3'000; ++i) volume.file("~/a-name-that-takes-some-room-" + std::to_string(10'000 + i));
  const std::vector<DirectoryEntry> entries = volume.files().contentsOfDirectory(volume.url("~"), HiddenItems::include);
  ASSERT_EQ(entries.size(), 3'000U);
  EXPECT_EQ(entries.front().url.lastPathComponent(), "a-name-that-takes-some-room-10000");
  EXPECT_EQ(entries.back().url.lastPathComponent(), "a-name-that-takes-some-room-12999");
}

TEST(FileManager, ALinkToAFolderListsThatFolderUnderTheLinksPath) {
  MacVolume volume;
  volume.file("/Library/Real/a").link("~/relative", "../../Library/Real").link("~/absolute", "/Library/Real");
  EXPECT_THAT(texts(volume.files().contentsOfDirectory(volume.url("~/relative"), HiddenItems::include)),
              ElementsAre("file:///Users/ann/relative/a"));
  EXPECT_THAT(texts(volume.files().contentsOfDirectory(volume.url("~/absolute"), HiddenItems::include)),
              ElementsAre("file:///Users/ann/absolute/a"));
}

TEST(FileManager, AListingOfAnItemThatIsNotAFolderThrows) {
  struct Row {
    const char* path;
    int error;
  };
  // clang-format off
  constexpr std::array<Row, 7> kRows{{
      {"~/missing",   ENOENT}, {"~/file", ENOTDIR}, {"~/file/x", ENOTDIR}, {"~/dangling", ENOENT},
      {"~/toFile",    ENOTDIR}, {"~/loop", ELOOP}, {"~/pipe", ENOTDIR},
  }};
  // clang-format on
  MacVolume volume;
  volume.file("~/file").link("~/dangling", "missing").link("~/toFile", "file").link("~/loop", "loop").fifo("~/pipe");
  for (const Row& row : kRows) {
    try {
      (void)volume.files().contentsOfDirectory(volume.url(row.path), HiddenItems::include);
      ADD_FAILURE() << "listed " << row.path;
    } catch (const FileError& error) {
      EXPECT_EQ(error.error(), row.error) << row.path;
      EXPECT_EQ(error.operation(), "list") << row.path;
      EXPECT_EQ(error.path(), volume.path(row.path));
    }
    EXPECT_THAT(volume.files().contentsOrNone(volume.url(row.path), HiddenItems::include), IsEmpty()) << row.path;
  }
}

TEST(FileManager, AFolderForAWalkIsOpenedThroughALinkOnlyOnRequest) {
  MacVolume volume;
  volume.folder("~/folder").link("~/link", "folder").file("~/file");
  const FileManager files = volume.files();
  EXPECT_TRUE(files.openDirectory(volume.url("~/link"), Links::follow).isOpen());
  EXPECT_TRUE(files.openDirectory(volume.url("~/folder"), Links::doNotFollow).isOpen());
  EXPECT_EQ(errorOf([&] { (void)files.openDirectory(volume.url("~/link"), Links::doNotFollow); }), ELOOP);
  EXPECT_EQ(errorOf([&] { (void)files.openDirectory(volume.url("~/file"), Links::doNotFollow); }), ENOTDIR);
  EXPECT_EQ(errorOf([&] { (void)files.openDirectory(volume.url("~/missing"), Links::doNotFollow); }), ENOENT);
}

TEST(FileManager, AMissingFolderIsNotReportedAsUnreadable) {
  MacVolume volume;
  volume.link("~/loop", "loop");
  const auto report = std::make_shared<ReadReport>();
  const FileManager files = volume.files().reportingTo(report);
  EXPECT_EQ(files.readReport(), report.get());
  (void)files.contentsOrNone(volume.url("~/missing"), HiddenItems::include);
  EXPECT_EQ(report->count(), 0U);
  (void)files.contentsOrNone(volume.url("~/loop"), HiddenItems::include);
  EXPECT_EQ(report->count(UnreadableCause::loop), 1U);
}

TEST(FileManager, ADenialIsReportedOnceWithTheItemThatRefused) {
  MacVolume volume;
  volume.folder("~/closed/inner").file("~/closed/inner/a").mode("~/closed", 0000);
  volume.file("~/secret", 10).mode("~/secret", 0000);
  const auto report = std::make_shared<ReadReport>();
  const FileManager files = volume.files().reportingTo(report);
  {
    const UnprivilegedUser user;
    EXPECT_FALSE(files.itemExists(volume.url("~/closed/inner/a")));
    EXPECT_FALSE(files.isDirectory(volume.url("~/closed/inner")));
    EXPECT_EQ(errorOf([&] { (void)files.openDirectory(volume.url("~/closed"), Links::follow); }), EACCES);
    EXPECT_EQ(errorOf([&] { (void)files.requireFacts(volume.url("~/closed/x"), Links::follow); }), EACCES);
    EXPECT_TRUE(files.itemExists(volume.url("~/secret")));
    EXPECT_FALSE(files.readFileIfPossible(volume.url("~/secret"), 100));
    EXPECT_FALSE(files.itemExists(volume.url("~/missing")));
  }
  const UnreadableItem closed{.path = "/Users/ann/closed", .cause = UnreadableCause::permission, .error = EACCES};
  const UnreadableItem secret{.path = "/Users/ann/secret", .cause = UnreadableCause::permission, .error = EACCES};
  EXPECT_THAT(report->items(), ElementsAre(closed, secret));
}

TEST(FileManager, AFolderWithoutPermissionIsReportedAndListsNothing) {
  MacVolume volume;
  volume.file("~/closed/a").mode("~/closed", 0000).file("~/dark/a").mode("~/dark", 0444);
  const auto report = std::make_shared<ReadReport>();
  const FileManager files = volume.files().reportingTo(report);
  const UnprivilegedUser user;
  EXPECT_EQ(errorOf([&] { (void)files.contentsOfDirectory(volume.url("~/closed"), HiddenItems::include); }), EACCES);
  EXPECT_THAT(files.contentsOrNone(volume.url("~/closed"), HiddenItems::include), IsEmpty());
  EXPECT_EQ(report->count(UnreadableCause::permission), 1U);
  ASSERT_EQ(report->items().size(), 1U);
  EXPECT_EQ(report->items()[0].path, "/Users/ann/closed");
  EXPECT_FALSE(files.itemExists(volume.url("~/closed/a")));
  EXPECT_FALSE(files.itemExists(volume.url("~/dark/a")));
  EXPECT_EQ(texts(files.contentsOfDirectory(volume.url("~/dark"), HiddenItems::include)).size(), 1U);
  EXPECT_EQ(errorOf([&] { (void)files.requireFacts(volume.url("~/dark/a"), Links::follow); }), EACCES);
  EXPECT_EQ(files.resolvedPath(volume.url("~/closed/a")), "/Users/ann/closed/a");
}

TEST(FileManager, AFileWithoutPermissionIsKnownButNotRead) {
  MacVolume volume;
  volume.file("~/secret", 5_B).mode("~/secret", 0000);
  const FileManager files = volume.files();
  const UnprivilegedUser user;
  EXPECT_TRUE(files.itemExists(volume.url("~/secret")));
  EXPECT_EQ(files.requireFacts(volume.url("~/secret"), Links::follow).sizes.logicalBytes, 5);
  EXPECT_EQ(errorOf([&] { (void)files.readFile(volume.url("~/secret"), 10); }), EACCES);
  EXPECT_FALSE(files.readFileIfPossible(volume.url("~/secret"), 10));
}

TEST(FileManager, AVolumeWithoutPermissionIsRefused) {
  MacVolume volume;
  volume.folder("/closed").mode("/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_EQ(errorOf([&] { (void)FileManager::mounted(volume.root() + "/closed", FileURL("/")); }), EACCES);
}

// Reading.

TEST(FileManager, AFileIsReadWholeUpToTheLimit) {
  MacVolume volume;
  volume.text("~/a", "0123456789").text("~/empty", "").link("~/link", "a");
  const FileManager files = volume.files();
  EXPECT_EQ(files.readFile(volume.url("~/a"), 10), "0123456789");
  EXPECT_EQ(files.readFile(volume.url("~/link"), 1'000), "0123456789");
  EXPECT_EQ(files.readFile(volume.url("~/empty"), 0), "");
  EXPECT_EQ(errorOf([&] { (void)files.readFile(volume.url("~/a"), 9); }), EFBIG);
  EXPECT_EQ(files.readFileIfPossible(volume.url("~/a"), 10), "0123456789");
  EXPECT_FALSE(files.readFileIfPossible(volume.url("~/a"), 9));
  EXPECT_FALSE(files.readFileIfPossible(volume.url("~/missing"), 9));
}

TEST(FileManager, AHugeFileIsRefusedBeforeItIsRead) {
  MacVolume volume;
  volume.sparse("~/huge", 4'000'000'000'000);
  EXPECT_EQ(errorOf([&] { (void)volume.files().readFile(volume.url("~/huge"), 1 << 20); }), EFBIG);
}

TEST(FileManager, AnOpenFileIsReadByPosition) {
  MacVolume volume;
  volume.text("~/a", "0123456789");
  const OpenFile file = volume.files().openFile(volume.url("~/a"));
  EXPECT_EQ(file.size(), 10U);
  EXPECT_EQ(file.read(0, 4), "0123");
  EXPECT_EQ(file.read(8, 4), "89");
  EXPECT_EQ(file.read(10, 4), "");
  EXPECT_EQ(file.read(UINT64_MAX, 4), "");
  EXPECT_EQ(file.read(3, 0), "");
}

TEST(FileManager, AFileThatShrinksReturnsTheRest) {
  MacVolume volume;
  volume.text("~/a", "0123456789");
  const OpenFile file = volume.files().openFile(volume.url("~/a"));
  volume.text("~/a", "012");
  EXPECT_EQ(file.read(0, 10), "012");
}

TEST(FileManager, OnlyRegularFilesAreOpened) {
  MacVolume volume;
  volume.folder("~/folder")
      .fifo("~/pipe")
      .socket("~/socket")
      .link("~/dangling", "missing")
      .link("~/toFolder", "folder");
  const FileManager files = volume.files();
  const auto opening = [&](const char* path) { return errorOf([&] { (void)files.openFile(volume.url(path)); }); };
  EXPECT_EQ(opening("~/folder"), EISDIR);
  EXPECT_EQ(opening("~/toFolder"), EISDIR);
  EXPECT_EQ(opening("/"), EISDIR);
  EXPECT_EQ(opening("~/pipe"), EINVAL);
  EXPECT_EQ(opening("~/socket"), EINVAL);
  EXPECT_EQ(opening("~/missing"), ENOENT);
  EXPECT_EQ(opening("~/dangling"), ENOENT);
}

TEST(FileManager, AnErrorOfOpeningNamesTheOperationAndTheMacsPath) {
  const MacVolume volume;
  try {
    (void)volume.files().openFile(volume.url("~/missing"));
    FAIL() << "opened a missing file";
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "open /Users/ann/missing: No such file or directory");
  }
}

TEST(FileManager, APipeNeverBlocks) {
  MacVolume volume;
  volume.fifo("~/pipe");
  const FileManager files = volume.files();
  EXPECT_TRUE(files.itemExists(volume.url("~/pipe")));
  EXPECT_FALSE(files.readFileIfPossible(volume.url("~/pipe"), 100));
  EXPECT_THAT(files.contentsOrNone(volume.url("~/pipe"), HiddenItems::include), IsEmpty());
  EXPECT_FALSE(files.isPackage(volume.url("~/pipe")));
}

TEST(ACancelledFileManager, ListsAndOpensNothingMoreAndReportsNothing) {
  MacVolume volume;
  volume.file("/f/a", 1).folder("/closed").mode("/closed", 0000);
  const Cancellation cancellation;
  const auto report = std::make_shared<ReadReport>();
  const FileManager files = volume.files().reportingTo(report).cancelledBy(cancellation);
  EXPECT_EQ(files.contentsOfDirectory(FileURL("/f"), HiddenItems::include).size(), 1U);
  EXPECT_TRUE(files.readFileIfPossible(FileURL("/f/a"), 9).has_value());
  cancellation.cancel();
  EXPECT_THAT(files.contentsOfDirectory(FileURL("/f"), HiddenItems::include), IsEmpty());
  EXPECT_THAT(files.contentsOfDirectory(FileURL("/closed"), HiddenItems::include), IsEmpty());
  EXPECT_EQ(files.readFileIfPossible(FileURL("/f/a"), 9), std::nullopt);
  EXPECT_EQ(errorOf([&] { (void)files.openFile(FileURL("/f/a")); }), ECANCELED);
  EXPECT_TRUE(files.itemExists(FileURL("/f/a"))) << "looking up one item takes no time";
  EXPECT_EQ(report->count(), 0U);
}

TEST(FileManager, AFileBeyondTheLimitIsReportedAsThat) {
  MacVolume volume;
  volume.text("/large", "12345");
  const auto report = std::make_shared<ReadReport>();
  const FileManager files = volume.files().reportingTo(report);
  EXPECT_EQ(files.readFileIfPossible(FileURL("/large"), 4), std::nullopt);
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/large", UnreadableCause::limit, EFBIG}));
}

// The budget is as large as many files: sparse ones cost no time to make.
TEST(FileManager, OneOperationReadsSoMuchAndTheNextBeginsAnew) {
  MacVolume volume;
  volume.sparse("/half", static_cast<std::int64_t>(limits::kFileBytes / 64));
  const auto report = std::make_shared<ReadReport>();
  const FileManager files = volume.files().reportingTo(report).forOneOperation();
  const FileURL half("/half");
  for (int i = 0; i < 64; ++i) ASSERT_TRUE(files.readFileIfPossible(half, limits::kFileBytes)) << i;
  EXPECT_FALSE(files.readFileIfPossible(half, limits::kFileBytes));
  EXPECT_EQ(report->count(UnreadableCause::limit), 1U);
  EXPECT_TRUE(files.forOneOperation().readFileIfPossible(half, limits::kFileBytes));
}

TEST(FileManager, ADeniedPathOfThousandsOfSlashesAndComponentsNamesItsFolder) {
  MacVolume volume;
  volume.folder("/closed").mode("/closed", 0);
  const auto report = std::make_shared<ReadReport>();
  const UnprivilegedUser user;
  const FileManager files = volume.files().reportingTo(report);
  EXPECT_FALSE(files.itemExists(FileURL("/closed" + std::string(20'000, '/') + "x")));
  std::string deep = "/closed";
  for (int i = 0; i < 5'000; ++i) deep += "/d";
  EXPECT_FALSE(files.itemExists(FileURL(deep)));
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/closed", UnreadableCause::permission, EACCES}));
}

}  // namespace
}  // namespace quarn::file_manager_tests

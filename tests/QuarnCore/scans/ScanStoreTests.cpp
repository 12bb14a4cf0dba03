#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "QuarnCore/inspection/AppsService.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "QuarnCore/scans/ScanStore.h"
#include "QuarnCore/scans/ScanWriter.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ChangedDatabase.h"
#include "tests/support/ProjectFolder.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::scan_store_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<std::string> namesIn(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

int errorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const FileError& error) {
    return error.error();
  }
  return 0;
}

class ScanStoreTest : public testing::Test {
 protected:
  ScanStoreTest() { volume_.fill(); }

  [[nodiscard]] std::string folder() const { return std::filesystem::path(at("x")).parent_path().string(); }
  [[nodiscard]] std::string at(const std::string& name) const { return folder_.at(name); }

  ScannedVolume volume_;
  ScanFolder folder_;
};

TEST_F(ScanStoreTest, AScanHasTheAnswersOfTheServices) {
  const ScanStore::Written written = volume_.scanTo(at("scan"));
  EXPECT_TRUE(written.isComplete);
  const FileManager files = volume_.files();
  const Scan scan = Scan::open(at("scan"));
  const ScanContent content = scan.content();
  EXPECT_EQ(content.facts.programVersion, "1.2.3");
  EXPECT_EQ(content.facts.home, files.homeDirectory());
  EXPECT_EQ(content.facts.files, written.files);
  EXPECT_EQ(content.facts.folders, written.folders);
  EXPECT_EQ(content.facts.volume.name, VolumeInfoClient::live(files).systemVolume().name);
  EXPECT_LE(content.facts.startedAt, content.facts.finishedAt);

  const auto sizes = volume_.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never());
  ASSERT_EQ(content.categories.size(), sizes.size());
  for (const StorageCategory& category : content.categories) EXPECT_EQ(category.size, sizes.at(category.id));

  const FileSizeCalculator live = FileSizeCalculator::live(files);
  const std::vector<AppEntity> apps = AppDiscoveryClient::live(files).discoverApplications();
  ASSERT_EQ(content.apps.size(), apps.size());
  for (std::size_t i = 0; i < apps.size(); ++i) {
    AppInspection inspection = volume_.inspection(files, live).inspect(apps[i], ScanStore::kInspection);
    inspection.inspectedAt = content.apps[i].inspection.inspectedAt;
    EXPECT_EQ(content.apps[i].inspection, inspection) << apps[i].bundleURL.path();
    EXPECT_EQ(content.apps[i].size, AppsService(AppDiscoveryClient::live(files), live).calculateAppSize(apps[i]));
  }
  EXPECT_EQ(content.jobs, LaunchdScanner::live(files).scan());
  EXPECT_THAT(content.jobs, SizeIs(1));
  EXPECT_EQ(content.extensions, KernelExtensionService::live(files, live).installedKernelExtensions(false));
  EXPECT_THAT(content.extensions, SizeIs(1));
}

TEST_F(ScanStoreTest, EveryFolderOfACategoryHasTheSizesOfTheDashboard) {
  volume_.file("/private/var/db/x", 11).file("~/Library/CloudStorage/Box/y", 12).file("~/Library/Mail/z", 13);
  volume_.link("~/Library/Messages", "/Elsewhere").file("/Library/Developer/w", 14);
  (void)volume_.scanTo(at("scan"));
  const StorageDashboardService dashboard = volume_.dashboard();
  std::vector<ScannedRoot> expected;
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (category == StorageCategoryID::free) continue;
    for (const auto& [url, sizes, home] : dashboard.calculatePartitionedRoots({}, Cancellation::never())) {
      if (sizes.at(category) == SizeInfo{}) continue;
      expected.push_back({.category = category, .url = url, .size = sizes.at(category)});
    }
    for (const FileURL& url : dashboard.preciseRoots(category)) {
      expected.push_back(
          {.category = category, .isListed = true, .url = url, .size = dashboard.preciseSize(url, category)});
    }
  }
  EXPECT_THAT(expected, SizeIs(testing::Gt(12u)));
  EXPECT_EQ(Scan::open(at("scan")).roots(), expected);
}

// The file has the tables of version 1: without `users`, and without the column `user` in `category_roots`.
TEST_F(ScanStoreTest, AScanOfTheFirstVersionIsRead) {
  const Scan scan = Scan::open((projectFolder() / "tests/fuzz/corpus/scan/format1").string());
  scan.readAll();
  EXPECT_THAT(scan.users(), IsEmpty());
  ASSERT_THAT(scan.roots(), SizeIs(1));
  EXPECT_EQ(scan.roots()[0].url, FileURL("/Applications/"));
  EXPECT_EQ(scan.roots()[0].user, std::nullopt);
  EXPECT_EQ(scan.tables().size() + 1, scanTables().size());
  for (const ScanTable& table : scan.tables()) {
    scan.rows(table, [&](const std::vector<ScanValue>& row) {
      EXPECT_EQ(row.size(), columnCount(table)) << table.name;
      return true;
    });
  }
}

TEST_F(ScanStoreTest, OwnersAndLeftoversAreThoseOfTheMap) {
  (void)volume_.scanTo(at("scan"));
  const FileManager files = volume_.files();
  const OwnershipService service(VendorProfileRegistry(volume_.vendors), EntitlementsReader::live(files),
                                 LaunchdScanner::live(files), ReceiptScanner::live(files), files);
  const OwnershipMap map =
      service.map(AppDiscoveryClient::live(files).discoverApplications(), OwnershipService::kEverything);
  const Scan scan = Scan::open(at("scan"));
  const std::vector<Ownership> entries = scan.entries();
  ASSERT_EQ(entries.size(), map.size());
  for (std::size_t i = 0; i < map.size(); ++i) EXPECT_EQ(entries[i], map.ownership(i));
  const auto leftovers = findLeftovers(map, {.computeSizes = true}, files, FileSizeCalculator::live(files));
  EXPECT_THAT(leftovers, Contains(testing::Field(&Leftover::owner,
                                                 testing::Field(&FormerOwner::bundleIdentifier, "com.gone.Sketcher"))));
  EXPECT_EQ(scan.leftovers(), leftovers);
}

TEST_F(ScanStoreTest, EveryFolderIsKeptWhateverTheirNumber) {
  for (const int count : {1, 62, 63, 64, 65, 126, 127, 128, 200}) {
    RecordedFolders folders;
    for (int i = 0; i < count; ++i) (void)folders.place("/folder " + std::to_string(i), volume_.files());
    folders.finish();
    ASSERT_TRUE(writeScan(at("scan"), {}, folders, Cancellation::never()));
    std::vector<std::string> names;
    Scan::open(at("scan")).folders(0, 1'000, [&](const ScannedFolder& folder) {
      names.push_back(folder.name);
      return true;
    });
    ASSERT_THAT(names, SizeIs(static_cast<std::size_t>(count) + 1));
    for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(names[i], folders.at(i).name);
  }
}

TEST_F(ScanStoreTest, FoldersAndFilesAreReadAsTheyWereRecorded) {
  RecordedFolders folders;
  (void)volume_.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), &folders);
  folders.finish();
  ASSERT_TRUE(writeScan(at("scan"), {}, folders, Cancellation::never()));
  const Scan scan = Scan::open(at("scan"));
  std::size_t position = 0;
  scan.folders(0, 1'000'000, [&](const ScannedFolder& folder) {
    const RecordedFolders::Record record = folders.at(position);
    EXPECT_EQ(folder.name, record.name);
    EXPECT_EQ(folder.parent, record.parent);
    EXPECT_EQ(folder.descendants, record.descendants);
    EXPECT_EQ(folder.sizes, record.sizes);
    EXPECT_EQ(scan.hiddenSizes(folder.id), record.hiddenSizes);
    EXPECT_EQ(folder.files, record.files);
    EXPECT_EQ(folder.isHidden, record.isHidden);
    EXPECT_EQ(folder.isPackage, record.isPackage);
    EXPECT_EQ(folder.isRead, record.isRead);
    ++position;
    return true;
  });
  EXPECT_EQ(position, folders.size());
  for (std::uint32_t i = 0; i < position; ++i) {
    std::vector<std::string> expected;
    for (const auto& file : folders.largeFiles()) {
      if (file.folder == i) expected.push_back(file.name);
    }
    std::vector<std::string> names;
    for (const ScannedFile& file : scan.largeFiles(i, i)) names.push_back(file.name);
    EXPECT_EQ(names, expected) << i;
  }
  const std::vector<ScannedFile> files = scan.largeFiles(0, 1'000'000);
  ASSERT_EQ(files.size(), folders.largeFiles().size());
  for (std::size_t i = 0; i < files.size(); ++i) {
    EXPECT_EQ(files[i].name, folders.largeFiles()[i].name);
    EXPECT_EQ(files[i].sizes, folders.largeFiles()[i].sizes);
    EXPECT_EQ(files[i].folder, folders.largeFiles()[i].folder);
  }
}

TEST_F(ScanStoreTest, NamesThatAreNotUTF8Survive) {
  (void)volume_.scanTo(at("scan"));
  const Scan scan = Scan::open(at("scan"));
  const auto folder = scan.folder("/Users/ann/Pictures/\xFE\x80");
  ASSERT_TRUE(folder);
  EXPECT_THAT(scan.largeFiles(folder->id, folder->id), ElementsAre(testing::Field(&ScannedFile::name, "\xFF")));
  std::vector<std::string> apps;
  for (const ScannedApp& app : scan.apps(false)) apps.push_back(app.inspection.app.bundleURL.path());
  EXPECT_THAT(apps, Contains("/Applications/\xFFraw.app"));
}

TEST_F(ScanStoreTest, HardLinksCountEachTime) {
  (void)volume_.scanTo(at("scan"));
  const Scan scan = Scan::open(at("scan"));
  const auto home = scan.folder("/Users/ann");
  ASSERT_TRUE(home);
  EXPECT_THAT(scan.largeFiles(home->id, home->id),
              Contains(testing::Field(&ScannedFile::sizes, testing::Field(&SizeInfo::logicalBytes, 70'000))).Times(2));
}

TEST_F(ScanStoreTest, AFileOnTheInspectedVolumeIsRefused) {
  const std::string inside = volume_.root() + "/Users/ann/scan";
  EXPECT_EQ(errorOf([&] { (void)volume_.scanTo(inside); }), EROFS);
  EXPECT_FALSE(std::filesystem::exists(inside));
  std::filesystem::create_symlink(volume_.root(), at("link"));
  EXPECT_EQ(errorOf([&] { (void)volume_.scanTo(at("link/scan")); }), EROFS);
}

TEST_F(ScanStoreTest, ACancelledScanLeavesTheOldFile) {
  (void)volume_.scanTo(at("scan"));
  const auto before = std::filesystem::last_write_time(at("scan"));
  for (const ScanStep step : allCases<ScanStep>()) {
    const Cancellation cancellation;
    const auto written = volume_.store(volume_.files())
                             .write(
                                 at("scan"),
                                 [&](const ScanStore::Progress& progress) {
                                   if (progress.step == step) cancellation.cancel();
                                 },
                                 cancellation);
    EXPECT_FALSE(written.isComplete) << rawValue(step);
    EXPECT_EQ(std::filesystem::last_write_time(at("scan")), before);
    EXPECT_THAT(namesIn(folder()), ElementsAre("scan"));
  }
}

// The folders take more than the cache of the database, so rows of them would be in the unfinished file.
TEST_F(ScanStoreTest, ACancelledWriterWritesNoFolders) {
  RecordedFolders folders;
  const std::string longName(200, 'n');
  for (int i = 0; i < 20'000; ++i) (void)folders.place("/" + longName + std::to_string(i), volume_.files());
  folders.finish();
  const auto bytesAfter = [&](const Cancellation& cancellation, bool isWhole) {
    ScanWriter writer(at("scan"));
    writer.startFolders(folders, cancellation);
    EXPECT_EQ(writer.fill({}), isWhole);
    if (isWhole) writer.commit();
    EXPECT_THAT(namesIn(folder()), SizeIs(1));
    return std::filesystem::file_size(folder() + "/" + namesIn(folder()).front());
  };
  const Cancellation cancellation;
  cancellation.cancel();
  EXPECT_LT(bytesAfter(cancellation, false), 1'000'000U);
  EXPECT_GT(bytesAfter(Cancellation::never(), true), 4'000'000U);
}

TEST_F(ScanStoreTest, StepsAreReportedInOrder) {
  std::vector<ScanStep> steps;
  (void)volume_.store(volume_.files())
      .write(
          at("scan"),
          [&](const ScanStore::Progress& progress) {
            if (steps.empty() || steps.back() != progress.step) steps.push_back(progress.step);
          },
          Cancellation::never());
  EXPECT_THAT(steps, testing::ElementsAreArray(allCases<ScanStep>()));
}

TEST_F(ScanStoreTest, AFileThatCannotBeWrittenIsAnErrorBeforeTheVolumeIsRead) {
  int steps = 0;
  const auto write = [&](const std::string& file) {
    return errorOf([&] {
      (void)volume_.store(volume_.files())
          .write(
              file, [&](const auto&) { ++steps; }, Cancellation::never());
    });
  };
  EXPECT_EQ(write(at("missing/scan")), ENOENT);
  EXPECT_EQ(write(folder()), EISDIR);
  EXPECT_EQ(steps, 0);
}

TEST_F(ScanStoreTest, WhatCouldNotBeReadIsInTheScanAlsoWhenNobodyAskedForAReport) {
  volume_.folder("/Users/ann/Closed").mode("/Users/ann/Closed", 0000);
  ASSERT_EQ(volume_.files().readReport(), nullptr);
  {
    const UnprivilegedUser user;
    (void)volume_.scanTo(at("scan"));
  }
  volume_.mode("/Users/ann/Closed", 0700);
  const Scan scan = Scan::open(at("scan"));
  EXPECT_THAT(scan.unreadable(), ElementsAre(testing::Field(&UnreadableItem::path, "/Users/ann/Closed")));
  EXPECT_EQ(scan.unreadable().front().error, EACCES);
  EXPECT_EQ(scan.unreadable().front().cause, UnreadableCause::permission);
  const auto closed = scan.folder("/Users/ann/Closed");
  ASSERT_TRUE(closed);
  EXPECT_FALSE(closed->isRead);
  EXPECT_TRUE(scan.folder("/Users/ann")->isRead);
}

TEST_F(ScanStoreTest, WhatIsOnAnotherVolumeIsUnreadWithoutAnError) {
  (void)volume_.scanTo(at("scan"));
  changeDatabase(at("scan"), "INSERT INTO unreadable VALUES('/Volumes/Other',0,'')");
  const std::vector<UnreadableItem> items = Scan::open(at("scan")).unreadable();
  ASSERT_THAT(items, SizeIs(1));
  EXPECT_EQ(items.front().cause, UnreadableCause::otherDevice);
}

TEST_F(ScanStoreTest, AFullDiskIsAnErrorThatLeavesNothing) {
  RecordedFolders folders;
  (void)volume_.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), &folders);
  folders.finish();
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  for (const rlim_t limit : {rlim_t{0}, rlim_t{4096}, rlim_t{20'000}, rlim_t{60'000}}) {
    const rlimit small{.rlim_cur = limit, .rlim_max = before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
    const int error = errorOf([&] { (void)writeScan(at("scan"), {}, folders, Cancellation::never()); });
    ::setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_THAT(error, testing::AnyOf(EFBIG, ENOSPC)) << limit;
    EXPECT_THAT(namesIn(folder()), IsEmpty()) << limit;
  }
}

// Ends the child at a moment that moves from the beginning of the writing to behind its end.
TEST_F(ScanStoreTest, AKilledWriterLeavesTheOldScanOrTheNewOne) {
  RecordedFolders folders;
  (void)volume_.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), &folders);
  folders.finish();
  ScanContent content;
  content.facts.programVersion = "old";
  ASSERT_TRUE(writeScan(at("scan"), content, folders, Cancellation::never()));
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(writeScan(at("scan"), content, folders, Cancellation::never()));
  const auto duration = std::chrono::steady_clock::now() - start;
  constexpr int kKills = 200;
  int killed = 0;
  for (int i = 0; i < kKills; ++i) {
    content.facts.programVersion = "new " + std::to_string(i);
    const pid_t child = ::fork();
    if (child == 0) {
      (void)writeScan(at("scan"), content, folders, Cancellation::never());
      ::_exit(0);
    }
    std::this_thread::sleep_for(duration * i / kKills * 5 / 4);
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (WIFSIGNALED(status)) ++killed;
    const Scan scan = Scan::open(at("scan"));
    EXPECT_NO_THROW(scan.readAll());
    if (!WIFSIGNALED(status)) {
      EXPECT_EQ(scan.facts().programVersion, "new " + std::to_string(i));
    }
  }
  EXPECT_GT(killed, 0);
}

}  // namespace
}  // namespace quarn::scan_store_tests

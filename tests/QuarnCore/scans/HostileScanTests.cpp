#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <utility>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "QuarnCore/scans/Database.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ChangedDatabase.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::hostile_scan_tests {
namespace {

using Problem = ScanError::Problem;

class HostileScan : public testing::Test {
 protected:
  HostileScan() {
    volume_.fill();
    (void)volume_.scanTo(at("scan"));
    bytes_ = bytesOf(at("scan"));
  }

  static std::string bytesOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  [[nodiscard]] std::string at(const std::string& name) const { return folder_.at(name); }

  [[nodiscard]] std::string written(std::string_view bytes) const {
    std::ofstream(at("changed"), std::ios::binary | std::ios::trunc) << bytes;
    return at("changed");
  }

  /// The problem of opening the file and reading everything; absent if there is none.
  static std::optional<Problem> problemOf(const std::string& file) {
    try {
      Scan::open(file).readAll();
    } catch (const ScanError& error) {
      EXPECT_EQ(error.path(), file);
      return error.problem();
    }
    return std::nullopt;
  }

  /// The problem after SQL has changed a copy.
  [[nodiscard]] std::optional<Problem> problemAfter(const std::string& sql) const { return problemAfter(sql, bytes_); }
  [[nodiscard]] std::optional<Problem> problemAfter(const std::string& sql, std::string_view bytes) const {
    const std::string file = written(bytes);
    changeDatabase(file, sql);
    return problemOf(file);
  }

  ScannedVolume volume_;
  ScanFolder folder_;
  std::string bytes_;
};

TEST_F(HostileScan, AnUnchangedCopyIsReadable) { EXPECT_EQ(problemOf(written(bytes_)), std::nullopt); }

TEST_F(HostileScan, OtherFilesAreForeign) {
  EXPECT_EQ(problemOf(written("")), Problem::foreign);
  EXPECT_EQ(problemOf(written("not a database")), Problem::foreign);
  EXPECT_EQ(problemOf(written(std::string(100'000, 'x'))), Problem::foreign);
  EXPECT_EQ(problemOf(written("SQLite format 4" + bytes_.substr(15))), Problem::foreign);
  EXPECT_EQ(problemOf(written(bytes_.substr(0, 99))), Problem::foreign);
  EXPECT_EQ(problemAfter("PRAGMA application_id=1"), Problem::foreign);
}

TEST_F(HostileScan, AFormatThatNeverWasIsDamaged) {
  EXPECT_EQ(problemAfter("PRAGMA user_version=0"), Problem::damaged);
  EXPECT_EQ(problemAfter("PRAGMA user_version=-1"), Problem::damaged);
  // The tables of the first version, to which only the number is wrong.
  const std::string first = bytesOf((projectFolder() / "tests/fuzz/corpus/scan/format1").string());
  EXPECT_EQ(problemAfter("PRAGMA user_version=1", first), std::nullopt);
  EXPECT_EQ(problemAfter("PRAGMA user_version=0", first), Problem::damaged);
  EXPECT_EQ(problemAfter("PRAGMA user_version=-1", first), Problem::damaged);
}

TEST_F(HostileScan, ANewerFormatSaysSo) {
  EXPECT_EQ(problemAfter("PRAGMA user_version=3"), Problem::newer);
  try {
    (void)Scan::open(at("changed"));
    FAIL();
  } catch (const ScanError& error) {
    EXPECT_EQ(std::string(error.what()), at("changed") + " is a scan of a newer version of quarn (update quarn)");
  }
}

TEST_F(HostileScan, OnlyRegularFilesAreOpenedAndAMissingFileIsReportedAsMissing) {
  const auto errorOf = [](const std::string& file) {
    try {
      (void)Scan::open(file);
    } catch (const FileError& error) {
      return error.error();
    }
    return 0;
  };
  EXPECT_EQ(errorOf(at("missing")), ENOENT);
  std::filesystem::create_directory(at("folder"));
  EXPECT_EQ(errorOf(at("folder")), EISDIR);
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  EXPECT_EQ(errorOf(at("pipe")), EINVAL);
}

TEST_F(HostileScan, ATruncatedFileIsDamagedAtEveryLength) {
  for (std::size_t length = 100; length < bytes_.size(); length += 257) {
    EXPECT_EQ(problemOf(written(bytes_.substr(0, length))), Problem::damaged) << length;
  }
  EXPECT_EQ(problemOf(written(bytes_ + "x")), Problem::damaged);
}

TEST_F(HostileScan, AnOverwrittenPageIsDamaged) {
  constexpr std::size_t kPage = 4096;
  for (std::size_t page = kPage; page < bytes_.size(); page += kPage) {
    std::string changed = bytes_;
    changed.replace(page, kPage, std::string(kPage, '\xFF'));
    EXPECT_EQ(problemOf(written(changed)), Problem::damaged) << page / kPage;
  }
}

// SQLite reads such a page without an error, and its rows in another order.
TEST_F(HostileScan, RowsOutOfOrderInAPageAreDamaged) {
  Database database = Database::makeIn(written(bytes_));
  const std::int64_t page = [&] {
    Statement statement = database.prepare("SELECT rootpage FROM sqlite_schema WHERE name='categories'");
    return statement.step() ? statement.integer() : 0;
  }();
  database.close();
  ASSERT_GT(page, 1);
  constexpr std::size_t kPage = 4096;
  constexpr std::size_t kPlacesOfCells = 8;
  const std::size_t cells = static_cast<std::size_t>(page - 1) * kPage + kPlacesOfCells;
  ASSERT_EQ(bytes_[cells - kPlacesOfCells], '\x0D');  // a leaf of a table
  std::string changed = bytes_;
  std::swap_ranges(&changed[cells], &changed[cells + 2], &changed[cells + 2]);
  EXPECT_EQ(problemOf(written(changed)), Problem::damaged);
}

TEST_F(HostileScan, RandomChangesAreReadOrRefusedAndNeverCrash) {
  std::mt19937 random(1);
  int refused = 0;
  for (int round = 0; round < 1'500; ++round) {
    std::string changed = bytes_;
    const std::size_t count = 1 + random() % 8;
    for (std::size_t i = 0; i < count; ++i) changed[random() % changed.size()] = static_cast<char>(random());
    try {
      if (problemOf(written(changed))) ++refused;
    } catch (const SizeOverflow&) {
      ++refused;
    }
  }
  EXPECT_GT(refused, 0);
}

TEST_F(HostileScan, ASchemaWithAnythingElseIsDamaged) {
  EXPECT_EQ(problemAfter("CREATE VIEW v AS SELECT 1"), Problem::damaged);
  EXPECT_EQ(problemAfter("CREATE TABLE more(a)"), Problem::damaged);
  EXPECT_EQ(problemAfter("CREATE TRIGGER t AFTER INSERT ON scan BEGIN SELECT 1; END"), Problem::damaged);
  EXPECT_EQ(problemAfter("CREATE INDEX i ON apps(name)"), Problem::damaged);
  EXPECT_EQ(problemAfter("DROP TABLE jobs"), Problem::damaged);
  EXPECT_EQ(problemAfter("DROP TABLE jobs; CREATE VIEW jobs AS SELECT 1"), Problem::damaged);
  EXPECT_EQ(problemAfter("ALTER TABLE categories ADD COLUMN more"), Problem::damaged);
}

// SQLite itself refuses other names and types than those of the statement, but compares them without regard to case.
TEST_F(HostileScan, AForgedSchemaIsDamaged) {
  for (const char* change : {"type='TABLE'", "type='view'", "name='JOBS', tbl_name='JOBS'", "name='other'"}) {
    EXPECT_EQ(problemAfter("PRAGMA writable_schema=ON; UPDATE sqlite_schema SET " + std::string(change) +
                           " WHERE name='jobs'"),
              Problem::damaged)
        << change;
  }
}

TEST_F(HostileScan, AMissingTableIsNoticedOnOpening) {
  changeDatabase(written(bytes_), "DROP TABLE " + std::string(scanTables().back().name));
  EXPECT_THROW((void)Scan::open(at("changed")), ScanError);
}

TEST_F(HostileScan, AValueThatNoScanHasIsDamaged) {
  for (const char* sql :
       {"DELETE FROM scan",
        "INSERT INTO scan SELECT * FROM scan",
        "UPDATE scan SET home='relative'",
        "UPDATE scan SET kept_above=-2",
        "UPDATE scan SET files=-1",
        "UPDATE scan SET folders=0",
        "UPDATE scan SET started_at=9223372036854775807",
        "UPDATE scan SET started_at=-9223372036854775807",
        "UPDATE categories SET category='nothing'",
        "UPDATE categories SET allocated=-1",
        "UPDATE categories SET logical=-1",
        "UPDATE categories SET logical='text'",
        "UPDATE category_roots SET hint_path=NULL, vendor_id='x'",
        "UPDATE folders SET name='a/b' WHERE id=2",
        "UPDATE folders SET name='x' WHERE id=0",
        "UPDATE folders SET parent=1 WHERE id=0",
        "UPDATE folders SET name='.' WHERE id=2",
        "UPDATE folders SET name='..' WHERE id=2",
        "UPDATE folders SET name='' WHERE id=2",
        "UPDATE folders SET parent=5 WHERE id=2",
        "UPDATE folders SET descendants=4294967296 WHERE id=2",
        "UPDATE folders SET descendants=4294967295 WHERE id=2",
        "UPDATE folders SET files=-1 WHERE id=2",
        "UPDATE folders SET marks=-1 WHERE id=2",
        "UPDATE folders SET marks=8 WHERE id=2",
        "UPDATE large_files SET name=''",
        "UPDATE large_files SET name='.'",
        "UPDATE large_files SET name='..'",
        "UPDATE large_files SET name='a/b'",
        "UPDATE large_files SET modified='x'",
        "UPDATE large_files SET folder=999 WHERE rowid=1",
        "UPDATE apps SET id=id+5",
        "UPDATE apps SET is_folder=2",
        "UPDATE artifacts SET app=99",
        "UPDATE artifacts SET kind='x'",
        "UPDATE artifacts SET confidence='x'",
        "UPDATE artifact_items SET artifact=0",
        "UPDATE artifact_items SET path=''",
        "INSERT INTO vendor_paths SELECT 'v','V','apps',kind,data_class,'t',NULL,risk,'relative' FROM artifacts",
        "INSERT INTO entry_packages VALUES(0,'com.example')",
        "UPDATE claims SET entry=-1",
        "UPDATE entries SET status=NULL",
        "UPDATE leftover_items SET leftover=77",
        "UPDATE job_arguments SET job=2",
        "UPDATE extensions SET path=X'2F00'",
        "UPDATE jobs SET label=NULL",
        "UPDATE category_roots SET user=1",
        "INSERT INTO users VALUES(2,'/Users/ann',1,'/Users/ann',1)",
        "INSERT INTO users VALUES(1,'Users/ann',1,'/Users/ann',1)",
        "INSERT INTO users VALUES(1,'/Users/ann',1,'Users/ann',1)",
        "INSERT INTO users VALUES(1,'/Users/ann',1,X'2F00',1)",
        "INSERT INTO users VALUES(1,'/Users/ann',1,'/Users/ann',2)"}) {
    EXPECT_EQ(problemAfter(sql), Problem::damaged) << sql;
  }
}

TEST_F(HostileScan, AVendorsPathThatIsAbsoluteIsRead) {
  EXPECT_EQ(
      problemAfter(
          "INSERT INTO vendor_paths SELECT 'v','V','apps',kind,data_class,'t',NULL,risk,'/absolute' FROM artifacts"),
      std::nullopt);
}

// Read one after another they are possible; only the way through them is not.
TEST_F(HostileScan, FoldersThatAreNotWhereTheyShouldBeEndTheSearch) {
  constexpr std::array<std::pair<const char*, const char*>, 3> kChanges{
      {{"UPDATE folders SET descendants=4000000000 WHERE id=0", "/nowhere"},
       {"DELETE FROM folders WHERE id=1", "/nowhere"},
       {"UPDATE folders SET descendants=0 WHERE descendants=1", "/Users/ann/nowhere"}}};
  for (const auto& [sql, path] : kChanges) {
    const std::string file = written(bytes_);
    changeDatabase(file, sql);
    const Scan scan = Scan::open(file);
    EXPECT_THROW((void)scan.folder(path), ScanError) << sql;
  }
}

// The folders are not checked page by page, so each way to the folders must notice that some are missing.
TEST_F(HostileScan, FoldersThatAreMissingOrOutOfOrderAreDamaged) {
  for (const char* sql :
       {"DELETE FROM folders WHERE id=(SELECT max(id) FROM folders)", "DELETE FROM folders WHERE id=2",
        "DELETE FROM folders", "UPDATE folders SET id=id+1 WHERE id=(SELECT max(id) FROM folders)",
        "UPDATE folders SET descendants=descendants+1 WHERE id=0", "INSERT INTO folders SELECT -1,0,0,'x',0,0,0,0,0"}) {
    const std::string file = written(bytes_);
    changeDatabase(file, sql);
    const auto all = [](const ScannedFolder&) { return true; };
    EXPECT_THROW((void)Scan::open(file).folderWithID(0), ScanError) << sql;
    EXPECT_THROW((void)Scan::open(file).packages(0, Scan::kLastFolder), ScanError) << sql;
    EXPECT_THROW(Scan::open(file).folders(0, Scan::kLastFolder, all), ScanError) << sql;
    EXPECT_THROW(Scan::open(file).folders(0, 1, all), ScanError) << sql;
  }
}

TEST_F(HostileScan, ReadingChangesNothingBesideTheFile) {
  const auto before = std::filesystem::last_write_time(at("scan"));
  Scan::open(at("scan")).readAll();
  EXPECT_EQ(std::filesystem::last_write_time(at("scan")), before);
  EXPECT_FALSE(std::filesystem::exists(at("scan-journal")));
  EXPECT_FALSE(std::filesystem::exists(at("scan-wal")));
}

}  // namespace
}  // namespace quarn::hostile_scan_tests

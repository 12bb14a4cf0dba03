#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "QuarnCore/scans/Database.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"

// What the door to SQLite refuses in a file that anybody may have made. Nothing of it is in our own files and
// statements, so each rule is asked for by itself.

namespace quarn::database_tests {
namespace {

class UntrustedDatabase : public testing::Test {
 protected:
  /// A new file, after SQL has run in it.
  [[nodiscard]] std::string fileWith(const std::string& sql, const std::string& name = "database") const {
    std::ofstream(folder_.at(name), std::ios::trunc).flush();
    Database database = Database::makeIn(folder_.at(name));
    database.execute(sql);
    database.close();
    return folder_.at(name);
  }

  /// Whether a query of such a file is answered. An answer that is refused is damage.
  [[nodiscard]] bool isAnswered(const std::string& query, const std::string& sql = "CREATE TABLE t(a)") const {
    const Database database = Database::openUntrusted(fileWith(sql));
    try {
      Statement statement = database.prepare(query);
      while (statement.step()) {
      }
    } catch (const DatabaseError&) {
      return false;
    }
    return true;
  }

  static std::string repeated(std::string_view first, std::string_view next, std::size_t count) {
    std::string text(first);
    for (std::size_t i = 1; i < count; ++i) text += next;
    return text;
  }

  /// How the process has opened the file: O_RDONLY or another mode for each descriptor.
  static std::vector<int> openModes(const std::string& file) {
    constexpr int kDescriptors = 1024;
    struct stat wanted {};
    ::stat(file.c_str(), &wanted);
    std::vector<int> modes;
    for (int descriptor = 0; descriptor < kDescriptors; ++descriptor) {
      struct stat facts {};
      const bool isOpen = ::fstat(descriptor, &facts) == 0;
      if (!isOpen || facts.st_dev != wanted.st_dev || facts.st_ino != wanted.st_ino) continue;
      modes.push_back(::fcntl(descriptor, F_GETFL) & O_ACCMODE);
    }
    return modes;
  }

  ScanFolder folder_;
};

TEST_F(UntrustedDatabase, AValueOfMoreThanSixteenMebibytesIsRefused) {
  const auto valueOf = [](int bytes) {
    return "CREATE TABLE t(a); INSERT INTO t VALUES(zeroblob(" + std::to_string(bytes) + "))";
  };
  EXPECT_TRUE(isAnswered("SELECT a FROM t", valueOf(16'000'000)));
  EXPECT_FALSE(isAnswered("SELECT a FROM t", valueOf(17'000'000)));
}

TEST_F(UntrustedDatabase, AStatementOfMoreThan64KibibytesIsRefused) {
  EXPECT_TRUE(isAnswered("SELECT 1 --" + std::string(60'000, 'x')));
  EXPECT_FALSE(isAnswered("SELECT 1 --" + std::string(70'000, 'x')));
}

TEST_F(UntrustedDatabase, MoreThan64ColumnsAreRefused) {
  EXPECT_TRUE(isAnswered(repeated("SELECT 1", ",1", 64)));
  EXPECT_FALSE(isAnswered(repeated("SELECT 1", ",1", 65)));
}

TEST_F(UntrustedDatabase, ADeepExpressionIsRefused) {
  EXPECT_TRUE(isAnswered(repeated("SELECT a", "+a", 30) + " FROM t"));
  EXPECT_FALSE(isAnswered(repeated("SELECT a", "+a", 40) + " FROM t"));
}

TEST_F(UntrustedDatabase, MoreThanFourSelectionsInOneAreRefused) {
  EXPECT_TRUE(isAnswered(repeated("SELECT 1", " UNION ALL SELECT 1", 4)));
  EXPECT_FALSE(isAnswered(repeated("SELECT 1", " UNION ALL SELECT 1", 5)));
}

TEST_F(UntrustedDatabase, AStatementOfTooManyStepsIsRefused) {
  const auto query = [](int count) {
    std::string list = "0";
    for (int i = 1; i < count; ++i) list += "," + std::to_string(i);
    return "SELECT a FROM t WHERE a IN (" + list + ")";
  };
  EXPECT_TRUE(isAnswered(query(100)));
  EXPECT_FALSE(isAnswered(query(5'000)));
}

TEST_F(UntrustedDatabase, ViewsAreNotRead) {
  EXPECT_FALSE(isAnswered("SELECT * FROM v", "CREATE TABLE t(a); CREATE VIEW v AS SELECT a FROM t"));
}

TEST_F(UntrustedDatabase, NoFunctionRunsButCounting) {
  EXPECT_TRUE(isAnswered("SELECT count(*) FROM t"));
  EXPECT_FALSE(isAnswered("SELECT upper('a')"));
  EXPECT_FALSE(isAnswered("SELECT randomblob(1)"));
}

TEST_F(UntrustedDatabase, NothingIsWrittenOrAttached) {
  const Database database = Database::openUntrusted(fileWith("CREATE TABLE t(a)"));
  for (const char* sql : {"INSERT INTO t VALUES(1)", "DELETE FROM t", "DROP TABLE t", "CREATE TABLE u(a)",
                          "CREATE TEMP TABLE u(a)", "ATTACH ':memory:' AS other", "VACUUM"}) {
    EXPECT_THROW(database.execute(sql), DatabaseError) << sql;
  }
}

TEST_F(UntrustedDatabase, TheSettingsAgainstHostileSchemasAreOn) {
  const Database database = Database::openUntrusted(fileWith("CREATE TABLE t(a)"));
  EXPECT_EQ(database.pragma("trusted_schema"), 0);
  EXPECT_EQ(database.pragma("query_only"), 1);
  EXPECT_EQ(database.pragma("cell_size_check"), 1);
  EXPECT_EQ(database.pragma("mmap_size"), 0);
  Statement journal = database.prepare("PRAGMA journal_mode=OFF");
  ASSERT_TRUE(journal.step());
  EXPECT_NE(journal.bytes(), "off");  // refused in the defensive mode
}

TEST_F(UntrustedDatabase, NoFileIsAttachedNoTriggerRunsAndNoExtensionIsLoaded) {
  const std::string file = fileWith("CREATE TABLE t(a)");
  const Database::Abilities abilities = Database::openUntrusted(file).abilities();
  EXPECT_EQ(abilities.attachedFiles, 0);
  EXPECT_FALSE(abilities.runsTriggers);
  EXPECT_FALSE(abilities.loadsExtensions);
  const Database::Abilities ofOurOwn = Database::makeIn(file).abilities();
  EXPECT_GT(ofOurOwn.attachedFiles, 0);
  EXPECT_TRUE(ofOurOwn.runsTriggers);
}

TEST_F(UntrustedDatabase, TheFileIsOpenedForReadingOnly) {
  const std::string file = fileWith("CREATE TABLE t(a)");
  {
    const Database database = Database::openUntrusted(file);
    EXPECT_THAT(openModes(file), testing::ElementsAre(O_RDONLY));
  }
  const Database ours = Database::makeIn(file);
  EXPECT_THAT(openModes(file), testing::ElementsAre(O_RDWR));
}

TEST_F(UntrustedDatabase, AnUnfinishedTransactionBesideTheFileIsNotRolledBack) {
  const std::string source = fileWith("CREATE TABLE t(a)");
  Database writer = Database::makeIn(source);
  writer.execute(
      "PRAGMA locking_mode=NORMAL; PRAGMA journal_mode=DELETE; PRAGMA cache_size=1; BEGIN;"
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<2000) INSERT INTO t SELECT zeroblob(500) "
      "FROM n");
  ASSERT_TRUE(std::filesystem::exists(source + "-journal"));
  const std::string copy = folder_.at("copy");
  for (const std::string end : {"", "-journal"}) std::ofstream(copy + end) << std::ifstream(source + end).rdbuf();
  writer.execute("ROLLBACK");
  const auto bytes = std::filesystem::file_size(copy);
  const Database database = Database::openUntrusted(copy);
  EXPECT_NO_THROW((void)database.prepare("SELECT * FROM t").step());
  EXPECT_EQ(std::filesystem::file_size(copy), bytes);
  EXPECT_TRUE(std::filesystem::exists(copy + "-journal"));
}

TEST_F(UntrustedDatabase, AnyNameOfAFileIsTheNameOfTheFile) {
  for (const char* name : {"a?mode=memory", "a#b", "a%41", "a b&c=d", "a\xFF", "ä'\""}) {
    const std::string file = fileWith("CREATE TABLE t(a); INSERT INTO t VALUES(7)", name);
    const Database database = Database::openUntrusted(file);
    Statement statement = database.prepare("SELECT a FROM t");
    ASSERT_TRUE(statement.step()) << name;
    EXPECT_EQ(statement.integer(), 7) << name;
  }
}

// Other tools end a TEXT at its first NUL.
TEST_F(UntrustedDatabase, BytesThatAreNotATextAreABlobAndAllBytesSurvive) {
  using namespace std::string_view_literals;
  using Kind = Statement::Kind;
  constexpr std::array<std::pair<std::string_view, Kind>, 6> kValues{{{"plain", Kind::text},
                                                                      {"\u00E4", Kind::text},
                                                                      {"", Kind::text},
                                                                      {"\xFF", Kind::blob},
                                                                      {"a\0b"sv, Kind::blob},
                                                                      {"\0"sv, Kind::blob}}};
  const std::string file = fileWith("CREATE TABLE t(a)");
  Database writer = Database::makeIn(file);
  {
    Statement insert = writer.prepare("INSERT INTO t VALUES(?)");
    for (const auto& [bytes, kind] : kValues) {
      insert.bind(bytes);
      insert.run();
    }
  }
  writer.close();
  const Database database = Database::openUntrusted(file);
  Statement statement = database.prepare("SELECT a FROM t ORDER BY rowid");
  for (const auto& [bytes, kind] : kValues) {
    ASSERT_TRUE(statement.step());
    EXPECT_EQ(statement.kind(), kind) << testing::PrintToString(bytes);
    EXPECT_EQ(statement.bytes(), bytes);
  }
}

TEST_F(UntrustedDatabase, AFileThatCannotGrowIsAFullDiskAndNoDamage) {
  const Database database = Database::makeIn(fileWith("CREATE TABLE t(a)"));
  database.execute("PRAGMA max_page_count=3");
  try {
    database.execute("INSERT INTO t VALUES(zeroblob(100000))");
    FAIL();
  } catch (const DatabaseError& error) {
    EXPECT_EQ(error.error(), ENOSPC);
    EXPECT_FALSE(error.isDamage());
  }
}

}  // namespace
}  // namespace quarn::database_tests

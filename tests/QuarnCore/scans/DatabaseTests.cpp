#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>

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
  Statement journal = database.prepare("PRAGMA journal_mode=OFF");
  ASSERT_TRUE(journal.step());
  EXPECT_NE(journal.bytes(), "off");  // refused in the defensive mode
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

}  // namespace
}  // namespace quarn::database_tests

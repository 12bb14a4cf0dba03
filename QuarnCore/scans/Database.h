#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "QuarnPlatform/base/Cancellation.h"

struct sqlite3;
struct sqlite3_stmt;

namespace quarn {

/// SQLite refused an operation. `isDamage` is true if the content of the file is the reason. `error` is an errno, 0 if
/// there is none.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(const std::string& problem, bool isDamage, int error = 0)
      : std::runtime_error(problem), isDamage_(isDamage), error_(error) {}
  [[nodiscard]] bool isDamage() const { return isDamage_; }
  [[nodiscard]] int error() const { return error_; }

 private:
  bool isDamage_;
  int error_;
};

/// A prepared statement. Parameters and columns are used from left to right. Belongs to one thread; must not outlive
/// its database.
class Statement {
 public:
  Statement(sqlite3* database, std::string_view sql);
  ~Statement();
  Statement(Statement&& other) noexcept;
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;
  Statement& operator=(Statement&&) = delete;

  // Parameters.

  void bind(std::int64_t value);
  void bind(double value);
  /// Valid UTF-8 becomes TEXT, other bytes become a BLOB, so that every name survives. The bytes must live until `run`
  /// or `step`.
  void bind(std::string_view bytes);
  void bindNull();
  /// Back to the beginning, for the next parameters. `run` and the end of the rows do it too.
  void reset();
  /// Runs a statement without rows and resets it for the next parameters.
  void run();

  // Rows.

  /// Moves to the next row, before its first column. Returns false at the end, and resets the statement. Throws
  /// DatabaseError.
  bool step();
  [[nodiscard]] bool isNull() const;
  void skip() { ++column_; }
  enum class Kind : std::uint8_t { null, integer, real, text, blob };
  [[nodiscard]] Kind kind() const;
  /// These move to the next column. Throw DatabaseError for a value of another type.
  std::int64_t integer();
  double real();
  /// The bytes of a TEXT or BLOB. Valid until the next `step`.
  std::string_view bytes();

 private:
  void check(int code) const;

  sqlite3* database_;
  sqlite3_stmt* statement_ = nullptr;
  int parameter_ = 0;
  int column_ = 0;
};

/// One SQLite file; the only door to SQLite. Belongs to one thread at a time. All operations throw DatabaseError.
class Database {
 public:
  /// Opens an empty file for writing, without a journal: a file that is not finished is worth nothing.
  static Database makeIn(const std::string& file);
  /// Opens a file that anybody may have made. Read-only and without side files. The schema cannot run code, and sizes
  /// are limited.
  static Database openUntrusted(const std::string& file);

  /// Runs SQL without parameters and results.
  void execute(const std::string& sql) const;
  [[nodiscard]] Statement prepare(std::string_view sql) const { return {connection_.get(), sql}; }
  /// The value of a pragma.
  [[nodiscard]] std::int64_t pragma(std::string_view name) const;
  /// Checks the pages of one table and its indexes. Throws if they are damaged.
  void checkTable(std::string_view name) const;
  /// What SQLite says that this connection may do, beside reading its file.
  struct Abilities {
    int attachedFiles = 0;  ///< the maximum number
    bool runsTriggers = false;
    bool loadsExtensions = false;
  };
  [[nodiscard]] Abilities abilities() const;
  /// Statements throw soon after this is set.
  void stopAt(const Cancellation& cancellation);
  /// Writes everything to the file.
  void close();

 private:
  struct Close {
    void operator()(sqlite3* connection) const;
  };

  Database(const std::string& file, int flags);

  std::unique_ptr<sqlite3, Close> connection_;
  std::unique_ptr<Cancellation> cancellation_;
};

}  // namespace quarn

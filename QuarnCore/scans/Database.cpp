#include "QuarnCore/scans/Database.h"

#include <array>
#include <cerrno>
#include <utility>

#include <sqlite3.h>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn {
namespace {

struct Limit {
  int id;
  int value;
};
constexpr int kLongestValue = 16 << 20;
// What our own files need, with room. The authorizer refuses to attach files too.
constexpr std::array kLimits{
    Limit{.id = SQLITE_LIMIT_LENGTH, .value = kLongestValue},
    Limit{.id = SQLITE_LIMIT_SQL_LENGTH, .value = 64 << 10},
    Limit{.id = SQLITE_LIMIT_COLUMN, .value = 64},
    Limit{.id = SQLITE_LIMIT_EXPR_DEPTH, .value = 32},
    Limit{.id = SQLITE_LIMIT_COMPOUND_SELECT, .value = 4},
    Limit{.id = SQLITE_LIMIT_VDBE_OP, .value = 4096},
    Limit{.id = SQLITE_LIMIT_ATTACHED, .value = 0},
};

struct Setting {
  int id;
  int value;
};
// Only a statement that writes runs a trigger, and only a function loads an extension; the authorizer refuses both.
constexpr std::array kSettings{
    Setting{.id = SQLITE_DBCONFIG_DEFENSIVE, .value = 1},
    Setting{.id = SQLITE_DBCONFIG_TRUSTED_SCHEMA, .value = 0},
    Setting{.id = SQLITE_DBCONFIG_ENABLE_TRIGGER, .value = 0},
    Setting{.id = SQLITE_DBCONFIG_ENABLE_VIEW, .value = 0},
    Setting{.id = SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, .value = 0},
};

constexpr int kStepsBetweenPolls = 10'000;

bool isOfContent(int code) {
  switch (code & 0xFF) {
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
    case SQLITE_TOOBIG:
    case SQLITE_ERROR:
    case SQLITE_SCHEMA:
    case SQLITE_MISMATCH:
    case SQLITE_AUTH: return true;
    default: return false;
  }
}

int errnoOf(sqlite3* database, int code) {
  switch (code & 0xFF) {
    case SQLITE_FULL: return ENOSPC;
    case SQLITE_NOMEM: return ENOMEM;
    case SQLITE_INTERRUPT: return ECANCELED;
    default: break;
  }
  const int error = database == nullptr ? 0 : sqlite3_system_errno(database);
  return error != 0 ? error : EIO;
}

[[noreturn]] void fail(sqlite3* database, int code) {
  const std::string problem = database == nullptr ? sqlite3_errstr(code) : sqlite3_errmsg(database);
  throw DatabaseError(problem, isOfContent(code), isOfContent(code) ? 0 : errnoOf(database, code));
}

DatabaseError wrongType() { return {"a value has the wrong type", /*isDamage=*/true}; }

// As a URI: only that form can say that the file does not change.
std::string immutableURI(const std::string& file) {
  std::string uri = "file:";
  constexpr std::string_view kHex = "0123456789ABCDEF";
  for (const char character : file) {
    const auto byte = static_cast<unsigned char>(character);
    const bool isPlain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
                         byte == '/' || byte == '.' || byte == '-' || byte == '_';
    if (isPlain) {
      uri += character;
    } else {
      ((uri += '%') += kHex[byte >> 4U]) += kHex[byte & 15U];
    }
  }
  return uri + "?immutable=1";
}

// Our own statements only read tables.
int authorize(void* /*context*/, int action, const char* /*first*/, const char* second, const char* /*third*/,
              const char* /*fourth*/) {
  switch (action) {
    case SQLITE_SELECT:
    case SQLITE_READ: return SQLITE_OK;
    case SQLITE_FUNCTION: return std::string_view(second) == "count" ? SQLITE_OK : SQLITE_DENY;
    case SQLITE_PRAGMA: return SQLITE_OK;
    default: return SQLITE_DENY;
  }
}

int poll(void* cancellation) { return static_cast<const Cancellation*>(cancellation)->isCancelled() ? 1 : 0; }

}  // namespace

Statement::Statement(sqlite3* database, std::string_view sql) : database_(database) {
  check(sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement_, nullptr));
}

Statement::~Statement() { sqlite3_finalize(statement_); }

Statement::Statement(Statement&& other) noexcept
    : database_(other.database_),
      statement_(std::exchange(other.statement_, nullptr)),
      parameter_(other.parameter_),
      column_(other.column_) {}

void Statement::check(int code) const {
  if (code != SQLITE_OK && code != SQLITE_ROW && code != SQLITE_DONE) fail(database_, code);
}

void Statement::bind(std::int64_t value) { check(sqlite3_bind_int64(statement_, ++parameter_, value)); }
void Statement::bind(double value) { check(sqlite3_bind_double(statement_, ++parameter_, value)); }
void Statement::bindNull() { check(sqlite3_bind_null(statement_, ++parameter_)); }

void Statement::bind(std::string_view bytes) {
  const char* data = bytes.data() == nullptr ? "" : bytes.data();
  const bool isUTF8 = unicode::isASCII(bytes) || Text::validUTF8(bytes) == bytes;
  const bool isText = isUTF8 && bytes.find('\0') == std::string_view::npos;
  ++parameter_;
  check(isText ? sqlite3_bind_text64(statement_, parameter_, data, bytes.size(), SQLITE_STATIC, SQLITE_UTF8)
               : sqlite3_bind_blob64(statement_, parameter_, data, bytes.size(), SQLITE_STATIC));
}

// The code of sqlite3_reset is that of the step before.
void Statement::reset() {
  (void)sqlite3_reset(statement_);
  parameter_ = 0;
}

void Statement::run() {
  check(sqlite3_step(statement_));
  check(sqlite3_reset(statement_));
  parameter_ = 0;
}

bool Statement::step() {
  column_ = 0;
  const int code = sqlite3_step(statement_);
  if (code == SQLITE_ROW) return true;
  check(code);
  check(sqlite3_reset(statement_));
  parameter_ = 0;
  return false;
}

Statement::Kind Statement::kind() const {
  switch (sqlite3_column_type(statement_, column_)) {
    case SQLITE_INTEGER: return Kind::integer;
    case SQLITE_FLOAT: return Kind::real;
    case SQLITE_TEXT: return Kind::text;
    case SQLITE_BLOB: return Kind::blob;
    default: return Kind::null;
  }
}

bool Statement::isNull() const { return sqlite3_column_type(statement_, column_) == SQLITE_NULL; }

std::int64_t Statement::integer() {
  if (sqlite3_column_type(statement_, column_) != SQLITE_INTEGER) throw wrongType();
  return sqlite3_column_int64(statement_, column_++);
}

double Statement::real() {
  const int type = sqlite3_column_type(statement_, column_);
  if (type != SQLITE_FLOAT && type != SQLITE_INTEGER) throw wrongType();
  return sqlite3_column_double(statement_, column_++);
}

std::string_view Statement::bytes() {
  const int type = sqlite3_column_type(statement_, column_);
  if (type != SQLITE_TEXT && type != SQLITE_BLOB) throw wrongType();
  const void* data = sqlite3_column_blob(statement_, column_);
  const int size = sqlite3_column_bytes(statement_, column_++);
  return data == nullptr ? std::string_view()
                         : std::string_view(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

void Database::Close::operator()(sqlite3* connection) const { sqlite3_close_v2(connection); }

Database::Database(const std::string& file, int flags) {
  sqlite3* connection = nullptr;
  const int code =
      sqlite3_open_v2(file.c_str(), &connection, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  connection_.reset(connection);
  if (code != SQLITE_OK) fail(connection, code);
}

Database Database::makeIn(const std::string& file) {
  Database database(file, SQLITE_OPEN_READWRITE);
  database.execute(
      "PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA locking_mode=EXCLUSIVE;"
      "PRAGMA temp_store=MEMORY; PRAGMA cache_size=-256; PRAGMA page_size=4096; PRAGMA auto_vacuum=NONE;");
  return database;
}

Database Database::openUntrusted(const std::string& file) {
  Database database(immutableURI(file), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
  sqlite3* connection = database.connection_.get();
  for (const Limit& limit : kLimits) sqlite3_limit(connection, limit.id, limit.value);
  for (const Setting& setting : kSettings) {
    const int code = sqlite3_db_config(connection, setting.id, setting.value, nullptr);
    if (code != SQLITE_OK) fail(connection, code);
  }
  // Some builds of SQLite map files by default. A file that shrinks while it is mapped ends the process.
  database.execute(
      "PRAGMA cell_size_check=ON; PRAGMA mmap_size=0; PRAGMA temp_store=MEMORY; PRAGMA cache_size=-2048;"
      "PRAGMA query_only=ON;");
  sqlite3_set_authorizer(connection, authorize, nullptr);
  return database;
}

void Database::execute(const std::string& sql) const {
  const int code = sqlite3_exec(connection_.get(), sql.c_str(), nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) fail(connection_.get(), code);
}

std::int64_t Database::pragma(std::string_view name) const {
  Statement statement = prepare("PRAGMA " + std::string(name));
  return statement.step() ? statement.integer() : 0;
}

void Database::checkTable(std::string_view name) const {
  Statement statement = prepare("PRAGMA quick_check(" + std::string(name) + ")");
  while (statement.step()) {
    const std::string answer(statement.bytes());
    if (answer != "ok") throw DatabaseError(answer, /*isDamage=*/true);
  }
}

Database::Abilities Database::abilities() const {
  const auto isOn = [&](int setting) {
    int value = 0;
    return sqlite3_db_config(connection_.get(), setting, -1, &value) != SQLITE_OK || value != 0;
  };
  return {.attachedFiles = sqlite3_limit(connection_.get(), SQLITE_LIMIT_ATTACHED, -1),
          .runsTriggers = isOn(SQLITE_DBCONFIG_ENABLE_TRIGGER),
          .loadsExtensions = isOn(SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION)};
}

void Database::stopAt(const Cancellation& cancellation) {
  cancellation_ = std::make_unique<Cancellation>(cancellation);
  sqlite3_progress_handler(connection_.get(), kStepsBetweenPolls, poll, cancellation_.get());
}

void Database::close() {
  sqlite3* connection = connection_.release();
  const int code = sqlite3_close(connection);
  if (code == SQLITE_OK) return;
  connection_.reset(connection);
  fail(connection, code);
}

}  // namespace quarn

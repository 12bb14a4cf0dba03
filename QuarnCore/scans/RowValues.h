#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "QuarnCore/scans/Database.h"
#include "QuarnCore/scans/ScanContent.h"
#include "QuarnModels/RawValue.h"

/// Values as columns of rows: `RowWriter` binds them as parameters, `RowReader` reads them from a row. A reader throws
/// DatabaseError (damage) for a value that no writer writes.
namespace quarn::scans {

inline DatabaseError damage(const char* problem) { return {problem, /*isDamage=*/true}; }

/// The id of a row that SQLite counts (`RowIDs::counted`). It is bound to nothing.
struct CountedID {};

/// Binds values, and runs the statement unless more rows are to follow.
class RowWriter {
 public:
  enum class Then : std::uint8_t { run, wait };

  explicit RowWriter(Statement& statement, Then then = Then::run) : statement_(statement), then_(then) {}

  template <class... Values>
  void operator()(const Values&... values) {
    (put(values), ...);
    if (then_ == Then::run) statement_.run();
  }

 private:
  void put(CountedID /*not a parameter*/) {}
  void put(std::string_view text) { statement_.bind(text); }
  void put(const std::string& text) { statement_.bind(std::string_view(text)); }
  void put(std::int64_t value) { statement_.bind(value); }
  void put(std::uint32_t value) { statement_.bind(std::int64_t{value}); }
  void put(bool value) { statement_.bind(std::int64_t{value}); }
  void put(double value) { statement_.bind(value); }
  void put(Date date) { statement_.bind(std::int64_t{date.time_since_epoch().count()}); }
  void put(const FileURL& url) {
    put(url.path());
    put(url.hasDirectoryPath());
  }
  void put(const SizeInfo& size) {
    put(size.allocatedBytes);
    put(size.logicalBytes);
  }
  void put(const std::optional<SizeInfo>& size) {
    if (size) return put(*size);
    statement_.bindNull();
    statement_.bindNull();
  }
  template <class Value>
  void put(const std::optional<Value>& value) {
    if (value) return put(*value);
    statement_.bindNull();
  }
  template <class Enumeration>
  requires std::is_enum_v<Enumeration>
  void put(Enumeration value) { statement_.bind(rawValue(value)); }

  Statement& statement_;
  Then then_;
};

/// Reads values and checks them.
class RowReader {
 public:
  explicit RowReader(Statement& statement) : statement_(statement) {}

  template <class... Values>
  void operator()(Values&... values) {
    (get(values), ...);
  }

 private:
  void get(std::string& text) { text = statement_.bytes(); }
  void get(std::int64_t& value) { value = statement_.integer(); }
  void get(std::uint32_t& value) {
    const std::int64_t number = statement_.integer();
    if (number < 0 || number > std::numeric_limits<std::uint32_t>::max()) throw damage("a number is out of range");
    value = static_cast<std::uint32_t>(number);
  }
  void get(bool& value) {
    const std::int64_t number = statement_.integer();
    if (number != 0 && number != 1) throw damage("a truth value is neither 0 nor 1");
    value = number != 0;
  }
  void get(double& value) { value = statement_.real(); }
  void get(Date& date) {
    // Year 9999 is the last one that the text form can express.
    constexpr std::int64_t kLast = 253'402'300'799;
    const std::int64_t seconds = statement_.integer();
    if (seconds < -kLast || seconds > kLast) throw damage("a time is out of range");
    date = Date(std::chrono::seconds(seconds));
  }
  void get(FileURL& url) {
    const std::string path(statement_.bytes());
    bool isFolder = false;
    get(isFolder);
    if (!path.starts_with('/') || path.find('\0') != std::string::npos) throw damage("a path is not absolute");
    url = FileURL(path, isFolder ? URLKind::directory : URLKind::item);
  }
  void get(SizeInfo& size) {
    get(size.allocatedBytes);
    get(size.logicalBytes);
    if (size.allocatedBytes < 0 || size.logicalBytes < 0) throw damage("a size is negative");
  }
  void get(std::optional<SizeInfo>& size) {
    if (!statement_.isNull()) return get(size.emplace());
    size.reset();
    statement_.skip();
    statement_.skip();
  }
  template <class Value>
  void get(std::optional<Value>& value) {
    if (!statement_.isNull()) return get(value.emplace());
    value.reset();
    statement_.skip();
  }
  template <class Enumeration>
  requires std::is_enum_v<Enumeration>
  void get(Enumeration& value) {
    const std::optional<Enumeration> known = fromRawValue<Enumeration>(statement_.bytes());
    if (!known) throw damage("a name is unknown");
    value = *known;
  }

  Statement& statement_;
};

/// Calls `consume(RowReader&)` for each row.
template <class Consume>
void eachRow(const Database& database, std::string_view sql, const Consume& consume) {
  Statement statement = database.prepare(sql);
  while (statement.step()) {
    RowReader row(statement);
    consume(row);
  }
}

}  // namespace quarn::scans

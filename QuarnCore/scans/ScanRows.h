#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include "QuarnCore/scans/Database.h"
#include "QuarnCore/scans/ScanContent.h"
#include "QuarnModels/RawValue.h"

/// The records of a scan as rows. One function per table lists its columns in order; `RowWriter` binds them as
/// parameters, `RowReader` reads them from a row. A reader throws DatabaseError (damage) for a value that no writer
/// writes.
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

// The columns of each table. `Row` is a RowWriter with const records or a RowReader.

template <class Row, class Facts>
void scanColumns(Row& row, Facts& facts) {
  row(facts.programVersion, facts.vendorProfiles, facts.locale, facts.startedAt, facts.finishedAt, facts.home,
      facts.volume.name, facts.volume.url, facts.volume.totalBytes, facts.volume.freeBytes, facts.hasCapacity,
      facts.keptAbove, facts.files, facts.folders);
}

template <class Row, class Number, class User>
void userColumns(Row& row, Number& id, User& user) {
  row(id, user.home, user.location, user.isRead);
}

template <class Row, class Category>
void categoryColumns(Row& row, Category& category) {
  row(category.id, category.size);
}

/// A hint's columns; all are NULL without a hint.
struct HintColumns {
  std::optional<std::string> vendorID{};
  std::optional<std::string> vendorName{};
  std::optional<StorageCategoryID> category{};
  std::optional<ArtifactKind> kind{};
  std::optional<ArtifactDataClass> dataClass{};
  std::optional<std::string> title{};
  std::optional<std::string> explanation{};
  std::optional<RiskLevel> risk{};
  std::optional<std::string> path{};
};

template <class Row, class Root, class Hint, class Number>
void rootColumns(Row& row, Root& root, Hint& hint, Number& user) {
  row(root.category, root.isListed, root.url, root.size, hint.vendorID, hint.vendorName, hint.category, hint.kind,
      hint.dataClass, hint.title, hint.explanation, hint.risk, hint.path, user);
}

template <class Row, class Place>
void placeColumns(Row& row, Place& place) {
  row(place.category, place.url);
}

template <class Row, class Hint>
void vendorPathColumns(Row& row, Hint& hint) {
  row(hint.vendorID, hint.vendorName, hint.category, hint.artifactKind, hint.artifactDataClass, hint.artifactTitle,
      hint.explanation, hint.riskLevel, hint.path);
}

template <class Row, class Number, class App>
void appColumns(Row& row, Number& id, App& app) {
  row(id, app.inspection.app.name, app.inspection.app.bundleIdentifier, app.inspection.app.bundleURL,
      app.inspection.app.id, app.inspection.app.version, app.size, app.inspection.inspectedAt);
}

template <class Row, class Number, class Uninstaller>
void uninstallerColumns(Row& row, Number& app, Uninstaller& uninstaller) {
  row(app, uninstaller.url, uninstaller.name, uninstaller.confidence);
}

template <class Row, class Number, class Record>
void artifactColumns(Row& row, Number& id, Number& app, Record& artifact) {
  row(id, app, artifact.id, artifact.kind, artifact.dataClass, artifact.scope, artifact.size, artifact.riskLevel,
      artifact.confidence, artifact.title, artifact.explanation);
}

/// The owner of an orphaned entry; NULL for others.
struct FormerColumns {
  std::optional<std::string> name{};
  std::optional<std::string> bundleIdentifier{};
};

template <class Row, class Number, class Entry, class Former>
void entryColumns(Row& row, Number& id, Entry& entry, Former& former) {
  row(id, entry.url, entry.status, entry.ownersLeftOut, entry.evidence, entry.confidence, entry.place, entry.kind,
      entry.scope, entry.dataClass, entry.riskLevel, former.name, former.bundleIdentifier, entry.orphanKind);
}

template <class Row, class Number, class Flag, class Claim>
void claimColumns(Row& row, Number& entry, Flag& isRival, Claim& claim) {
  row(entry, isRival, claim.appID, claim.appName, claim.bundleIdentifier, claim.bundleURL, claim.evidence,
      claim.confidence);
}

template <class Row, class Number, class Record>
void leftoverColumns(Row& row, Number& id, Record& leftover) {
  row(id, leftover.owner.name, leftover.owner.bundleIdentifier, leftover.modified, leftover.size);
}

template <class Row, class Number, class Item>
void leftoverItemColumns(Row& row, Number& leftover, Item& item) {
  row(leftover, item.url, item.place, item.kind, item.scope, item.dataClass, item.riskLevel, item.evidence,
      item.modified, item.size);
}

template <class Row, class Number, class Job>
void jobColumns(Row& row, Number& id, Job& job) {
  row(id, job.label, job.program, job.url);
}

template <class Row, class Receipt>
void receiptColumns(Row& row, Receipt& receipt) {
  row(receipt.packageIdentifier, receipt.version, receipt.installDate);
}

template <class Row, class Extension>
void extensionColumns(Row& row, Extension& extension) {
  row(extension.name, extension.bundleIdentifier, extension.url, extension.version, extension.size);
}

template <class Row, class ID, class Folder, class Number>
void folderColumns(Row& row, ID& id, Folder& folder, Number& marks) {
  row(id, folder.parent, folder.descendants, folder.name, folder.sizes, folder.files, folder.newest, marks);
}

template <class Row, class File>
void fileColumns(Row& row, File& file) {
  row(file.folder, file.name, file.sizes, file.modified, file.isHidden);
}

// The bits of the column `marks` of a folder.
inline constexpr std::int64_t kHiddenMark = 1;
inline constexpr std::int64_t kPackageMark = 2;
inline constexpr std::int64_t kUnreadMark = 4;

}  // namespace quarn::scans

#include <cstdint>
#include <utility>

#include "QuarnCore/scans/ScanHeader.h"
#include "QuarnCore/scans/ScanRows.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "QuarnCore/scans/ScanState.h"

// Opens a scan and reads its lists.

namespace quarn {
namespace {

using scans::damage;
using scans::eachRow;
using scans::RowReader;

constexpr std::int64_t kFormatWithUsers = 2;

/// The position of a row in a list of that length. Ids count from 1.
std::size_t positionOf(std::int64_t id, std::size_t count) {
  if (id < 1 || id > static_cast<std::int64_t>(count)) throw damage("a row belongs to no other");
  return static_cast<std::size_t>(id - 1);
}

template <class Owner>
Owner& ownerOf(std::int64_t id, std::vector<Owner>& owners) {
  return owners[positionOf(id, owners.size())];
}

// Ids count from 1 in the order of the rows.
void checkID(std::int64_t id, std::size_t position) {
  if (id != static_cast<std::int64_t>(position) + 1) throw damage("an id is out of order");
}

std::optional<VendorPathHint> hintOf(const scans::HintColumns& columns) {
  if (!columns.vendorID) return std::nullopt;
  if (!columns.vendorName || !columns.category || !columns.kind || !columns.dataClass || !columns.title ||
      !columns.risk || !columns.path) {
    throw damage("a hint is incomplete");
  }
  return VendorPathHint{.vendorID = *columns.vendorID,
                        .vendorName = *columns.vendorName,
                        .category = *columns.category,
                        .artifactKind = *columns.kind,
                        .artifactDataClass = *columns.dataClass,
                        .artifactTitle = *columns.title,
                        .explanation = columns.explanation,
                        .riskLevel = *columns.risk,
                        .path = *columns.path};
}

ScanValue valueOf(Statement& statement) {
  switch (statement.kind()) {
    case Statement::Kind::integer: return statement.integer();
    case Statement::Kind::real: return statement.real();
    case Statement::Kind::text: return std::string(statement.bytes());
    case Statement::Kind::blob: return ScanBlob{std::string(statement.bytes())};
    case Statement::Kind::null: break;
  }
  statement.skip();
  return std::monostate();
}

void checkSchema(const Database& database, std::int64_t format) {
  Statement statement = database.prepare("SELECT type, name, sql FROM sqlite_schema ORDER BY rowid");
  for (const ScanTable& table : scanTables(format)) {
    if (!statement.step()) throw damage("a table is missing");
    const bool isTable = statement.bytes() == "table";
    const bool isNamed = statement.bytes() == table.name;
    if (!isTable || !isNamed || statement.isNull() || statement.bytes() != createStatement(table)) {
      throw damage("a table has another form");
    }
  }
  if (statement.step()) throw damage("there is something besides the tables");
}

ScanFacts readFacts(const Database& database) {
  ScanFacts facts;
  std::size_t rows = 0;
  eachRow(database, "SELECT * FROM scan LIMIT 2", [&](RowReader& row) {
    scans::scanColumns(row, facts);
    ++rows;
  });
  if (rows != 1) throw damage("there is not one scan");  // without a row, the count of folders is impossible too
  if (facts.keptAbove < -1 || facts.files < 0 || facts.folders < 1) throw damage("a count is negative");
  return facts;
}

std::vector<ScannedUser> readUsers(const Database& database) {
  std::vector<ScannedUser> users;
  eachRow(database, "SELECT * FROM users ORDER BY id", [&](RowReader& row) {
    std::int64_t id = 0;
    ScannedUser& user = users.emplace_back();
    scans::userColumns(row, id, user);
    checkID(id, users.size() - 1);
    if (!user.location.starts_with('/') || user.location.find('\0') != std::string::npos) {
      throw damage("a path is not absolute");
    }
  });
  return users;
}

void addArtifacts(const Database& database, std::vector<ScannedApp>& apps) {
  eachRow(database, "SELECT * FROM uninstallers ORDER BY rowid", [&](RowReader& row) {
    std::int64_t app = 0;
    UninstallerCandidate uninstaller;
    scans::uninstallerColumns(row, app, uninstaller);
    ownerOf(app, apps).inspection.uninstallers.push_back(std::move(uninstaller));
  });
  std::vector<std::pair<std::int64_t, Artifact>> artifacts;
  eachRow(database, "SELECT * FROM artifacts ORDER BY id", [&](RowReader& row) {
    auto& [app, artifact] = artifacts.emplace_back();
    std::int64_t id = 0;
    scans::artifactColumns(row, id, app, artifact);
    checkID(id, artifacts.size() - 1);
  });
  eachRow(database, "SELECT * FROM artifact_items ORDER BY rowid", [&](RowReader& row) {
    std::int64_t artifact = 0;
    FileURL url;
    row(artifact, url);
    ownerOf(artifact, artifacts).second.urls.push_back(std::move(url));
  });
  for (auto& [app, artifact] : artifacts) ownerOf(app, apps).inspection.artifacts.push_back(std::move(artifact));
}

void addClaims(const Database& database, std::vector<Ownership>& entries) {
  eachRow(database, "SELECT * FROM claims ORDER BY rowid", [&](RowReader& row) {
    std::int64_t id = 0;
    bool isRival = false;
    OwnershipClaim claim;
    scans::claimColumns(row, id, isRival, claim);
    Ownership& entry = ownerOf(id, entries);
    (isRival ? entry.rivals : entry.owners).push_back(std::move(claim));
  });
}

}  // namespace

Scan Scan::open(const std::string& file) {
  const std::int64_t format = checkScanHeader(file);
  try {
    Scan scan(std::make_shared<State>(file, Database::openUntrusted(file)));
    scan.state_->format = format;
    scan.state_->facts = scan.reading({"sqlite_schema", "scan"}, [&](const Database& database) {
      checkSchema(database, format);
      return readFacts(database);
    });
    if (format >= kFormatWithUsers) scan.state_->users = scan.reading({"users"}, readUsers);
    return scan;
  } catch (const DatabaseError& error) {
    if (error.isDamage()) throw ScanError(ScanError::Problem::damaged, file);
    throwFileError(error.error(), "read", file);
  }
}

const std::string& Scan::file() const { return state_->file; }
const ScanFacts& Scan::facts() const { return state_->facts; }
const std::vector<ScannedUser>& Scan::users() const { return state_->users; }

HomeFolders Scan::homes() const {
  std::vector<HomeFolders::Located> homes;
  for (const ScannedUser& user : users()) homes.push_back({.url = user.home, .location = user.location});
  return HomeFolders(homes);
}

// The rows of a table in the order in which they were written. `read` takes one row into one record.
template <class Record, class Read>
std::vector<Record> Scan::listed(std::string_view table, const Read& read) const {
  return reading({table}, [&](const Database& database) {
    std::vector<Record> records;
    eachRow(database, "SELECT * FROM " + std::string(table) + " ORDER BY rowid",
            [&](RowReader& row) { read(row, records.emplace_back()); });
    return records;
  });
}

std::vector<StorageCategory> Scan::categories() const {
  return listed<StorageCategory>("categories",
                                 [](RowReader& row, auto& category) { scans::categoryColumns(row, category); });
}

std::vector<ScannedRoot> Scan::roots() const {
  return reading({"category_roots"}, [&](const Database& database) {
    std::vector<ScannedRoot> roots;
    const bool hasUsers = state_->format >= kFormatWithUsers;
    const std::string_view columns = hasUsers ? "*" : "*, NULL";
    eachRow(database, "SELECT " + std::string(columns) + " FROM category_roots ORDER BY rowid", [&](RowReader& row) {
      scans::HintColumns hint;
      std::optional<std::int64_t> user;
      scans::rootColumns(row, roots.emplace_back(), hint, user);
      roots.back().hint = hintOf(hint);
      if (user) roots.back().user = positionOf(*user, users().size());
    });
    return roots;
  });
}

std::vector<ScannedPlace> Scan::places() const {
  return listed<ScannedPlace>("category_paths", [](RowReader& row, auto& place) { scans::placeColumns(row, place); });
}

std::vector<VendorPathHint> Scan::vendorPaths() const {
  return listed<VendorPathHint>("vendor_paths", [](RowReader& row, VendorPathHint& hint) {
    scans::vendorPathColumns(row, hint);
    if (!hint.path.starts_with('/')) throw damage("a path is not absolute");
  });
}

std::vector<ScannedApp> Scan::apps(bool withInspections) const {
  const auto read = [&](const Database& database) {
    std::vector<ScannedApp> apps;
    eachRow(database, "SELECT * FROM apps ORDER BY id", [&](RowReader& row) {
      std::int64_t id = 0;
      scans::appColumns(row, id, apps.emplace_back());
      checkID(id, apps.size() - 1);
    });
    if (withInspections) addArtifacts(database, apps);
    return apps;
  };
  return withInspections ? reading({"apps", "uninstallers", "artifacts", "artifact_items"}, read)
                         : reading({"apps"}, read);
}

std::vector<Ownership> Scan::entries() const {
  return reading({"entries", "claims"}, [](const Database& database) {
    std::vector<Ownership> entries;
    eachRow(database, "SELECT * FROM entries ORDER BY id", [&](RowReader& row) {
      std::int64_t id = 0;
      scans::FormerColumns former;
      Ownership& entry = entries.emplace_back();
      scans::entryColumns(row, id, entry, former);
      checkID(id, entries.size() - 1);
      if (former.name) entry.formerOwner = {.name = *former.name, .bundleIdentifier = former.bundleIdentifier};
    });
    addClaims(database, entries);
    return entries;
  });
}

std::vector<Ownership> Scan::owners() const {
  return reading({"entries", "claims"}, [](const Database& database) {
    std::vector<Ownership> entries;
    constexpr std::string_view kOwners =
        "SELECT id, path, is_folder, status, owners_left_out, former_name, former_identifier FROM entries ORDER BY id";
    eachRow(database, kOwners, [&](RowReader& row) {
      std::int64_t id = 0;
      scans::FormerColumns former;
      Ownership& entry = entries.emplace_back();
      row(id, entry.url, entry.status, entry.ownersLeftOut, former.name, former.bundleIdentifier);
      checkID(id, entries.size() - 1);
      if (former.name) entry.formerOwner = {.name = *former.name, .bundleIdentifier = former.bundleIdentifier};
    });
    addClaims(database, entries);
    return entries;
  });
}

std::vector<ScannedPackage> Scan::packages() const {
  return listed<ScannedPackage>("entry_packages", [](RowReader& row, ScannedPackage& package) {
    std::uint32_t entry = 0;
    row(entry, package.identifier);
    if (entry == 0) throw damage("a row belongs to no other");
    package.entry = entry - 1;
  });
}

std::vector<Leftover> Scan::leftovers(std::size_t most) const {
  return reading({"leftovers", "leftover_items"}, [&](const Database& database) {
    std::vector<Leftover> leftovers;
    const auto upTo = [&](std::string_view column) {
      return most == kAllLeftovers ? "" : " WHERE " + std::string(column) + " <= " + std::to_string(most);
    };
    eachRow(database, "SELECT * FROM leftovers" + upTo("id") + " ORDER BY id", [&](RowReader& row) {
      std::int64_t id = 0;
      scans::leftoverColumns(row, id, leftovers.emplace_back());
      checkID(id, leftovers.size() - 1);
    });
    eachRow(database, "SELECT * FROM leftover_items" + upTo("leftover") + " ORDER BY rowid", [&](RowReader& row) {
      std::int64_t leftover = 0;
      LeftoverItem item;
      scans::leftoverItemColumns(row, leftover, item);
      ownerOf(leftover, leftovers).items.push_back(std::move(item));
    });
    return leftovers;
  });
}

std::size_t Scan::leftoverCount() const {
  return reading({"leftovers"}, [](const Database& database) {
    std::int64_t count = 0;
    eachRow(database, "SELECT count(*) FROM leftovers", [&](RowReader& row) { row(count); });
    return static_cast<std::size_t>(count);
  });
}

std::vector<LaunchdEntry> Scan::jobs() const {
  return reading({"jobs", "job_arguments"}, [](const Database& database) {
    std::vector<LaunchdEntry> jobs;
    eachRow(database, "SELECT * FROM jobs ORDER BY id", [&](RowReader& row) {
      std::int64_t id = 0;
      scans::jobColumns(row, id, jobs.emplace_back());
      checkID(id, jobs.size() - 1);
    });
    eachRow(database, "SELECT * FROM job_arguments ORDER BY rowid", [&](RowReader& row) {
      std::int64_t job = 0;
      std::string argument;
      row(job, argument);
      ownerOf(job, jobs).programArguments.push_back(std::move(argument));
    });
    return jobs;
  });
}

std::vector<ReceiptInfo> Scan::receipts() const {
  return listed<ReceiptInfo>("receipts", [](RowReader& row, auto& receipt) { scans::receiptColumns(row, receipt); });
}

std::vector<KernelExtensionInfo> Scan::extensions() const {
  return listed<KernelExtensionInfo>("extensions",
                                     [](RowReader& row, auto& extension) { scans::extensionColumns(row, extension); });
}

std::vector<UnreadableItem> Scan::unreadable() const {
  return listed<UnreadableItem>("unreadable", [](RowReader& row, UnreadableItem& item) {
    std::uint32_t error = 0;
    std::string name;
    row(item.path, error, name);
    item.error = static_cast<int>(error & 0xFFFFU);
    item.cause = item.error == 0 ? UnreadableCause::otherDevice : unreadableCause(item.error);
  });
}

ScanContent Scan::content() const {
  return {.facts = facts(),
          .users = users(),
          .categories = categories(),
          .roots = roots(),
          .places = places(),
          .vendorPaths = vendorPaths(),
          .apps = apps(/*withInspections=*/true),
          .entries = entries(),
          .packages = packages(),
          .leftovers = leftovers(),
          .jobs = jobs(),
          .receipts = receipts(),
          .extensions = extensions(),
          .unreadable = unreadable()};
}

std::vector<ScanTable> Scan::tables() const { return scanTables(state_->format); }

void Scan::rows(const ScanTable& table, const std::function<bool(const std::vector<ScanValue>&)>& consume) const {
  reading({table.name}, [&](const Database& database) {
    Statement statement = database.prepare("SELECT * FROM " + std::string(table.name) + " ORDER BY rowid");
    const std::size_t columns = columnCount(table);
    while (statement.step()) {
      std::vector<ScanValue> row;
      for (std::size_t i = 0; i < columns; ++i) row.push_back(valueOf(statement));
      if (!consume(row)) return;
    }
  });
}

void Scan::readAll() const {
  (void)content();
  folders(0, kLastFolder, [](const ScannedFolder&) { return true; });
  (void)largeFiles(0, kLastFolder);
  (void)hiddenSizes(0);
}

}  // namespace quarn

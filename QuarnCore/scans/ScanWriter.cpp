#include "QuarnCore/scans/ScanWriter.h"

#include <array>
#include <cerrno>
#include <future>
#include <mutex>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "QuarnCore/scans/Database.h"
#include "QuarnCore/scans/ScanRows.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/base/Interruption.h"
#include "QuarnPlatform/base/StartBeside.h"
#include "QuarnPlatform/files/HostFile.h"

// Threads of a writer. The thread that makes the writer owns it. While the writer lives, it holds the process's lock on
// unfinished files. Three threads use the database, one after another:
// 1. `startFolders` starts the first. It reads the folders, which no longer change.
// 2. `startEntries` starts the second, which begins when the first has ended.
// 3. The caller of `fill` is the third. It waits for the second.
// The destructor waits for the threads too. When the scan is cancelled, the first ends within 1,024 rows, the second
// when its source ends. No other lock is taken. Memory: the page cache of the database, and one entry.

namespace quarn {
namespace {

using scans::RowWriter;

// A statement that adds many rows costs half as much for each. All bytes that it gets must live until it has run.
constexpr std::size_t kRowsAtOnce = 64;
constexpr std::size_t kRowsBetweenPolls = 16 * kRowsAtOnce;

/// The statement that fills a table, and its parameters.
class Table {
 public:
  Table(const Database& database, std::string_view name) : insert_(database.prepare(insertStatement(name))) {}
  RowWriter row() { return RowWriter(insert_); }

 private:
  Statement insert_;
};

/// Fills a table with this number of rows, many with each statement.
class LongTable {
 public:
  LongTable(const Database& database, std::string_view name, std::size_t rows, RowIDs ids)
      : many_(database.prepare(insertStatement(name, kRowsAtOnce, ids))),
        one_(database.prepare(insertStatement(name, 1, ids))),
        rest_(rows) {}

  RowWriter row() {
    const bool fits = inStatement_ > 0 || rest_ >= kRowsAtOnce;
    --rest_;
    if (!fits) return RowWriter(one_);
    inStatement_ = (inStatement_ + 1) % kRowsAtOnce;
    return RowWriter(many_, inStatement_ == 0 ? RowWriter::Then::run : RowWriter::Then::wait);
  }

 private:
  Statement many_;
  Statement one_;
  std::size_t rest_;
  std::size_t inStatement_ = 0;
};

ScanFacts withCounts(ScanFacts facts, const RecordedFolders& folders) {
  facts.keptAbove = folders.keptAbove();
  facts.folders = static_cast<std::int64_t>(folders.size());
  facts.files = folders.at(0).files;
  return facts;
}

scans::HintColumns columnsOf(const std::optional<VendorPathHint>& hint) {
  if (!hint) return {};
  return {hint->vendorID,      hint->vendorName,  hint->category,  hint->artifactKind, hint->artifactDataClass,
          hint->artifactTitle, hint->explanation, hint->riskLevel, hint->path};
}

void writeStorage(const Database& database, const ScanContent& content) {
  Table users(database, "users");
  std::int64_t id = 0;
  for (const ScannedUser& user : content.users) {
    ++id;
    RowWriter row = users.row();
    scans::userColumns(row, id, user);
  }
  Table categories(database, "categories");
  for (const StorageCategory& category : content.categories) {
    RowWriter row = categories.row();
    scans::categoryColumns(row, category);
  }
  Table roots(database, "category_roots");
  for (const ScannedRoot& root : content.roots) {
    RowWriter row = roots.row();
    const scans::HintColumns hint = columnsOf(root.hint);
    const auto user = root.user ? std::optional(static_cast<std::int64_t>(*root.user) + 1) : std::nullopt;
    scans::rootColumns(row, root, hint, user);
  }
  Table places(database, "category_paths");
  for (const ScannedPlace& place : content.places) {
    RowWriter row = places.row();
    scans::placeColumns(row, place);
  }
  Table vendorPaths(database, "vendor_paths");
  for (const VendorPathHint& hint : content.vendorPaths) {
    RowWriter row = vendorPaths.row();
    scans::vendorPathColumns(row, hint);
  }
}

// A row of the folders, without copies of names.
struct FolderRow {
  std::uint32_t parent;
  std::uint32_t descendants;
  std::string_view name;
  SizeInfo sizes;
  std::int64_t files;
  std::optional<Date> newest;
};

// The ids count from 0, and SQLite counts on from the first. Returns false if cancelled.
bool writeFolders(const Database& database, const RecordedFolders& folders, const Cancellation& cancellation) {
  constexpr std::int64_t kFirst = 0;
  constexpr scans::CountedID kNext;
  Table first(database, "folders");
  LongTable others(database, "folders", folders.size() - 1, RowIDs::counted);
  Table hidden(database, "hidden_sizes");
  for (std::size_t i = 0; i < folders.size(); ++i) {
    if (i % kRowsBetweenPolls == 0 && cancellation.isCancelled()) return false;
    const RecordedFolders::Record record = folders.at(i);
    const std::int64_t marks = (record.isHidden ? scans::kHiddenMark : 0) +
                               (record.isPackage ? scans::kPackageMark : 0) + (record.isRead ? 0 : scans::kUnreadMark);
    const bool hasTime = record.newest != FolderObserver::kNoTime;
    const FolderRow folder{.parent = record.parent,
                           .descendants = record.descendants,
                           .name = record.name,
                           .sizes = record.sizes,
                           .files = record.files,
                           .newest = hasTime ? std::optional(Date(std::chrono::seconds(record.newest))) : std::nullopt};
    RowWriter row = i == 0 ? first.row() : others.row();
    if (i == 0) {
      scans::folderColumns(row, kFirst, folder, marks);
    } else {
      scans::folderColumns(row, kNext, folder, marks);
    }
    if (record.hiddenSizes != SizeInfo{}) hidden.row()(static_cast<std::int64_t>(i), record.hiddenSizes);
  }
  return true;
}

// A row of the largest files, without copies of names.
struct LargeFileRow {
  std::uint32_t folder;
  std::string_view name;
  SizeInfo sizes;
  Date modified;
  bool isHidden;
};

void writeFiles(const Database& database, const RecordedFolders& folders) {
  LongTable table(database, "large_files", folders.largeFiles().size(), RowIDs::given);
  for (const RecordedFolders::LargeFile& large : folders.largeFiles()) {
    const LargeFileRow file{.folder = large.folder,
                            .name = large.name,
                            .sizes = large.sizes,
                            .modified = Date(std::chrono::seconds(large.modified)),
                            .isHidden = large.isHidden};
    RowWriter row = table.row();
    scans::fileColumns(row, file);
  }
}

void writeApps(const Database& database, const std::vector<ScannedApp>& apps) {
  Table table(database, "apps");
  Table uninstallers(database, "uninstallers");
  Table artifacts(database, "artifacts");
  Table items(database, "artifact_items");
  std::int64_t appID = 0;
  std::int64_t artifactID = 0;
  for (const ScannedApp& app : apps) {
    ++appID;
    RowWriter appRow = table.row();
    scans::appColumns(appRow, appID, app);
    for (const UninstallerCandidate& uninstaller : app.inspection.uninstallers) {
      RowWriter row = uninstallers.row();
      scans::uninstallerColumns(row, appID, uninstaller);
    }
    for (const Artifact& artifact : app.inspection.artifacts) {
      ++artifactID;
      RowWriter row = artifacts.row();
      scans::artifactColumns(row, artifactID, appID, artifact);
      for (const FileURL& url : artifact.urls) items.row()(artifactID, url);
    }
  }
}

/// Writes entries with their claims and packages.
class EntryTables {
 public:
  explicit EntryTables(const Database& database)
      : entries_(database, "entries"), claims_(database, "claims"), packages_(database, "entry_packages") {}

  void add(const Ownership& entry) {
    ++id_;
    scans::FormerColumns former;
    if (entry.formerOwner) former = {entry.formerOwner->name, entry.formerOwner->bundleIdentifier};
    RowWriter row = entries_.row();
    scans::entryColumns(row, id_, entry, former);
    for (const bool isRival : {false, true}) {
      for (const OwnershipClaim& claim : isRival ? entry.rivals : entry.owners) {
        RowWriter claimRow = claims_.row();
        scans::claimColumns(claimRow, id_, isRival, claim);
      }
    }
  }
  void addPackage(std::int64_t entry, const std::string& identifier) { packages_.row()(entry, identifier); }
  [[nodiscard]] std::int64_t lastID() const { return id_; }

 private:
  Table entries_;
  Table claims_;
  Table packages_;
  std::int64_t id_ = 0;
};

void writeEntries(const Database& database, const StreamedContent::Entries& entries) {
  EntryTables tables(database);
  entries([&](const Ownership& entry, const std::vector<std::string>& packages) {
    tables.add(entry);
    for (const std::string& package : packages) tables.addPackage(tables.lastID(), package);
  });
}

void writeEntries(const Database& database, const ScanContent& content) {
  EntryTables tables(database);
  for (const Ownership& entry : content.entries) tables.add(entry);
  for (const ScannedPackage& package : content.packages) {
    tables.addPackage(static_cast<std::int64_t>(package.entry) + 1, package.identifier);
  }
}

void writeLeftovers(const Database& database, const ScanContent& content, const StreamedContent::Leftovers& streamed) {
  Table leftovers(database, "leftovers");
  Table items(database, "leftover_items");
  std::int64_t id = 0;
  const auto write = [&](const Leftover& leftover) {
    ++id;
    RowWriter row = leftovers.row();
    scans::leftoverColumns(row, id, leftover);
    for (const LeftoverItem& item : leftover.items) {
      RowWriter itemRow = items.row();
      scans::leftoverItemColumns(itemRow, id, item);
    }
  };
  if (streamed) return streamed(write);
  for (const Leftover& leftover : content.leftovers) write(leftover);
}

void writeSystem(const Database& database, const ScanContent& content) {
  Table jobs(database, "jobs");
  Table arguments(database, "job_arguments");
  std::int64_t id = 0;
  for (const LaunchdEntry& job : content.jobs) {
    ++id;
    RowWriter row = jobs.row();
    scans::jobColumns(row, id, job);
    for (const std::string& argument : job.programArguments) arguments.row()(id, argument);
  }
  Table receipts(database, "receipts");
  for (const ReceiptInfo& receipt : content.receipts) {
    RowWriter row = receipts.row();
    scans::receiptColumns(row, receipt);
  }
  Table extensions(database, "extensions");
  for (const KernelExtensionInfo& extension : content.extensions) {
    RowWriter row = extensions.row();
    scans::extensionColumns(row, extension);
  }
  Table unreadable(database, "unreadable");
  for (const UnreadableItem& item : content.unreadable) {
    unreadable.row()(item.path, std::int64_t{item.error}, item.error == 0 ? std::string() : errnoName(item.error));
  }
}

void createTables(const Database& database) {
  database.execute("PRAGMA application_id=" + std::to_string(kScanApplicationID) +
                   "; PRAGMA user_version=" + std::to_string(kScanFormat) + "; BEGIN");
  for (const ScanTable& table : scanTables()) database.execute(createStatement(table));
}

// All but the folders, the files and the entries.
void writeContent(const Database& database, const ScanContent& content, const StreamedContent::Leftovers& leftovers,
                  const RecordedFolders& folders) {
  {
    Table table(database, "scan");
    const ScanFacts facts = withCounts(content.facts, folders);
    RowWriter row = table.row();
    scans::scanColumns(row, facts);
  }
  writeStorage(database, content);
  writeApps(database, content.apps);
  writeLeftovers(database, content, leftovers);
  writeSystem(database, content);
  database.execute("COMMIT");
}

// SQLite does not keep the errno of every write that fails. Another write tells it.
int writeError(const std::string& file) {
  constexpr std::array<char, 4096> kPage{};
  const FileDescriptor descriptor(::open(file.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  if (!descriptor.isOpen()) return errno;
  const ssize_t written = againIfInterrupted([&] { return ::write(descriptor.get(), kPage.data(), kPage.size()); });
  return written < 0 ? errno : EIO;
}

}  // namespace

struct ScanWriter::State {
  explicit State(const std::string& path) : file(path), replaced(path) {}

  // A signal removes one unfinished file, so there is one at a time.
  static std::mutex& writing() {
    static std::mutex mutex;
    return mutex;
  }
  // Says what the matter is in terms of the file.
  template <class Write>
  auto guarded(const Write& write) {
    try {
      return write();
    } catch (const DatabaseError& error) {
      throwFileError(error.error() != EIO ? error.error() : writeError(replaced.temporary()), "write", file);
    }
  }

  const std::lock_guard<std::mutex> lock{writing()};
  const std::string file;
  ReplacedHostFile replaced;
  std::optional<Database> database{};
  const RecordedFolders* folders = nullptr;
  const Cancellation* cancellation = nullptr;
  bool hasEntries = false;  // `startEntries` was called
  // Whether all that was started is written. Last: its destructor waits for the threads, which use the others.
  std::future<bool> isStartedWritten{};
};

ScanWriter::ScanWriter(const std::string& file) : state_(std::make_unique<State>(file)) {
  state_->guarded([&] {
    state_->database.emplace(Database::makeIn(state_->replaced.temporary()));
    createTables(*state_->database);
  });
}

ScanWriter::~ScanWriter() = default;

void ScanWriter::startFolders(const RecordedFolders& folders, const Cancellation& cancellation) {
  state_->folders = &folders;
  state_->cancellation = &cancellation;
  state_->isStartedWritten = startBeside([&state = *state_, &folders, &cancellation] {
    if (!writeFolders(*state.database, folders, cancellation)) return false;
    writeFiles(*state.database, folders);
    state.replaced.beginWriteBack();  // most of the file
    return true;
  });
}

void ScanWriter::startEntries(StreamedContent::Entries entries) {
  state_->hasEntries = true;
  state_->isStartedWritten = startBeside([&database = *state_->database, entries = std::move(entries),
                                          areFoldersWritten = std::move(state_->isStartedWritten)]() mutable {
    if (!areFoldersWritten.get()) return false;
    writeEntries(database, entries);
    return true;
  });
}

bool ScanWriter::fill(const ScanContent& content, const StreamedContent::Leftovers& leftovers) {
  const bool isFilled = state_->guarded([&] {
    if (!state_->isStartedWritten.get()) return false;
    if (!state_->hasEntries) writeEntries(*state_->database, content);
    writeContent(*state_->database, content, leftovers, *state_->folders);
    state_->database->close();
    return true;
  });
  return isFilled && !state_->cancellation->isCancelled();
}

void ScanWriter::commit() { state_->replaced.commit(); }

bool writeScan(const std::string& file, const ScanContent& content, const RecordedFolders& folders,
               const Cancellation& cancellation) {
  ScanWriter writer(file);
  writer.startFolders(folders, cancellation);
  if (!writer.fill(content)) return false;
  writer.commit();
  return true;
}

}  // namespace quarn

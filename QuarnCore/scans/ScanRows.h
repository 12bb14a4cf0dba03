#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "QuarnCore/scans/RowValues.h"
#include "QuarnCore/scans/ScanContent.h"

/// The records of a scan as rows. One function per table lists its columns in order. `Row` is a RowWriter with const
/// records, or a RowReader.
namespace quarn::scans {

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

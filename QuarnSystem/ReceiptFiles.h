#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Date.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/paths/PackedPaths.h"

namespace quarn {

/// A receipt as its property list has it, without what its bill lists. A plain value.
struct ReceiptFile {
  std::string identifier;  ///< of the package; not empty
  std::optional<std::string> version;
  std::optional<Date> installDate;
  std::string installLocation;  ///< an absolute path in plain form
  FileURL bill;                 ///< where its bill of materials is, if it has one
};

/// The receipts in /private/var/db/receipts, /Library/Apple/System/Library/Receipts and /Library/Receipts: property
/// lists, and packages ("X.pkg") of systems before 10.6. A file without a package identifier is not a receipt. By
/// package identifier ascending; equal ones in the order of the folders and of the names in them.
std::vector<ReceiptFile> readReceiptFiles(const FileManager& files);

/// What the bill of materials at a URL lists, relative to the install location. Files and links are marked, folders and
/// devices are not. Absent when there is no readable bill.
std::optional<PackedPaths> readBillPaths(const FileManager& files, const FileURL& bill);

}  // namespace quarn

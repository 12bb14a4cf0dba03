#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Date.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/paths/PackedPaths.h"

namespace quarn {

/// A receipt without its bill of materials.
struct ReceiptFile {
  std::string identifier;  ///< package identifier; not empty
  std::optional<std::string> version;
  std::optional<Date> installDate;
  std::string installLocation;  ///< an absolute path in plain form
  FileURL bill;                 ///< URL of its bill of materials, if it has one
};

/// Reads the receipts in /private/var/db/receipts, /Library/Apple/System/Library/Receipts and /Library/Receipts:
/// property lists, and packages ("X.pkg") of systems before 10.6. Skips files without a package identifier. Sorted by
/// package identifier; equal ones in the order of the folders and file names.
std::vector<ReceiptFile> readReceiptFiles(const FileManager& files);

/// Reads the paths in a bill of materials, relative to the install location. Files and links are marked, folders and
/// devices are not. Absent if there is no readable bill.
std::optional<PackedPaths> readBillPaths(const FileManager& files, const FileURL& bill);

}  // namespace quarn

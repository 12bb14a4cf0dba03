#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

/// When and how a scan was made, and of what.
struct ScanFacts {
  std::string programVersion{};
  std::int64_t vendorProfiles = 0;  ///< number of vendor profiles that the program knew
  std::string locale{};             ///< of the texts
  Date startedAt{};
  Date finishedAt{};
  FileURL home{};
  VolumeInfo volume{};
  bool hasCapacity = true;  ///< false for a folder that is not a mounted volume: the bytes in `volume` are its disk's
  std::int64_t keptAbove = -1;  ///< all files with a larger size than this are in the scan; -1 for all files
  std::int64_t files = 0;       ///< regular files of the volume
  std::int64_t folders = 0;
  friend bool operator==(const ScanFacts&, const ScanFacts&) = default;
};

/// A user of a scan of all users.
struct ScannedUser {
  FileURL home{};          ///< the home folder, as users know it
  std::string location{};  ///< its path without links
  bool isRead = true;      ///< false if it could not be listed
  friend bool operator==(const ScannedUser&, const ScannedUser&) = default;
};

/// A folder or file of a storage category.
struct ScannedRoot {
  StorageCategoryID category = StorageCategoryID::other;
  /// True for a folder that the category lists, with all that is in it. False for a root of the walk, with what is in
  /// it and counts for the category; their sum is the category's size.
  bool isListed = false;
  FileURL url{};
  std::optional<SizeInfo> size{};  ///< absent if it could not be had
  std::optional<VendorPathHint> hint{};
  /// In a scan of all users, the position of the user whose home folder has it; absent for what is in none.
  std::optional<std::size_t> user{};
  friend bool operator==(const ScannedRoot&, const ScannedRoot&) = default;
};

/// A place that a storage category claims, existing or not.
struct ScannedPlace {
  StorageCategoryID category = StorageCategoryID::other;
  FileURL url{};
  friend bool operator==(const ScannedPlace&, const ScannedPlace&) = default;
};

/// A package whose receipt lists an entry.
struct ScannedPackage {
  std::size_t entry = 0;  ///< its position in the list of entries
  std::string identifier{};
  friend bool operator==(const ScannedPackage&, const ScannedPackage&) = default;
};

struct ScannedApp {
  AppInspection inspection{};
  std::optional<SizeInfo> size{};  ///< of the bundle, without hidden items; absent if it could not be had
  friend bool operator==(const ScannedApp&, const ScannedApp&) = default;
};

/// A folder of a scan.
struct ScannedFolder {
  std::uint32_t id = 0;           ///< position in pre-order, from 0; siblings in ascending byte order of their names
  std::uint32_t parent = 0;       ///< 0 for the root too
  std::uint32_t descendants = 0;  ///< the folders below it are those with the ids that follow
  std::string name{};             ///< "/" for the root
  SizeInfo sizes{};               ///< of the regular files below it
  std::int64_t files = 0;
  std::optional<Date> newest{};  ///< the latest change of the folder, or of a folder or file below it
  bool isHidden = false;
  bool isPackage = false;
  bool isRead = false;
  friend bool operator==(const ScannedFolder&, const ScannedFolder&) = default;
};

/// One of the largest files of a scan.
struct ScannedFile {
  std::uint32_t folder = 0;
  std::string name{};
  SizeInfo sizes{};
  Date modified{};
  bool isHidden = false;
  friend bool operator==(const ScannedFile&, const ScannedFile&) = default;
};

/// All answers of a scan. Folders and files are not among them: there may be millions.
struct ScanContent {
  ScanFacts facts{};
  std::vector<ScannedUser> users{};  ///< empty for a scan of one home folder
  std::vector<StorageCategory> categories{};
  std::vector<ScannedRoot> roots{};
  std::vector<ScannedPlace> places{};
  std::vector<VendorPathHint> vendorPaths{};  ///< every existing path of a vendor
  std::vector<ScannedApp> apps{};
  std::vector<Ownership> entries{};
  std::vector<ScannedPackage> packages{};  ///< of the entries
  std::vector<Leftover> leftovers{};
  std::vector<LaunchdEntry> jobs{};
  std::vector<ReceiptInfo> receipts{};  ///< without their files
  std::vector<KernelExtensionInfo> extensions{};
  std::vector<UnreadableItem> unreadable{};
  friend bool operator==(const ScanContent&, const ScanContent&) = default;
};

}  // namespace quarn

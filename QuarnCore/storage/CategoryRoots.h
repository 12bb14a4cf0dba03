#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The folders of the storage categories as they are on the volume at the moment of asking. Made for one operation:
/// each list is found once and kept, so that the lists which build on each other do not search again. Used from one
/// thread; refers to its collaborators, which must outlive it.
class CategoryRoots {
 public:
  /// What is in the folder `quarantine` is not the user's data: no root is there.
  CategoryRoots(const StorageSignatureRegistry& signatures, const VendorPathHintIndex& vendorHints, FileURL quarantine,
                const FileManager& files);

  /// The category's roots in order, whether or not they exist; `includeDiscovered` matters for games alone.
  [[nodiscard]] std::vector<FileURL> roots(StorageCategoryID category, bool includeDiscovered) const;
  /// The same for the list of the largest items: without the Trash.
  [[nodiscard]] std::vector<FileURL> topItemRoots(StorageCategoryID category, bool includeDiscovered) const;
  /// What lies below the roots of `systemData` and counts elsewhere; none for other categories.
  [[nodiscard]] std::vector<FileURL> exclusions(StorageCategoryID category) const;
  /// Whether a root of `documents` holds files of a cloud: iCloud Drive or a provider's folder.
  [[nodiscard]] bool isCloudRoot(const FileURL& root) const;

 private:
  [[nodiscard]] std::vector<FileURL> find(StorageCategoryID category, bool includeDiscovered) const;
  [[nodiscard]] std::vector<FileURL> documents() const;
  [[nodiscard]] std::vector<FileURL> communication() const;
  [[nodiscard]] std::vector<FileURL> games(bool includeDiscovered) const;
  [[nodiscard]] std::vector<FileURL> development() const;
  [[nodiscard]] std::vector<FileURL> systemData() const;
  [[nodiscard]] std::vector<FileURL> other() const;
  [[nodiscard]] std::vector<FileURL> cloudStorageFolders() const;
  [[nodiscard]] std::vector<FileURL> visibleHomeEntries() const;
  [[nodiscard]] std::vector<FileURL> otherUsersHomes() const;

  void dropQuarantined(std::vector<FileURL>& roots) const;

  [[nodiscard]] FileURL inHome(std::string_view relativePath) const;
  template <class Paths>
  [[nodiscard]] std::vector<FileURL> folders(const Paths& paths) const;
  [[nodiscard]] std::vector<FileURL> withVendorRoots(std::vector<FileURL> base, StorageCategoryID category) const;
  [[nodiscard]] std::vector<FileURL> eachOnce(std::vector<FileURL> urls) const;
  [[nodiscard]] std::vector<FileURL> outermost(const std::vector<FileURL>& urls) const;

  const StorageSignatureRegistry& signatures_;
  const VendorPathHintIndex& vendorHints_;
  const FileURL quarantine_;
  const FileManager& files_;
  mutable std::map<std::pair<StorageCategoryID, bool>, std::vector<FileURL>> known_;
};

}  // namespace quarn

#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "QuarnCore/storage/RealPaths.h"
#include "QuarnCore/storage/RootScope.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

class KeptListings;

/// The lists that were found so far, by category and by whether discovered folders are in them.
struct CategoryLists {
  std::map<std::pair<StorageCategoryID, bool>, std::vector<FileURL>> lists{};
};

/// The folders of the storage categories on the volume. Create one per operation: it caches each list, because the
/// lists depend on each other. Not thread-safe. The references that the constructor takes must outlive it. Lists are
/// incomplete after the file manager's cancellation is set.
class CategoryRoots {
 public:
  /// The folder `quarantine` contains no roots, because its content is not the user's data. With the scope `home`, the
  /// lists lack the folders that all users share and the home folders of others. They may still name paths outside the
  /// home folder, which come from vendor profiles. Objects of the same scope that share `known` find each list once;
  /// they must belong to one thread. Null: a cache of its own. `kept`, which may be null, gets the folders that are
  /// listed in search of games.
  CategoryRoots(const StorageSignatureRegistry& signatures, const VendorPathHintIndex& vendorHints, FileURL quarantine,
                const FileManager& files, RootScope scope = RootScope::volume,
                std::shared_ptr<CategoryLists> known = nullptr, std::shared_ptr<KeptListings> kept = nullptr);

  /// The roots of the category in order, existing or not. `includeDiscovered` only affects games.
  [[nodiscard]] std::vector<FileURL> roots(StorageCategoryID category, bool includeDiscovered) const;
  /// The same for the search for the largest items: without the Trash.
  [[nodiscard]] std::vector<FileURL> topItemRoots(StorageCategoryID category, bool includeDiscovered) const;
  /// Folders below the roots of `systemData` that count for other categories; empty for other categories.
  [[nodiscard]] std::vector<FileURL> exclusions(StorageCategoryID category) const;
  /// True if a root of `documents` holds cloud files: iCloud Drive or the folder of a provider.
  [[nodiscard]] bool isCloudRoot(const FileURL& root) const;
  /// The resolved paths of the operation.
  [[nodiscard]] RealPaths& places() const { return *places_; }

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
  const RootScope scope_;
  const std::shared_ptr<CategoryLists> known_;
  const std::shared_ptr<RealPaths> places_;
  const std::shared_ptr<KeptListings> kept_;
};

}  // namespace quarn

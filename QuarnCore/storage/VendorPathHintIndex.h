#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// Which vendor's path a file lies in, and which vendor folders are further roots of a storage category. Built once
/// from the profiles' patterns as they resolve on the volume; a plain value.
class VendorPathHintIndex {
 public:
  /// A vendor's item that exists.
  struct Entry {
    std::string path;  ///< standardised
    FileURL url;       ///< as the pattern resolved
    VendorPathHint hint;
    bool isDirectory = false;  ///< by its own type
    friend bool operator==(const Entry&, const Entry&) = default;
  };
  /// What exists of one thing that a profile knows of.
  struct Find {
    VendorPathHint hint;
    std::vector<FileURL> urls;
    bool areRoots = false;
  };
  using Finds = std::vector<Find>;
  using Entries = std::map<StorageCategoryID, std::vector<Entry>>;
  using Roots = std::map<StorageCategoryID, std::vector<FileURL>>;

  VendorPathHintIndex(const VendorProfileRegistry& registry, const FileURL& home, FileManager files);

  /// The hint of the deepest vendor path that equals or holds the URL, for one category.
  [[nodiscard]] std::optional<VendorPathHint> hint(const FileURL& url, StorageCategoryID category) const;
  /// The category's vendor folders, outermost only, shortest first.
  [[nodiscard]] std::vector<FileURL> roots(StorageCategoryID category) const;

  /// Every category's items, longest path first, paths of one length ascending.
  [[nodiscard]] const Entries& entriesByCategory() const { return entriesByCategory_; }
  [[nodiscard]] const Roots& rootsByCategory() const { return rootsByCategory_; }

  /// The storage category of a profile by its id; absent for an id that the table does not hold.
  static std::optional<StorageCategoryID> category(std::string_view profileID);

 private:
  void add(const Find& find);
  void sortEntries();
  void keepOutermostRoots();

  FileManager files_;
  Entries entriesByCategory_;
  Roots rootsByCategory_;
  std::map<StorageCategoryID, PathTrie<std::size_t>> entryAt_;  // where in the category's entries
};

}  // namespace quarn

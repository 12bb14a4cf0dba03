#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/base/RecordHash.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// Finds the vendor path that contains a file, and the vendor folders that are additional roots of a category. Built
/// once from the patterns of the profiles, as they resolve on the volume. Does not keep the profiles.
class VendorPathHintIndex {
 public:
  /// An existing item of a vendor.
  struct Entry {
    std::string path{};  ///< standardised
    FileURL url{};       ///< as resolved from the pattern
    VendorPathHint hint{};
    bool isDirectory = false;  ///< the item itself is a folder
    friend bool operator==(const Entry&, const Entry&) = default;
  };
  /// The existing items of one definition in a profile.
  struct Find {
    VendorPathHint hint{};
    std::vector<FileURL> urls{};
    bool areRoots = false;
  };
  using Finds = std::vector<Find>;
  using Entries = std::map<StorageCategoryID, std::vector<Entry>>;
  using Roots = std::map<StorageCategoryID, std::vector<FileURL>>;

  VendorPathHintIndex(const VendorProfileRegistry& registry, const FileURL& home, FileManager files);
  /// The same from the files of profiles. Reads of each file the patterns, and the rest only if there are items on the
  /// volume.
  VendorPathHintIndex(const VendorProfileFiles& profiles, const FileURL& home, FileManager files);

  /// The hint of the deepest vendor path that equals or contains the URL, for one category.
  [[nodiscard]] std::optional<VendorPathHint> hint(const FileURL& url, StorageCategoryID category) const;
  /// The vendor folders of a category, outermost only, shortest first.
  [[nodiscard]] std::vector<FileURL> roots(StorageCategoryID category) const;

  /// The items of every category, longest path first, then in ascending order.
  [[nodiscard]] const Entries& entriesByCategory() const { return entriesByCategory_; }
  [[nodiscard]] const Roots& rootsByCategory() const { return rootsByCategory_; }

  /// The storage category of a profile by its id; absent for an unknown id.
  static std::optional<StorageCategoryID> category(std::string_view profileID);

 private:
  /// `findsAt` gives the finds of the profile at a position; called on two threads.
  void addAll(std::size_t profiles, const std::function<std::optional<Finds>(std::size_t)>& findsAt);
  void add(const Find& find);
  void sortEntries();
  void keepOutermostRoots();

  FileManager files_;
  Entries entriesByCategory_;
  Roots rootsByCategory_;
  std::map<StorageCategoryID, PathTrie<std::size_t>> entryAt_;  // index in the entries of the category
};

}  // namespace quarn

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorPathHintIndex::Entry> {
  std::size_t operator()(const quarn::VendorPathHintIndex::Entry& record) const {
    const auto& [path, url, hint, isDirectory] = record;
    return quarn::hashOfFields(path, url, hint, isDirectory);
  }
};

#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "QuarnCore/ownership/NameKeys.h"
#include "QuarnModels/AppEntity.h"

namespace quarn {

/// Facts from an app's bundle, besides its name and identifier. A plain value.
struct AppFacts {
  std::vector<std::string> groups{};               ///< of the signed entitlements
  std::string team{};                              ///< team identifier of the signature, or empty
  std::vector<std::string> embeddedIdentifiers{};  ///< of bundles in the bundle
  std::vector<std::string> helpers{};              ///< names of its privileged helpers
  std::vector<std::string> otherNames{};           ///< bundle name and executable
};

/// Positions in the list of apps.
using AppList = std::vector<std::uint32_t>;

/// An index of the names and identifiers of all apps. Each key lists the apps that have it, so the owner of an entry is
/// found in a few lookups, whatever the number of apps. Read-only once built; safe from any thread.
class AppIndex {
 public:
  /// The kinds of keys.
  enum class Key : std::uint8_t {
    identifier,   ///< in lower case
    embedded,     ///< identifier of an embedded bundle, in lower case
    group,        ///< in lower case
    helper,       ///< in lower case
    name,         ///< name keys
    reducedName,  ///< reduced name keys, and those of identifiers' last parts
    vendor,       ///< vendors' keys
    vendorName,   ///< name keys of vendors
    vendorApp,    ///< a vendor's key and a name key, see `joined`
    folderApp,    ///< a vendor folder's name key and a name key in it, see `joined`
    team,         ///< as written
  };
  static constexpr std::size_t kKeys = 11;

  AppIndex() = default;
  /// `facts` may be shorter than `apps`.
  AppIndex(const std::vector<AppEntity>& apps, const std::vector<AppFacts>& facts);

  /// The apps with this key; null if there are none. Valid for the lifetime of the index.
  [[nodiscard]] const AppList* find(Key key, std::string_view text) const;
  /// Whether a folder with this name key may hold the folders of apps.
  [[nodiscard]] bool isVendorFolder(std::string_view folderKey) const { return folders_.contains(folderKey); }

  /// Joins two keys into one.
  static std::string joined(std::string_view first, std::string_view second);
  /// The key of a lower-cased vendor. It is the same for all spellings of the vendor.
  static std::string vendorKey(std::string_view vendor);

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  using Lists = std::unordered_map<std::string, AppList, Hash, std::equal_to<>>;

  void add(Key key, std::string text, std::uint32_t app);
  void addIdentifiers(const AppEntity& app, const AppFacts& facts, std::uint32_t index);
  void addNames(const AppEntity& app, const AppFacts& facts, std::uint32_t index);
  void addFolders(std::string_view name, const NameKeys& keys, const std::string& vendor, std::uint32_t index);

  std::array<Lists, kKeys> lists_;
  std::unordered_set<std::string, Hash, std::equal_to<>> folders_;
};

}  // namespace quarn

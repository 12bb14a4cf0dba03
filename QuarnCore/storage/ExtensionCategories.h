#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnModels/Storage.h"

namespace quarn {

/// The categories of items by the extension of their name, in any case. Immutable and thread-safe.
///
/// A walk asks for every file. Nearly all names end in a dot and a few ASCII letters and digits. These usual extensions
/// are compared as numbers; all others need the rules of `path::extension`.
class ExtensionCategories {
 public:
  /// Categories by lower-cased extension. An empty extension is that of all names without one.
  using Dictionary = std::map<std::string, StorageCategoryID, std::less<>>;

  explicit ExtensionCategories(Dictionary categories);

  /// The category for the extension of a name.
  [[nodiscard]] std::optional<StorageCategoryID> find(std::string_view name) const;

 private:
  // The bytes of a usual extension in lower case; the first one is the lowest. 0 for an empty extension.
  using Key = std::uint64_t;
  struct Usual {
    Key key;
    StorageCategoryID category;
  };

  static std::optional<Key> usualKey(std::string_view name);
  static std::size_t placeOf(Key key);
  [[nodiscard]] std::optional<StorageCategoryID> findUnusual(std::string_view name) const;

  Dictionary categories_;
  std::vector<Usual> usual_;              // sorted by key
  std::array<bool, 1024> isUsualHere_{};  // by `placeOf` the keys: most extensions are at none of them
  std::size_t longest_ = 0;               // extension, in bytes
  bool isEmptyKnown_ = false;
};

}  // namespace quarn

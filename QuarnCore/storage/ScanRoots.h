#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "QuarnCore/storage/CategoryRoots.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/VolumeClients.h"

namespace quarn {

/// How to size a root: one of two kinds, with its flags.
struct ScanMode {
  enum class Kind : std::uint8_t { enumerate, fast };

  /// Attributes items one by one. With `includeHidden`, also walks hidden items.
  static constexpr ScanMode enumerate(bool includeHidden, bool allowSlow) {
    return {.kind = Kind::enumerate, .includeHidden = includeHidden, .allowSlow = allowSlow};
  }
  /// All items count for the root's category. Without `allowSlow`, a folder is not walked and adds nothing.
  static constexpr ScanMode fast(bool allowSlow) {
    return {.kind = Kind::fast, .includeHidden = true, .allowSlow = allowSlow};
  }

  [[nodiscard]] constexpr bool isFast() const { return kind == Kind::fast; }

  Kind kind = Kind::enumerate;
  bool includeHidden = true;
  bool allowSlow = true;
  friend bool operator==(const ScanMode&, const ScanMode&) = default;
};

/// A folder or file that the partitioned scan walks separately.
struct ScanRoot {
  std::string path{};      ///< resolved and standardised; the name of the root
  std::string location{};  ///< the path as a walk meets it: no links, with "/private"
  StorageCategoryID defaultCategory = StorageCategoryID::other;
  ScanMode mode = ScanMode::enumerate(/*includeHidden=*/true, /*allowSlow=*/true);
  /// Locations that this root skips with everything below them: the roots inside it and, with mode `fast`, locations of
  /// other categories.
  std::vector<std::string> exclusions{};
};

/// Items at or below a location count for a category, unless a longer rule applies.
struct PrefixRule {
  std::string prefix;
  StorageCategoryID category = StorageCategoryID::other;
};

/// The roots and rules of a partitioned scan. All paths are locations, as in `ScanRoot`. Created once per scan.
struct ScanPlan {
  /// In walk order, without duplicates. The walk of a root skips the roots inside it.
  std::vector<ScanRoot> roots{};
  /// Of equal prefixes, the first one applies.
  std::vector<PrefixRule> prefixRules{};
};

/// Adds the plan of another home folder on the same volume. Of `plan` it takes what is outside `home`, of `ofHome` what
/// is in it, so one scan counts each user's folders as that user's plan does. `home` is a location.
void addHome(ScanPlan& plan, const std::string& home, const ScanPlan& ofHome);

/// Makes the plan for the current state of the volume. Incomplete after the file manager's cancellation is set.
ScanPlan makeScanPlan(const CategoryRoots& categories, const FileURL& quarantine,
                      const VolumeLocationChecker& locations, const FileManager& files);

}  // namespace quarn

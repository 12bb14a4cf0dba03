#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/storage/CategoryRoots.h"
#include "QuarnCore/storage/HomeFolders.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/VolumeClients.h"

namespace quarn {

class KeptListings;

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
  /// Of several home folders, the position of the one that has it. Absent for what is in none, and with one home
  /// folder.
  std::optional<std::size_t> home{};
};

/// Items at or below a location count for a category, unless a longer rule applies.
struct PrefixRule {
  std::string prefix;
  StorageCategoryID category = StorageCategoryID::other;
  /// Of several home folders, the one that has the location: the rule says nothing about roots of a home inside it.
  std::optional<std::size_t> home{};
};

/// The roots and rules of a partitioned scan. All paths are locations, as in `ScanRoot`. Created once per scan.
struct ScanPlan {
  /// In walk order, without duplicates. The walk of a root skips the roots inside it.
  std::vector<ScanRoot> roots{};
  /// Of equal prefixes, the first one applies.
  std::vector<PrefixRule> prefixRules{};
  /// Folders that were listed for the plan. The walk need not open them again. Null for none.
  std::shared_ptr<const KeptListings> kept{};
};

/// Makes the plan for the current state of the volume. Incomplete after the file manager's cancellation is set.
ScanPlan makeScanPlan(const CategoryRoots& categories, const FileURL& quarantine,
                      const VolumeLocationChecker& locations, const FileManager& files);

/// Adds to `all` what `plan`, the plan of the home folder at this position, says about that folder. Of the first plan
/// also takes what is in no home folder. So one scan counts each user's folders as that user's own scan does, and each
/// byte once. Call `excludeHomes` after the last one.
void addPlanOfHome(ScanPlan& all, ScanPlan plan, std::size_t position, const HomeFolders& homes);
/// Makes the walks of the roots around home folders skip these.
void excludeHomes(ScanPlan& all, const HomeFolders& homes);

}  // namespace quarn

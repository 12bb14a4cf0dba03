#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "QuarnCore/ownership/UsersMap.h"
#include "QuarnModels/Date.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// One entry that a former app left. A plain value.
struct LeftoverItem {
  FileURL url{};
  std::string place{};
  ArtifactKind kind = ArtifactKind::unknown;
  ArtifactScope scope = ArtifactScope::user;
  ArtifactDataClass dataClass = ArtifactDataClass::unknown;
  RiskLevel riskLevel = RiskLevel::danger;
  std::string evidence{};          ///< why it is taken for a leftover
  std::optional<Date> modified{};  ///< newest change of the item and the folders and files in it; absent when unknown
  std::optional<SizeInfo> size{};  ///< absent unless asked for, and when it cannot be had
  friend bool operator==(const LeftoverItem&, const LeftoverItem&) = default;
};

/// What is left of one app that is not installed. A plain value.
struct Leftover {
  FormerOwner owner{};
  std::vector<LeftoverItem> items{};  ///< in the order of the map
  std::optional<Date> modified{};     ///< the newest of the items
  std::optional<SizeInfo> size{};     ///< their sum; absent unless asked for
  friend bool operator==(const Leftover&, const Leftover&) = default;
};

struct LeftoverOptions {
  bool computeSizes = false;  ///< with hidden items: a removal removes them too
  bool includeSystem = true;  ///< items outside the home folder
};

/// The newest change of an item and the folders and files in it; absent when unknown, also if the sizes of the
/// files do not add up to a number. Links count only as the item.
using NewestChange = std::function<std::optional<Date>(const FileURL& url)>;

/// The orphaned entries of a map by former owner: the largest first when they are sized, else by name. Shared, system
/// and unknown entries are never among them. Entries are packed; the records, which take many times the memory, are
/// made one by one. Shares what the map holds. A plain value; safe from any thread.
class LeftoverList {
 public:
  /// What one former app left in several home folders is one leftover. If cancelled, has those gathered so far.
  /// `newest` replaces reading the times from the volume. Throws SizeOverflow.
  LeftoverList(const UsersMap& map, const LeftoverOptions& options, const FileManager& files,
               const FileSizeCalculator& sizes, const Cancellation& cancellation = Cancellation::never(),
               const NewestChange& newest = nullptr);
  LeftoverList(const OwnershipMap& map, const LeftoverOptions& options, const FileManager& files,
               const FileSizeCalculator& sizes, const Cancellation& cancellation = Cancellation::never(),
               const NewestChange& newest = nullptr);

  [[nodiscard]] std::size_t size() const { return starts_.empty() ? 0 : starts_.size() - 1; }
  [[nodiscard]] Leftover at(std::size_t position) const;

 private:
  class Search;

  struct Item {
    std::uint32_t map = 0;       // position in `maps_`
    std::uint32_t entry = 0;     // of that map
    std::uint32_t leftover = 0;  // that it belongs to
    std::optional<Date> modified{};
    std::optional<SizeInfo> size{};
  };

  std::vector<OwnershipMap> maps_;
  std::vector<Item> items_;            // by leftover, then in the order of the map
  std::vector<std::uint32_t> starts_;  // the first item of each leftover, and the number of items
};

/// All records of a LeftoverList.
std::vector<Leftover> findLeftovers(const OwnershipMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes,
                                    const Cancellation& cancellation = Cancellation::never(),
                                    const NewestChange& newest = nullptr);
std::vector<Leftover> findLeftovers(const UsersMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes,
                                    const Cancellation& cancellation = Cancellation::never(),
                                    const NewestChange& newest = nullptr);

/// Reads the times from the volume.
std::optional<Date> newestChange(const FileManager& files, const FileURL& url);

}  // namespace quarn

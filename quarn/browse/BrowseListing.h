#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/RawValue.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "quarn/browse/BrowseTree.h"

namespace quarn {

/// The order of the items of a folder. Equal items are in the order of their names.
enum class BrowseSort : std::uint8_t {
  size,   ///< largest first
  files,  ///< most files first
  age,    ///< longest unchanged first; items without a time last
  owner,  ///< by the owner's name, then by size; unknown owners last
  name,   ///< bytes, without the case of ASCII letters
};
template <>
struct RawValues<BrowseSort> {
  static constexpr std::array<std::string_view, 5> kStrings{"size", "files", "age", "owner", "name"};
};

/// Which size the browser shows and sorts by.
enum class ShownSize : std::uint8_t { allocated, apparent };

inline std::int64_t shownBytes(const ByteCounts& sizes, ShownSize size) {
  return size == ShownSize::allocated ? sizes.allocatedBytes : sizes.logicalBytes;
}

/// What the browser wants to show of a folder.
struct ListingRequest {
  BrowseTree::Node folder = BrowseTree::kTop;
  BrowseSort sort = BrowseSort::size;
  ShownSize size = ShownSize::allocated;
  std::string filter{};  ///< part of the names of the wanted items, in any case; empty for all
  friend bool operator==(const ListingRequest&, const ListingRequest&) = default;
};

/// The items of a folder in order, as they were at a moment. Memory: 4 bytes per item.
struct Listing {
  ListingRequest request{};
  std::vector<BrowseTree::Node> items{};
  std::size_t all = 0;          ///< the number of items without the filter
  std::int64_t largest = 0;     ///< the largest size among `items`
  std::size_t treeSize = 0;     ///< the number of items of the tree at that moment
  bool areOwnersKnown = false;  ///< whether the order by owner is final
};

/// The owner's name of the item at a path; empty if nobody knows it.
using OwnerNames = std::function<std::string(const std::string& path)>;

/// Lists a folder. `owners` may be null, and is only asked for the order by owner. Absent if cancelled. Memory while it
/// works: 40 bytes per item of the folder, and the owners' names.
std::optional<Listing> makeListing(const BrowseTree& tree, const ListingRequest& request, const OwnerNames& owners,
                                   const Cancellation& cancellation);

/// True if the name contains the filter in any case. `foldedFilter` is a folded text.
bool matchesFilter(std::string_view name, std::string_view foldedFilter);

}  // namespace quarn

#include "quarn/browse/BrowseListing.h"

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

char asciiLower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

bool isASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// An item with what decides about its place: the smaller key comes first, then the name.
struct OrderedItem {
  std::int64_t key;
  std::int64_t nextKey;
  std::string_view name;
  BrowseTree::Node node;
};

bool nameComesFirst(std::string_view left, std::string_view right) {
  const auto [atLeft, atRight] = std::mismatch(left.begin(), left.end(), right.begin(), right.end(),
                                               [](char a, char b) { return asciiLower(a) == asciiLower(b); });
  if (atLeft == left.end() && atRight == right.end()) return left < right;
  if (atLeft == left.end() || atRight == right.end()) return atLeft == left.end();
  return static_cast<unsigned char>(asciiLower(*atLeft)) < static_cast<unsigned char>(asciiLower(*atRight));
}

bool comesFirst(const OrderedItem& left, const OrderedItem& right) {
  if (left.key != right.key) return left.key < right.key;
  if (left.nextKey != right.nextKey) return left.nextKey < right.nextKey;
  if (left.name != right.name) return nameComesFirst(left.name, right.name);
  return left.node < right.node;
}

std::int64_t keyOf(const BrowseTree::Item& item, const ListingRequest& request) {
  switch (request.sort) {
    case BrowseSort::size: return -shownBytes(item.sizes, request.size);
    case BrowseSort::files: return -item.files;
    case BrowseSort::age:
      return item.newest == FolderObserver::kNoTime ? std::numeric_limits<std::int64_t>::max() : item.newest;
    case BrowseSort::owner:
    case BrowseSort::name: break;
  }
  return 0;
}

/// Orders items by the names of their owners.
bool sortByOwner(std::vector<OrderedItem>& items, const std::string& folder, const OwnerNames& owners,
                 const Cancellation& cancellation) {
  std::map<std::string, std::int64_t> ranks;  // of the owners, by their folded names
  std::vector<std::map<std::string, std::int64_t>::const_iterator> found;
  found.reserve(items.size());
  const std::string prefix = folder.ends_with('/') ? folder : folder + "/";
  for (const OrderedItem& item : items) {
    if (cancellation.isCancelled()) return false;
    const std::string owner =
        owners(item.name.starts_with('/') ? std::string(item.name) : prefix + std::string(item.name));
    found.push_back(ranks.try_emplace(Text::folded(owner), 0).first);
  }
  std::int64_t rank = 0;
  for (auto& [owner, position] : ranks) position = owner.empty() ? std::numeric_limits<std::int64_t>::max() : rank++;
  for (std::size_t i = 0; i < items.size(); ++i) items[i].key = found[i]->second;
  return true;
}

}  // namespace

bool matchesFilter(std::string_view name, std::string_view foldedFilter) {
  if (!isASCII(name)) return Text::folded(name).find(foldedFilter) != std::string::npos;
  return std::search(name.begin(), name.end(), foldedFilter.begin(), foldedFilter.end(),
                     [](char a, char b) { return asciiLower(a) == b; }) != name.end() ||
         foldedFilter.empty();
}

std::optional<Listing> makeListing(const BrowseTree& tree, const ListingRequest& request, const OwnerNames& owners,
                                   const Cancellation& cancellation) {
  Listing listing{.request = request, .treeSize = tree.size(), .areOwnersKnown = owners != nullptr};
  const std::string filter = Text::folded(request.filter);
  std::vector<OrderedItem> items;
  tree.eachChild(request.folder, [&](const BrowseTree::Item& item) {
    ++listing.all;
    if (!filter.empty() && !matchesFilter(item.name, filter)) return !cancellation.isCancelled();
    const std::int64_t bytes = shownBytes(item.sizes, request.size);
    listing.largest = std::max(listing.largest, bytes);
    items.push_back({.key = keyOf(item, request),
                     .nextKey = request.sort == BrowseSort::name ? 0 : -bytes,
                     .name = item.name,
                     .node = item.node});
    return !cancellation.isCancelled();
  });
  if (request.sort == BrowseSort::owner && owners &&
      !sortByOwner(items, tree.path(request.folder), owners, cancellation))
    return std::nullopt;
  if (cancellation.isCancelled()) return std::nullopt;
  std::sort(items.begin(), items.end(), comesFirst);
  listing.items.reserve(items.size());
  for (const OrderedItem& item : items) listing.items.push_back(item.node);
  return listing;
}

}  // namespace quarn

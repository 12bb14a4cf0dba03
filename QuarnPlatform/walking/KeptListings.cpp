#include "QuarnPlatform/walking/KeptListings.h"

#include <algorithm>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/walking/FolderListing.h"

namespace quarn {

bool KeptListings::reserve(const FolderListing& listing) {
  if (listing.error != 0 || listing.isPackage || listing.entries.size() > kMostItemsOfFolder) return false;
  const std::size_t items = reservedItems_ + listing.entries.size();
  const std::size_t names = reservedNames_ + listing.names.size();
  if (isFull() || items > kMostItems || names > kMostNames) {
    isFull_ = true;
    return false;
  }
  reservedItems_ = items;
  reservedNames_ = names;
  return true;
}

// The memory is not touched before it is used, and growing would copy it.
void KeptListings::makeMemory() {
  items_.reserve(kMostItems);
  names_.reserve(kMostNames);
}

KeptListings::Folder KeptListings::add(const FolderListing& listing, std::vector<Child> children) {
  const auto lacksSize = [](const FolderListing::Entry& entry) {
    return entry.item.type() == FileType::regular && !entry.hasSizes();
  };
  if (std::any_of(listing.entries.begin(), listing.entries.end(), lacksSize)) return kNone;
  if (listings_.empty()) makeMemory();
  const auto firstItem = static_cast<std::uint32_t>(items_.size());
  auto child = children.begin();
  for (std::uint32_t i = 0; i < listing.entries.size(); ++i) {
    const FolderListing::Entry& entry = listing.entries[i];
    const FileType type = entry.item.type();
    if (type != FileType::regular && type != FileType::directory) continue;
    if (child != children.end() && child->item == i) child++->item = static_cast<std::uint32_t>(items_.size());
    items_.push_back({.item = entry.item.movedTo(names_.size()), .sizes = entry.sizes});
    names_.append(listing.name(entry)) += '\0';
  }
  listings_.push_back({.firstItem = firstItem,
                       .items = static_cast<std::uint32_t>(items_.size()) - firstItem,
                       .firstChild = static_cast<std::uint32_t>(children_.size()),
                       .children = static_cast<std::uint32_t>(children.size())});
  children_.insert(children_.end(), children.begin(), children.end());
  return static_cast<Folder>(listings_.size() - 1);
}

KeptListings::Place KeptListings::find(std::string_view path) const {
  Place place{.way = PathTrie<Folder>::kRoot};
  if (const Folder* root = roots_.value(place.way)) place.folder = *root;
  for (const std::string_view name : path::names(path)) place = step(place, name);
  return place;
}

KeptListings::Place KeptListings::step(const Place& parent, std::string_view name) const {
  Place place{.way = roots_.step(parent.way, name)};
  if (parent.folder != kNone) place.folder = childOf(parent.folder, name);
  place.isInKept = place.folder != kNone;
  if (place.isInKept) return place;
  if (const Folder* root = roots_.value(place.way)) place.folder = *root;
  return place;
}

KeptListings::Folder KeptListings::childOf(Folder parent, std::string_view name) const {
  const Listing& listing = listings_[parent];
  const std::span children(children_.data() + listing.firstChild, listing.children);
  const auto nameOf = [this](const Child& child) { return this->name(items_[child.item].item); };
  const auto found =
      std::lower_bound(children.begin(), children.end(), name,
                       [&](const Child& child, std::string_view wanted) { return nameOf(child) < wanted; });
  return found != children.end() && nameOf(*found) == name ? found->folder : kNone;
}

std::span<const KeptListings::Item> KeptListings::items(Folder folder) const {
  const Listing& listing = listings_[folder];
  return {items_.data() + listing.firstItem, listing.items};
}

}  // namespace quarn

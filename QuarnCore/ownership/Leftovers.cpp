#include "QuarnCore/ownership/Leftovers.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <numeric>
#include <unordered_map>
#include <utility>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/walking/FolderObserver.h"
#include "QuarnPlatform/walking/TreeSizer.h"

namespace quarn {
namespace {

/// The newest change that a sizing walk meets, in seconds since 1970.
class NewestMet final : public FolderObserver {
 public:
  explicit NewestMet(std::int64_t ofRoot) : newest_(ofRoot) { refuseUpTo(std::numeric_limits<std::int64_t>::max()); }

  Folder enter(Folder /*parent*/, const FolderFacts& facts) override { return note(facts.modified), Folder{}; }
  void leaveOut(Folder /*parent*/, const FolderFacts& facts) override { note(facts.modified); }
  void add(Folder /*folder*/, const Counted& files) override { note(files.newest); }
  void keep(Folder /*folder*/, const File& /*file*/) override {}

  [[nodiscard]] std::int64_t newest() const { return newest_; }

 private:
  void note(std::int64_t time) {
    std::int64_t before = newest_;
    while (time > before && !newest_.compare_exchange_weak(before, time)) {
    }
  }

  std::atomic<std::int64_t> newest_;
};

std::optional<SizeInfo> sizeOf(const FileSizeCalculator& sizes, const FileURL& url, const Cancellation& cancellation) {
  try {
    return sizes.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/true, cancellation);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

std::string keyOf(const FormerOwner& owner) {
  return Text::lowercased(owner.bundleIdentifier.value_or("/" + owner.name));
}

LeftoverItem itemOf(const Ownership& entry) {
  return {.url = entry.url,
          .place = entry.place,
          .kind = entry.kind,
          .scope = entry.scope,
          .dataClass = entry.dataClass,
          .riskLevel = entry.riskLevel,
          .evidence = entry.evidence};
}

void add(Leftover& leftover, LeftoverItem item) {
  leftover.modified = std::max(leftover.modified, item.modified);
  if (item.size) {
    leftover.size = leftover.size.value_or(SizeInfo{});
    *leftover.size += *item.size;
  }
  leftover.items.push_back(std::move(item));
}

std::vector<Leftover> recordsOf(const LeftoverList& list) {
  std::vector<Leftover> records;
  records.reserve(list.size());
  for (std::size_t i = 0; i < list.size(); ++i) records.push_back(list.at(i));
  return records;
}

}  // namespace

/// Finds leftovers, and groups them by former owner.
class LeftoverList::Search {
 public:
  Search(LeftoverList& list, const LeftoverOptions& options, const FileManager& files, const FileSizeCalculator& sizes,
         const Cancellation& cancellation, const NewestChange& newest)
      : list_(list),
        options_(options),
        files_(files.cancelledBy(cancellation)),
        sizes_(sizes),
        cancellation_(cancellation),
        newest_(newest) {}

  /// Takes an entry if it is a leftover. False if cancelled.
  bool consider(const OwnershipMap& map, std::size_t position) {
    if (cancellation_.isCancelled()) return false;
    if (map.status(position) != OwnershipStatus::orphaned) return true;
    if (!options_.includeSystem && map.scope(position) == ArtifactScope::system) return true;
    if (map_ != &map) list_.maps_.push_back(map);
    map_ = &map;
    const FileURL url = map.url(position);
    Item item{.map = static_cast<std::uint32_t>(list_.maps_.size() - 1),
              .entry = static_cast<std::uint32_t>(position),
              .leftover = leftoverOf(map.formerOwner(position))};
    measure(item, url);
    if (item.size) groups_[item.leftover].size += *item.size;
    list_.items_.push_back(item);
    return true;
  }

  void finish() {
    std::vector<std::uint32_t> order(groups_.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::uint32_t left, std::uint32_t right) {
      const Group& first = groups_[left];
      const Group& second = groups_[right];
      if (first.size.allocatedBytes != second.size.allocatedBytes) {
        return first.size.allocatedBytes > second.size.allocatedBytes;
      }
      return Text::localizedCaseInsensitiveCompare(first.owner->name, second.owner->name) < 0;
    });
    std::vector<std::uint32_t> ranks(order.size());
    for (std::uint32_t rank = 0; rank < order.size(); ++rank) ranks[order[rank]] = rank;
    std::vector<std::uint32_t>& starts = list_.starts_;
    starts.assign(groups_.size() + 1, 0);
    for (Item& item : list_.items_) {
      item.leftover = ranks[item.leftover];
      ++starts[item.leftover + 1];
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    std::stable_sort(list_.items_.begin(), list_.items_.end(),
                     [](const auto& left, const auto& right) { return left.leftover < right.leftover; });
  }

 private:
  struct Group {
    const FormerOwner* owner;
    SizeInfo size{};
  };

  // One lookup answers both questions about a file.
  void measure(Item& item, const FileURL& url) {
    const auto facts = url.hasDirectoryPath() ? std::nullopt : files_.facts(url, Links::doNotFollow);
    if (facts && facts->type == FileType::regular) {
      item.modified = Date(std::chrono::seconds(facts->modifiedSeconds));
      if (options_.computeSizes) item.size = facts->sizes;
      return;
    }
    item.modified = newest_ ? newest_(url) : newestChange(files_, url);
    if (options_.computeSizes) item.size = sizeOf(sizes_, url, cancellation_);
  }

  std::uint32_t leftoverOf(const FormerOwner& owner) {
    const auto [position, isNew] = positions_.try_emplace(keyOf(owner), static_cast<std::uint32_t>(groups_.size()));
    if (isNew) groups_.push_back({.owner = &owner});
    return position->second;
  }

  LeftoverList& list_;
  const LeftoverOptions& options_;
  const FileManager files_;
  const FileSizeCalculator& sizes_;
  const Cancellation& cancellation_;
  const NewestChange& newest_;
  const OwnershipMap* map_ = nullptr;  // the last one
  std::vector<Group> groups_;
  std::unordered_map<std::string, std::uint32_t> positions_;
};

std::optional<Date> newestChange(const FileManager& files, const FileURL& url) {
  const std::optional<ItemFacts> own = files.facts(url, Links::doNotFollow);
  if (!own) return std::nullopt;
  NewestMet changes(own->modifiedSeconds);
  try {
    const TreeSizer::Options options{.cancellation = files.cancellation(), .observer = &changes};
    if (own->type == FileType::directory) (void)TreeSizer::total(files, url, options);
  } catch (const FileError&) {
    // The folder cannot be listed: its own change is what there is.
  } catch (const SizeOverflow&) {
    return std::nullopt;
  }
  return Date(std::chrono::seconds(changes.newest()));
}

LeftoverList::LeftoverList(const OwnershipMap& map, const LeftoverOptions& options, const FileManager& files,
                           const FileSizeCalculator& sizes, const Cancellation& cancellation,
                           const NewestChange& newest) {
  Search search(*this, options, files, sizes, cancellation, newest);
  for (std::size_t i = 0; i < map.size(); ++i) {
    if (!search.consider(map, i)) break;
  }
  search.finish();
}

LeftoverList::LeftoverList(const UsersMap& map, const LeftoverOptions& options, const FileManager& files,
                           const FileSizeCalculator& sizes, const Cancellation& cancellation,
                           const NewestChange& newest) {
  Search search(*this, options, files, sizes, cancellation, newest);
  map.eachEntry([&](const OwnershipMap& ofHome, std::size_t i) { return search.consider(ofHome, i); });
  search.finish();
}

Leftover LeftoverList::at(std::size_t position) const {
  Leftover leftover;
  for (std::uint32_t i = starts_[position]; i < starts_[position + 1]; ++i) {
    const Item& packed = items_[i];
    const OwnershipMap& map = maps_[packed.map];
    if (i == starts_[position]) leftover.owner = map.formerOwner(packed.entry);
    LeftoverItem item = itemOf(map.ownershipWithoutRivals(packed.entry));
    item.modified = packed.modified;
    item.size = packed.size;
    add(leftover, std::move(item));
  }
  return leftover;
}

std::vector<Leftover> findLeftovers(const OwnershipMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes, const Cancellation& cancellation,
                                    const NewestChange& newest) {
  return recordsOf(LeftoverList(map, options, files, sizes, cancellation, newest));
}

std::vector<Leftover> findLeftovers(const UsersMap& map, const LeftoverOptions& options, const FileManager& files,
                                    const FileSizeCalculator& sizes, const Cancellation& cancellation,
                                    const NewestChange& newest) {
  return recordsOf(LeftoverList(map, options, files, sizes, cancellation, newest));
}

}  // namespace quarn

#include "QuarnCore/ownership/OwnershipBuilder.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "QuarnCore/ownership/NameKeys.h"
#include "QuarnCore/ownership/Orphans.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/PropertyListFiles.h"

namespace quarn {
namespace {

using State = OwnershipState;
using Entry = State::Entry;

constexpr std::string_view kContainerMetadata = ".com.apple.containermanagerd.metadata.plist";
constexpr std::string_view kContainerIdentifier = "MCMMetadataIdentifier";
constexpr std::string_view kApple = "com.apple.";

// So many parts of a program have names of their own; more are programs.
constexpr std::size_t kMostOtherParts = 3;

// A folder with more entries is not one that apps share.
constexpr std::size_t kMostSharers = 4096;

using Listed = OwnershipSources::Listed;
using Listing = OwnershipSources::Listing;

class Builder {
 public:
  Builder(State& state, bool includeSystem, const Cancellation& cancellation)
      : state_(state), formers_(state), includeSystem_(includeSystem), cancellation_(cancellation) {
    for (const OwnershipPlace& place : ownershipPlaces()) addSharedPath(state.folderOf(place).path());
  }

  void run(const std::function<void(std::string_view)>& progress) {
    const auto places = ownershipPlaces();
    for (std::size_t i = 0; i < places.size(); ++i) {
      if (cancellation_.isCancelled()) break;
      const bool isWanted = includeSystem_ || places[i].scope() == ArtifactScope::user;
      if (isWanted && progress) progress(places[i].name);
      addPlace(static_cast<std::uint8_t>(i), isWanted);
    }
    guardVendors();
    formers_.find();
    for (std::size_t i = 0; i < state_.placeRanges.size(); ++i) addInnerOf(static_cast<std::uint8_t>(i));
    state_.isComplete = !cancellation_.isCancelled();
  }

 private:
  // A place and every folder around it belong to everybody.
  void addSharedPath(std::string_view path) {
    for (std::string_view rest = path; rest.size() > 1; rest = path::parent(rest)) {
      if (!sharedPaths_.emplace(rest).second) return;
    }
  }

  void addPlace(std::uint8_t place, bool isWanted) {
    const OwnershipPlace& row = ownershipPlaces()[place];
    State::Range range{.begin = static_cast<std::uint32_t>(state_.entries.size())};
    const FileURL folder = state_.folderOf(row);
    if (isWanted) {
      for (const Listed& item : listed(row, folder)) addEntry(place, row, folder, item);
    }
    range.end = static_cast<std::uint32_t>(state_.entries.size());
    state_.placeRanges.push_back(range);
  }

  void addInnerOf(std::uint8_t place) {
    const OwnershipPlace& row = ownershipPlaces()[place];
    const State::Range range = state_.placeRanges[place];
    State::Range inner{.begin = static_cast<std::uint32_t>(state_.entries.size())};
    for (std::uint32_t i = range.begin; i < range.end; ++i) {
      if (addShared(place, row, i)) continue;
      if (row.hasVendorFolders) addInner(place, row, i);
    }
    inner.end = static_cast<std::uint32_t>(state_.entries.size());
    state_.innerRanges.push_back(inner);
  }

  // The folders of the volume are listed once for all users.
  Listing listed(const OwnershipPlace& place, const FileURL& folder) {
    OwnershipSources& sources = *state_.sources;
    if (!sources.keepsListings || place.scope() == ArtifactScope::user) return listed(folder);
    const auto [known, isNew] = sources.listings.try_emplace(folder.path());
    if (isNew) known->second = listed(folder);
    return known->second;
  }

  // By name; empty when the folder cannot be listed.
  Listing listed(const FileURL& folder) {
    Listing items;
    try {
      const FileDescriptor open = state_.files.openDirectory(folder, Links::follow);
      reader_.start(open.get());
      while (reader_.readMore()) {
        while (const DirectoryReader::Entry* entry = reader_.next()) {
          items.push_back({std::string(entry->name), entry->type == FileType::directory});
        }
        if (cancellation_.isCancelled()) break;
      }
    } catch (const FileError&) {
      return {};
    }
    std::sort(items.begin(), items.end(),
              [](const Listed& left, const Listed& right) { return left.name < right.name; });
    return items;
  }

  [[nodiscard]] static bool takesPart(const OwnershipPlace& place, std::string_view name) {
    switch (place.naming) {
      case EntryNaming::dotted: return name.starts_with('.');
      case EntryNaming::plain: return !name.starts_with('.');
      default: return true;
    }
  }

  void addEntry(std::uint8_t place, const OwnershipPlace& row, const FileURL& folder, const Listed& item) {
    if (!takesPart(row, item.name) || isSharedParent(row, item.name)) return;
    const std::string path = path::join(folder.path(), item.name);
    if (sharedPaths_.contains(path)) return;
    Entry entry = newEntry(place, item);
    if (isSystemEntry(row, item.name)) {
      entry.status = OwnershipStatus::system;
    } else {
      judge(entry, EntryText(row, item.name), path);
    }
    state_.entries.push_back(entry);
  }

  Entry newEntry(std::uint8_t place, const Listed& item) {
    Entry entry{.nameAt = static_cast<std::uint32_t>(state_.names.size()),
                .nameLength = static_cast<std::uint16_t>(item.name.size()),
                .place = place,
                .isFolder = item.isFolder};
    state_.names += item.name;
    return entry;
  }

  void judge(Entry& entry, const EntryText& text, const std::string& path) {
    std::vector<EvidenceFind> finds = state_.evidence.finds(text, /*all=*/false);
    for (const EvidenceFind& find : state_.paths.finds(path)) finds.push_back(find);
    const EvidenceFind* best = nullptr;
    for (const EvidenceFind& find : finds) {
      if (best == nullptr || find.kind < best->kind) best = &find;
    }
    const bool isApples = text.identifier.starts_with(kApple) || text.identifier == "com.apple";
    if (best != nullptr && (!isApples || isInstalledApples(*best))) {
      win(entry, *best);
    } else if (isApples) {
      entry.status = OwnershipStatus::system;
    } else if (entry.isFolder && isContainer(text.place)) {
      judgeByMetadata(entry, path);
    }
  }

  // An app of the system's maker that was installed like any other owns what bears its identifier.
  [[nodiscard]] bool isInstalledApples(const EvidenceFind& find) const {
    return find.kind <= EvidenceKind::prefixedIdentifier &&
           !state_.apps[find.apps->front()].bundleURL.path().starts_with("/System/");
  }

  [[nodiscard]] static bool isContainer(const OwnershipPlace& place) {
    return place.name == "Containers" || place.name == "Daemon Containers" || place.name == "Group Containers";
  }

  void judgeByMetadata(Entry& entry, const std::string& path) {
    const auto metadata = readPropertyList(state_.files, FileURL(path).appending(kContainerMetadata));
    const auto identifier = metadata ? metadata->string(kContainerIdentifier) : std::nullopt;
    if (!identifier) return;
    const std::string key = Text::lowercased(*identifier);
    const AppList* apps = state_.index.find(AppIndex::Key::identifier, key);
    if (apps == nullptr) apps = state_.index.find(AppIndex::Key::embedded, key);
    if (apps != nullptr) {
      win(entry, {EvidenceKind::containerMetadata, apps});
    } else if (key.starts_with(kApple)) {
      entry.status = OwnershipStatus::system;
    } else {
      entry.former = static_cast<std::uint32_t>(state_.formers.size());
      entry.orphan = OrphanKind::container;
      state_.formers.push_back({.name = *identifier, .bundleIdentifier = identifier});
    }
  }

  void win(Entry& entry, const EvidenceFind& find) {
    entry.status = find.apps->size() == 1 ? OwnershipStatus::owned : OwnershipStatus::shared;
    entry.evidence = find.kind;
    if (state_.finds.empty() || state_.finds.back() != find.apps) state_.finds.push_back(find.apps);
    entry.find = static_cast<std::uint32_t>(state_.finds.size() - 1);
  }

  // Identifiers of one vendor that speak of several apps, of which one is installed, are not all that app's.
  void guardVendors() {
    std::unordered_map<std::string, std::unordered_set<std::string>> others;
    for (const Entry& entry : state_.entries) {
      if (entry.find == State::kNone || entry.evidence != EvidenceKind::onlyAppOfVendor) continue;
      const EntryText text = state_.text(entry);
      const std::string_view vendor = vendorOf(text.identifier);
      std::string_view rest =
          std::string_view(text.identifier).substr(std::min(vendor.size() + 1, text.identifier.size()));
      std::string part = reducedNameKey(rest.substr(0, rest.find('.')));
      if (!part.empty() && !isGenericWord(part)) others[AppIndex::vendorKey(vendor)].insert(std::move(part));
    }
    std::unordered_set<std::string> pooled;
    for (const auto& [vendor, parts] : others) {
      if (parts.size() > kMostOtherParts) pooled.insert(vendor);
    }
    state_.evidence.setPooledVendors(std::move(pooled));
    for (Entry& entry : state_.entries) {
      const bool isWeak = entry.find != State::kNone && entry.evidence >= EvidenceKind::onlyAppOfVendor;
      if (!isWeak) continue;
      entry.find = State::kNone;
      entry.status = OwnershipStatus::unknown;
      judge(entry, state_.text(entry), state_.path(entry));
    }
  }

  // What a vendor's folder holds with evidence of its own, stronger than the folder's.
  void addInner(std::uint8_t place, const OwnershipPlace& row, std::uint32_t outer) {
    const Entry folder = state_.entries[outer];
    if (!folder.isFolder || folder.status == OwnershipStatus::system || cancellation_.isCancelled()) return;
    const std::string folderName(state_.name(folder));
    const std::string folderKey = nameKey(folderName);
    const bool isFormers = folder.status != OwnershipStatus::orphaned && formers_.isVendorFolder(folderKey);
    if (!isFormers && !state_.index.isVendorFolder(folderKey)) return;
    const std::string path = state_.path(folder);
    for (const Listed& item : listed(row, FileURL(path))) {
      Entry entry = newEntry(place, item);
      entry.parent = outer;
      judge(entry, EntryText(row, item.name, folderName), path::join(path, item.name));
      const bool isStronger = folder.find == State::kNone || entry.evidence < folder.evidence;
      if (entry.find == State::kNone && entry.status == OwnershipStatus::unknown && isFormers)
        formers_.considerName(entry);
      if ((entry.find != State::kNone && isStronger) || entry.status == OwnershipStatus::orphaned) {
        keepFromLeftovers(outer, entry);
        state_.entries.push_back(entry);
      } else {
        state_.names.resize(entry.nameAt);
      }
    }
  }

  // A folder named by an identifier that no app has may be that of a framework, with a folder for each app that uses
  // it. Then its entries count one by one. False if it is not such a folder.
  bool addShared(std::uint8_t place, const OwnershipPlace& row, std::uint32_t outer) {
    const Entry folder = state_.entries[outer];
    if (folder.status != OwnershipStatus::orphaned || !folder.isFolder || cancellation_.isCancelled()) return false;
    const FileURL url(state_.path(folder));
    if (!state_.text(folder).isIdentifier) return false;
    const Listing items = listed(row, url);
    const bool isShared =
        items.size() <= kMostSharers &&
        std::any_of(items.begin(), items.end(), [&](const Listed& item) { return isOfAnApp(row, item); });
    if (!isShared) return false;
    state_.entries[outer].status = OwnershipStatus::unknown;
    for (const Listed& item : items) {
      Entry entry = newEntry(place, item);
      entry.parent = outer;
      judge(entry, EntryText(row, item.name), path::join(url.path(), item.name));
      if (entry.find == State::kNone && entry.status == OwnershipStatus::unknown) formers_.considerShared(entry);
      if (entry.status == OwnershipStatus::unknown) {
        state_.names.resize(entry.nameAt);
      } else {
        state_.entries.push_back(entry);
      }
    }
    return true;
  }

  // Whether an item is named by an identifier of an installed app or of its vendor.
  [[nodiscard]] bool isOfAnApp(const OwnershipPlace& row, const Listed& item) const {
    const EntryText text(row, item.name);
    if (!text.isIdentifier) return false;
    const std::vector<EvidenceFind> finds = state_.evidence.finds(text, /*all=*/false);
    return !finds.empty() && finds.front().kind != EvidenceKind::otherIdentifierName;
  }

  // Removing a leftover must not remove what an installed app keeps in it.
  void keepFromLeftovers(std::uint32_t outer, const Entry& inner) {
    Entry& folder = state_.entries[outer];
    if (folder.status == OwnershipStatus::orphaned && inner.find != State::kNone) {
      folder.status = OwnershipStatus::unknown;
    }
  }

  State& state_;
  FormerApps formers_;
  bool includeSystem_;
  const Cancellation& cancellation_;
  DirectoryReader reader_;
  std::unordered_set<std::string> sharedPaths_;
};

}  // namespace

void buildOwnership(OwnershipState& state, bool includeSystem,
                    const std::function<void(std::string_view place)>& progress, const Cancellation& cancellation) {
  Builder(state, includeSystem, cancellation).run(progress);
}

}  // namespace quarn

#include "QuarnCore/ownership/OwnershipMap.h"

#include <algorithm>
#include <utility>

#include "QuarnCore/ownership/OwnershipState.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

using Entry = OwnershipState::Entry;
using State = OwnershipState;

OwnershipClaim claimOf(const AppEntity& app, EvidenceKind evidence) {
  return {.appID = app.id,
          .appName = app.name,
          .bundleIdentifier = app.bundleIdentifier,
          .bundleURL = app.bundleURL,
          .evidence = evidence,
          .confidence = evidenceRule(evidence).confidence};
}

void addOwners(Ownership& ownership, const State& state, const AppList& apps, EvidenceKind evidence) {
  ownership.status = apps.size() == 1 ? OwnershipStatus::owned : OwnershipStatus::shared;
  ownership.evidence = evidenceSentence(evidence);
  ownership.confidence = evidenceRule(evidence).confidence;
  for (std::size_t i = 0; i < std::min(apps.size(), Ownership::kMostListed); ++i) {
    ownership.owners.push_back(claimOf(state.apps[apps[i]], evidence));
  }
  ownership.ownersLeftOut = static_cast<std::int64_t>(apps.size() - ownership.owners.size());
}

// Apps with weaker evidence than the owners', each with its strongest.
void addRivals(Ownership& ownership, const State& state, const std::vector<EvidenceFind>& finds,
               const AppList* winners) {
  std::vector<std::uint32_t> listed;
  const auto isKnown = [&](std::uint32_t app) {
    const bool isWinner = winners != nullptr && std::find(winners->begin(), winners->end(), app) != winners->end();
    return isWinner || std::find(listed.begin(), listed.end(), app) != listed.end();
  };
  for (const EvidenceFind& find : finds) {
    if (find.apps == winners) continue;
    for (std::size_t i = 0; i < std::min(find.apps->size(), Ownership::kMostListed); ++i) {
      const std::uint32_t app = (*find.apps)[i];
      if (listed.size() >= Ownership::kMostListed || isKnown(app)) continue;
      listed.push_back(app);
      ownership.rivals.push_back(claimOf(state.apps[app], find.kind));
    }
  }
}

const AppList* winnersOf(const State& state, const Entry& entry) {
  return entry.find == State::kNone ? nullptr : state.finds[entry.find];
}

Ownership recordWithoutRivals(const State& state, const Entry& entry) {
  const OwnershipPlace& place = ownershipPlaces()[entry.place];
  Ownership ownership{.url = FileURL(state.path(entry), entry.isFolder ? URLKind::directory : URLKind::item),
                      .status = entry.status,
                      .place = std::string(place.name),
                      .kind = place.kind,
                      .scope = place.scope(),
                      .dataClass = place.dataClass,
                      .riskLevel = place.riskLevel};
  if (const AppList* winners = winnersOf(state, entry)) addOwners(ownership, state, *winners, entry.evidence);
  if (entry.status == OwnershipStatus::orphaned) {
    ownership.formerOwner = state.formers[entry.former];
    ownership.orphanKind = entry.orphan;
    ownership.evidence = orphanSentence(entry.orphan);
  }
  return ownership;
}

Ownership recordOf(const State& state, const Entry& entry) {
  Ownership ownership = recordWithoutRivals(state, entry);
  const bool mayHaveRivals = entry.status != OwnershipStatus::system && !state.apps.empty();
  if (mayHaveRivals) addRivals(ownership, state, state.allFinds(entry), winnersOf(state, entry));
  return ownership;
}

std::optional<std::size_t> findNamed(const State& state, const State::Range& range, std::string_view name,
                                     std::uint32_t parent) {
  const auto begin = state.entries.begin() + range.begin;
  const auto end = state.entries.begin() + range.end;
  const auto found = std::lower_bound(begin, end, name, [&](const Entry& entry, std::string_view wanted) {
    if (entry.parent != parent) return entry.parent < parent;
    return state.name(entry) < wanted;
  });
  if (found == end || found->parent != parent || state.name(*found) != name) return std::nullopt;
  return static_cast<std::size_t>(found - state.entries.begin());
}

Ownership insideBundle(const State& state, const FileURL& url, std::uint32_t app) {
  Ownership ownership{.url = url,
                      .place = "App bundle",
                      .kind = ArtifactKind::appBundle,
                      .scope = ArtifactScope::system,
                      .dataClass = ArtifactDataClass::app,
                      .riskLevel = RiskLevel::safe};
  addOwners(ownership, state, {app}, EvidenceKind::inside);
  return ownership;
}

bool isFolderOfAll(const State& state, std::string_view path) {
  const auto places = ownershipPlaces();
  for (std::size_t i = 0; i < places.size(); ++i) {
    const std::string& folder = state.placeFolders[i];
    if (folder == path || path::isInside(folder, path)) return true;
    if (path::parent(path) == folder && isSharedParent(places[i], path::lastComponent(path))) return true;
  }
  return false;
}

// The owner of a path outside the places, of which only packages can tell.
Ownership elsewhere(const State& state, const FileURL& url, const std::vector<std::string>& packages) {
  Ownership ownership{.url = url};
  if (isFolderOfAll(state, url.path())) {
    ownership.evidence = sharedFolderSentence();
    return ownership;
  }
  for (const std::string& package : packages) {
    const AppList* apps = state.paths.appsOfPackage(package);
    if (apps == nullptr) continue;
    addOwners(ownership, state, *apps, EvidenceKind::receipt);
    break;
  }
  return ownership;
}

// The former owners become rivals.
void replaceOwners(Ownership& ownership, const State& state, const EvidenceFind& find) {
  std::vector<OwnershipClaim> losers = std::move(ownership.owners);
  ownership.owners.clear();
  ownership.formerOwner.reset();
  ownership.orphanKind.reset();
  addOwners(ownership, state, *find.apps, find.kind);
  for (OwnershipClaim& loser : losers) ownership.rivals.push_back(std::move(loser));
}

}  // namespace

std::string OwnershipState::path(const Entry& entry) const {
  if (entry.parent != kNone) return path::join(path(entries[entry.parent]), name(entry));
  return path::join(placeFolders[entry.place], name(entry));
}

EntryText OwnershipState::text(const Entry& entry) const {
  const std::string_view folder = entry.parent == kNone ? std::string_view() : name(entries[entry.parent]);
  return {ownershipPlaces()[entry.place], name(entry), folder};
}

std::vector<EvidenceFind> OwnershipState::allFinds(const Entry& entry) const {
  std::vector<EvidenceFind> all = evidence.finds(text(entry), /*all=*/true);
  const std::vector<EvidenceFind> ofPath = paths.finds(path(entry));
  all.insert(all.end(), ofPath.begin(), ofPath.end());
  std::stable_sort(all.begin(), all.end(),
                   [](const EvidenceFind& left, const EvidenceFind& right) { return left.kind < right.kind; });
  return all;
}

OwnershipMap::OwnershipMap(std::shared_ptr<const OwnershipState> state) : state_(std::move(state)) {}

bool OwnershipMap::isComplete() const { return state_->isComplete; }
const std::vector<AppEntity>& OwnershipMap::apps() const { return state_->apps; }
std::size_t OwnershipMap::size() const { return state_->entries.size(); }
OwnershipStatus OwnershipMap::status(std::size_t entry) const { return state_->entries[entry].status; }
ArtifactScope OwnershipMap::scope(std::size_t entry) const {
  return ownershipPlaces()[state_->entries[entry].place].scope();
}
const FormerOwner& OwnershipMap::formerOwner(std::size_t entry) const {
  return state_->formers[state_->entries[entry].former];
}
EvidenceKind OwnershipMap::evidence(std::size_t entry) const { return state_->entries[entry].evidence; }
Ownership OwnershipMap::ownership(std::size_t entry) const { return recordOf(*state_, state_->entries[entry]); }
Ownership OwnershipMap::ownershipWithoutRivals(std::size_t entry) const {
  return recordWithoutRivals(*state_, state_->entries[entry]);
}

FileURL OwnershipMap::url(std::size_t entry) const {
  const Entry& found = state_->entries[entry];
  return FileURL(state_->path(found), found.isFolder ? URLKind::directory : URLKind::item);
}

std::vector<std::uint32_t> OwnershipMap::owners(std::size_t entry) const {
  const std::uint32_t find = state_->entries[entry].find;
  if (find == State::kNone) return {};
  const AppList& apps = *state_->finds[find];
  return {apps.begin(), apps.begin() + static_cast<std::ptrdiff_t>(std::min(apps.size(), Ownership::kMostListed))};
}

std::optional<std::size_t> OwnershipMap::entryAround(std::string_view path) const {
  std::optional<std::size_t> best;
  std::size_t longest = 0;
  for (std::size_t i = 0; i < state_->placeRanges.size(); ++i) {
    const std::string& folder = state_->placeFolders[i];
    if (path.size() <= folder.size() || !path::isInside(path, folder) || folder.size() < longest) continue;
    const std::vector<std::string_view> below = path::names(path.substr(folder.size()));
    const auto outer = findNamed(*state_, state_->placeRanges[i], below.front(), State::kNone);
    if (!outer) continue;
    best = outer;
    longest = folder.size();
    if (below.size() < 2) continue;
    const auto inner = findNamed(*state_, state_->innerRanges[i], below[1], static_cast<std::uint32_t>(*outer));
    if (inner) best = inner;
  }
  return best;
}

bool OwnershipMap::holdsEntriesOfOthers(std::string_view path, const FileURL& bundle) const {
  const auto isOthers = [&](const Entry& entry) {
    if (entry.find == State::kNone) return false;
    const AppList& apps = *state_->finds[entry.find];
    return apps.size() > 1 || state_->apps[apps.front()].bundleURL != bundle;
  };
  const auto around = entryAround(path);
  if (!around || url(*around).path() != path) return false;
  if (isOthers(state_->entries[*around])) return true;
  const State::Range inner = state_->innerRanges[state_->entries[*around].place];
  return std::any_of(state_->entries.begin() + inner.begin, state_->entries.begin() + inner.end,
                     [&](const Entry& entry) { return entry.parent == *around && isOthers(entry); });
}

Ownership OwnershipMap::owners(const FileURL& url, const std::vector<std::string>& packages) const {
  if (const auto app = state_->paths.appAround(url.path())) return insideBundle(*state_, url, *app);
  const auto around = entryAround(url.path());
  if (!around) return elsewhere(*state_, url, packages);
  const Entry& entry = state_->entries[*around];
  Ownership ownership = recordOf(*state_, entry);
  const std::string holder = state_->path(entry);
  ownership.url = url;
  EvidenceKind strongest = entry.find == State::kNone ? EvidenceKind::inside : entry.evidence;
  for (const std::string_view name : path::names(std::string_view(url.path()).substr(holder.size()))) {
    const EntryText text(ownershipPlaces()[entry.place], name);
    for (const EvidenceFind& find : state_->evidence.finds(text, /*all=*/false)) {
      if (find.kind > EvidenceKind::prefixedIdentifier || find.kind >= strongest) continue;
      strongest = find.kind;
      replaceOwners(ownership, *state_, find);
    }
  }
  return ownership;
}

}  // namespace quarn

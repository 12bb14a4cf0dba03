#include "QuarnCore/ownership/Orphans.h"

#include <algorithm>
#include <array>
#include <utility>

#include "QuarnCore/ownership/NameKeys.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

// What restores windows, lists recent documents or keeps web pages was an app and no part of one.
constexpr std::array<std::string_view, 5> kProgramPlaces{"Saved Application State", "Recent Documents", "WebKit",
                                                         "Cookies", "HTTPStorages"};

// Every app writes to these places. In the others a single identifier may be a part of an installed app.
constexpr std::array<std::string_view, 10> kPlacesOfEveryApp{
    "Application Support",     "Preferences",  "Caches", "Containers", "Group Containers", "Application Scripts",
    "Saved Application State", "HTTPStorages", "WebKit", "Cookies"};

// Extensions have containers too, and identifiers with more parts than their apps'.
bool isAppsOwn(std::string_view identifier) {
  const std::string_view vendor = vendorOf(identifier);
  if (vendor.empty() || vendor.size() + 1 >= identifier.size()) return false;
  const std::string_view rest = identifier.substr(vendor.size() + 1);
  return rest.find('.') == std::string_view::npos && !lastMeaningfulPart(rest).empty();
}

// What users name themselves is never said to be an app's that is gone.
bool holdsUsersItems(const OwnershipPlace& place) {
  return place.naming == EntryNaming::plain && place.kind == ArtifactKind::unknown;
}

void mark(OwnershipState::Entry& entry, OrphanKind kind, std::uint32_t former) {
  entry.status = OwnershipStatus::orphaned;
  entry.orphan = kind;
  entry.former = former;
}

}  // namespace

void FormerApps::find() {
  for (Entry& entry : state_.entries) {
    if (entry.status == OwnershipStatus::unknown) considerByPath(entry);
  }
  for (const Entry& entry : state_.entries) {
    if (entry.status == OwnershipStatus::unknown) noteProgram(entry);
  }
  for (std::uint32_t i = 0; i < state_.entries.size(); ++i) considerIdentifier(i);
  gather();
  for (Entry& entry : state_.entries) {
    if (entry.status == OwnershipStatus::unknown) considerName(entry);
  }
}

void FormerApps::considerByPath(Entry& entry) {
  if (entry.former != State::kNone) {
    entry.status = OwnershipStatus::orphaned;
    return;
  }
  const PathEvidence::Former* former = state_.paths.former(state_.path(entry));
  if (former == nullptr) return;
  state_.formers.push_back(former->owner);
  mark(entry, former->kind, static_cast<std::uint32_t>(state_.formers.size() - 1));
}

void FormerApps::noteProgram(const Entry& entry) {
  const OwnershipPlace& place = ownershipPlaces()[entry.place];
  const EntryText text = state_.text(entry);
  if (!text.isIdentifier) {
    plainNames_.insert(text.key);
  } else if (std::find(kProgramPlaces.begin(), kProgramPlaces.end(), place.name) != kProgramPlaces.end() ||
             (place.name == "Containers" && isAppsOwn(text.identifier))) {
    programs_.insert(text.identifier);
  }
}

// An identifier of which there is a plain folder too was an app's.
bool FormerApps::wasProgram(const EntryText& text) const {
  if (programs_.contains(text.identifier)) return true;
  const std::size_t vendor = vendorOf(text.identifier).size();
  if (vendor + 1 >= text.identifier.size()) return false;
  const std::string key = nameKey(lastMeaningfulPart(std::string_view(text.identifier).substr(vendor + 1)));
  return !key.empty() && plainNames_.contains(key);
}

void FormerApps::considerIdentifier(std::uint32_t at) {
  const Entry& entry = state_.entries[at];
  if (entry.status != OwnershipStatus::unknown) return;
  if (holdsUsersItems(ownershipPlaces()[entry.place])) return;
  const EntryText text = state_.text(entry);
  if (!text.isIdentifier || state_.paths.isWorkingJob(state_.path(entry))) return;
  const EntryEvidence::Nearness nearness = state_.evidence.nearness(text);
  if (nearness == EntryEvidence::Nearness::name) return;
  if (nearness == EntryEvidence::Nearness::vendor && !wasProgram(text)) return;
  identifiers_[text.identifier].push_back(at);
  spelled_.try_emplace(text.identifier, withoutIdentifierPrefix(text.stem));
}

// "com.example.app.helper" is of the former app "com.example.app".
void FormerApps::gather() {
  std::vector<std::string> sorted;
  sorted.reserve(identifiers_.size());
  for (const auto& [identifier, entries] : identifiers_) sorted.push_back(identifier);
  std::sort(sorted.begin(), sorted.end());
  std::unordered_map<std::string, std::uint32_t> formers;
  apps_.reserve(sorted.size());
  owners_.reserve(sorted.size());
  for (const std::string& identifier : sorted) {
    if (!wasApp(identifier)) continue;
    const std::uint32_t former = formerOf(identifier, formers);
    for (const std::uint32_t at : identifiers_[identifier]) {
      Entry& entry = state_.entries[at];
      const bool isContainer = ownershipPlaces()[entry.place].name == "Containers";
      mark(entry, isContainer ? OrphanKind::container : OrphanKind::identifierName, former);
    }
  }
  // The index takes the memory of what only finds the apps.
  programs_ = {};
  plainNames_ = {};
  identifiers_ = {};
  spelled_ = {};
  formers = {};
  sorted = {};
  index_ = AppIndex(apps_, {});
}

bool FormerApps::wasApp(const std::string& identifier) {
  const std::vector<std::uint32_t>& entries = identifiers_[identifier];
  if (entries.size() > 1) return true;
  const Entry& only = state_.entries[entries.front()];
  const std::string_view place = ownershipPlaces()[only.place].name;
  return std::find(kPlacesOfEveryApp.begin(), kPlacesOfEveryApp.end(), place) != kPlacesOfEveryApp.end() ||
         wasProgram(state_.text(only));
}

void FormerApps::considerShared(Entry& entry) {
  considerName(entry);
  if (entry.status != OwnershipStatus::unknown) return;
  const EntryText text = state_.text(entry);
  if (!text.isIdentifier || state_.evidence.nearness(text) != EntryEvidence::Nearness::none) return;
  const std::string spelled(withoutIdentifierPrefix(text.stem));
  state_.formers.push_back({.name = spelled, .bundleIdentifier = spelled});
  mark(entry, OrphanKind::identifierName, static_cast<std::uint32_t>(state_.formers.size() - 1));
}

std::uint32_t FormerApps::formerOf(const std::string& identifier,
                                   std::unordered_map<std::string, std::uint32_t>& formers) {
  std::string_view prefix = identifier;
  for (std::size_t dot = prefix.rfind('.'); dot != std::string_view::npos; dot = prefix.rfind('.')) {
    const auto known = formers.find(std::string(prefix));
    if (known != formers.end()) return known->second;
    prefix = prefix.substr(0, dot);
  }
  const auto former = static_cast<std::uint32_t>(state_.formers.size());
  const std::string& spelled = spelled_[identifier];
  state_.formers.push_back({.name = spelled, .bundleIdentifier = spelled});
  formers.emplace(identifier, former);
  std::string part(lastMeaningfulPart(spelled));
  apps_.push_back({.name = std::move(part), .bundleIdentifier = spelled});
  owners_.push_back(former);
  return former;
}

// What the app was called is known then too.
void FormerApps::considerName(Entry& entry) {
  const OwnershipPlace& place = ownershipPlaces()[entry.place];
  if (holdsUsersItems(place)) return;
  const EntryText text = state_.text(entry);
  if (text.isIdentifier && state_.evidence.nearness(text) != EntryEvidence::Nearness::none) return;
  const std::vector<AppFacts> noFacts;
  const auto finds = EntryEvidence(index_, apps_, noFacts).finds(text, /*all=*/false);
  if (finds.empty()) return;
  // An installed app of the same vendor may need the entry, unless the entry names another app.
  const bool isVendors = finds.front().kind >= EvidenceKind::onlyAppOfVendor;
  if (isVendors && state_.index.find(AppIndex::Key::vendorName, text.key) != nullptr) return;
  const std::uint32_t former = owners_[finds.front().apps->front()];
  if (finds.front().kind == EvidenceKind::name && !text.isIdentifier) state_.formers[former].name = text.plainName;
  mark(entry, OrphanKind::formerAppName, former);
}

}  // namespace quarn

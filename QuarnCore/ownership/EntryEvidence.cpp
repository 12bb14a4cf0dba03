#include "QuarnCore/ownership/EntryEvidence.h"

#include <algorithm>
#include <array>
#include <utility>

#include "QuarnCore/ownership/NameKeys.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

using Key = AppIndex::Key;

constexpr std::size_t kShortestDotName = 4;
constexpr std::size_t kShortestUserName = 4;
constexpr std::size_t kShortestReduced = 3;
constexpr std::size_t kShortestInIdentifier = 4;
constexpr std::size_t kShortestForeign = 5;
constexpr std::size_t kShortestBeginning = 5;

bool isUserData(const OwnershipPlace& place) {
  return place.naming == EntryNaming::plain && place.dataClass == ArtifactDataClass::userData &&
         place.kind == ArtifactKind::unknown;
}

bool holdsReports(const OwnershipPlace& place) { return place.folder.ends_with("/DiagnosticReports"); }

// Where entries are named by identifiers, a name with a dot in it is one, whatever it begins with.
bool holdsIdentifiers(const OwnershipPlace& place) {
  return place.kind == ArtifactKind::savedState || place.kind == ArtifactKind::container ||
         place.kind == ArtifactKind::groupContainer || place.name == "HTTPStorages" || place.name == "WebKit" ||
         place.name == "Cookies" || place.name == "Recent Documents";
}

std::string_view stemOf(const OwnershipPlace& place, std::string_view name) {
  if (name.starts_with("._")) name.remove_prefix(1);
  while (name.size() > 1 && (name.front() == '.' || name.front() == '_')) name.remove_prefix(1);
  if (holdsReports(place) && name.find('.') != std::string_view::npos) name = name.substr(0, name.rfind('.'));
  return withoutDecorations(name);
}

std::size_t partsOf(std::string_view identifier) {
  return static_cast<std::size_t>(std::count(identifier.begin(), identifier.end(), '.')) + 1;
}

std::string_view lastPart(std::string_view identifier) { return identifier.substr(identifier.rfind('.') + 1); }

}  // namespace

EntryText::EntryText(const OwnershipPlace& inPlace, std::string_view name, std::string_view folderName)
    : place(inPlace), whole(Text::lowercased(name)), stem(stemOf(inPlace, name)), lowercased(Text::lowercased(stem)) {
  const std::string_view bare = withoutIdentifierPrefix(stem);
  identifier = Text::lowercased(bare);
  if (identifier.find('~') != std::string::npos && identifier.find('.') == std::string::npos) {
    std::replace(identifier.begin(), identifier.end(), '~', '.');
  }
  while (identifier.ends_with('.')) identifier.pop_back();
  team = std::string(teamPrefixOf(stem));
  isIdentifier = looksLikeIdentifier(identifier) || (holdsIdentifiers(place) && hasIdentifierForm(identifier));
  plainName = std::string(bare);
  key = nameKey(plainName);
  folderKey = nameKey(folderName);
}

/// The rules in their order, until the first find or to the end.
class EntryEvidence::Search {
 public:
  Search(const EntryEvidence& evidence, const EntryText& entry, bool all)
      : index_(evidence.index_), evidence_(evidence), entry_(entry), all_(all) {}

  std::vector<EvidenceFind> run() {
    using Rule = bool (Search::*)();
    constexpr std::array<Rule, 9> kRules{
        &Search::byGroup,      &Search::byHelper,      &Search::byIdentifier, &Search::byPrefixedIdentifier,
        &Search::byName,       &Search::byReducedName, &Search::byVendor,     &Search::byForeignIdentifier,
        &Search::byVendorAlone};
    for (const Rule rule : kRules) {
      if ((this->*rule)()) return std::move(finds_);
    }
    byVendorName();
    return std::move(finds_);
  }

 private:
  // Whether the search has ended.
  bool add(EvidenceKind kind, const AppList* apps) {
    if (apps == nullptr) return false;
    finds_.push_back({kind, apps});
    return !all_;
  }
  bool addKey(EvidenceKind kind, Key key, std::string_view text) {
    return !text.empty() && add(kind, index_.find(key, text));
  }

  bool byGroup() {
    if (entry_.place.kind != ArtifactKind::groupContainer && entry_.place.kind != ArtifactKind::container) return false;
    return addKey(EvidenceKind::entitlement, Key::group, entry_.whole);
  }

  bool byHelper() { return addKey(EvidenceKind::privilegedHelper, Key::helper, entry_.lowercased); }

  bool byIdentifier() {
    for (const std::string* text : {&entry_.whole, &entry_.lowercased}) {
      if (addKey(EvidenceKind::identifier, Key::identifier, *text)) return true;
      if (addKey(EvidenceKind::embeddedIdentifier, Key::embedded, *text)) return true;
    }
    return byLongestPrefix(EvidenceKind::identifierAndMore, entry_.lowercased);
  }

  bool byLongestPrefix(EvidenceKind kind, std::string_view text) {
    for (std::size_t dot = text.rfind('.'); dot != std::string_view::npos && dot > 0; dot = text.rfind('.', dot - 1)) {
      const std::string_view prefix = text.substr(0, dot);
      if (prefix.find('.') == std::string_view::npos) break;
      // An app that calls itself "com.github" does not own what others keep below that.
      if (partsOf(prefix) == 2 && vendorOf(prefix).empty()) break;
      if (addKey(kind, Key::identifier, prefix) || addKey(kind, Key::embedded, prefix)) return true;
    }
    return false;
  }

  bool byPrefixedIdentifier() {
    if (entry_.identifier == entry_.lowercased) return false;
    if (addFromTeam(Key::identifier) || addFromTeam(Key::embedded)) return true;
    if (!entry_.team.empty() && isForeignTeam()) return false;
    return byLongestPrefix(EvidenceKind::prefixedIdentifier, entry_.identifier);
  }

  bool addFromTeam(Key key) {
    const AppList* apps = index_.find(key, entry_.identifier);
    return apps != nullptr && !hasOtherTeam(*apps) && add(EvidenceKind::prefixedIdentifier, apps);
  }

  // Whether the first of the apps is signed by another team than the entry names.
  [[nodiscard]] bool hasOtherTeam(const AppList& apps) const {
    if (entry_.team.empty() || apps.front() >= evidence_.facts_.size()) return false;
    const std::string& team = evidence_.facts_[apps.front()].team;
    return !team.empty() && team != entry_.team;
  }
  [[nodiscard]] bool isForeignTeam() const {
    const AppList* apps = index_.find(Key::vendor, AppIndex::vendorKey(vendorOf(entry_.identifier)));
    return apps != nullptr && hasOtherTeam(*apps);
  }

  [[nodiscard]] std::size_t shortestName() const {
    if (entry_.place.naming == EntryNaming::dotted) return kShortestDotName;
    return isUserData(entry_.place) ? kShortestUserName : 2;
  }

  [[nodiscard]] bool takesNames() const { return entry_.place.naming != EntryNaming::identifierOnly; }

  bool byName() {
    if (!takesNames() || entry_.key.size() < shortestName()) return false;
    if (!entry_.folderKey.empty()) return byNameInFolder();
    return addKey(EvidenceKind::name, Key::name, entry_.key);
  }

  // In a vendor's folder plain names are common words, so that the folder must fit the app too.
  bool byNameInFolder() {
    if (addKey(EvidenceKind::name, Key::name, entry_.folderKey + entry_.key)) return true;
    if (addKey(EvidenceKind::name, Key::folderApp, AppIndex::joined(entry_.folderKey, entry_.key))) return true;
    const std::string reduced = reducedNameKey(entry_.plainName);
    return addKey(EvidenceKind::nameWithoutVersion, Key::folderApp, AppIndex::joined(entry_.folderKey, reduced));
  }

  bool byReducedName() {
    if (!takesNames() || !entry_.folderKey.empty()) return false;
    const std::size_t shortest = std::max(shortestName(), kShortestReduced);
    const NameKeys keys = nameKeysOf(entry_.plainName);
    const std::string withoutEnding = nameKey(withoutDomain(entry_.plainName));
    for (const std::string* key : {&keys.plain, &keys.unversioned, &keys.reduced, &withoutEnding}) {
      if (key->size() < shortest || isGenericWord(*key)) continue;
      if (addKey(EvidenceKind::nameWithoutVersion, Key::name, *key)) return true;
      if (addKey(EvidenceKind::nameWithoutVersion, Key::reducedName, *key)) return true;
    }
    return false;
  }

  bool byVendor() {
    if (!entry_.isIdentifier) return false;
    const std::string_view vendor = vendorOf(entry_.identifier);
    const std::string vendorKey = AppIndex::vendorKey(vendor);
    const AppList* apps = vendorKey.empty() ? nullptr : index_.find(Key::vendor, vendorKey);
    if (apps == nullptr) return false;
    if (const AppList* named = longestNamed(vendorKey, std::string_view(entry_.identifier).substr(vendor.size()))) {
      if (add(EvidenceKind::vendorIdentifierName, named)) return true;
    }
    return false;
  }

  bool byVendorAlone() {
    if (!entry_.isIdentifier) return false;
    const std::string vendorKey = AppIndex::vendorKey(vendorOf(entry_.identifier));
    const AppList* apps = vendorKey.empty() ? nullptr : index_.find(Key::vendor, vendorKey);
    if (apps == nullptr || apps->size() > kMostOfVendor || evidence_.pooled_.contains(vendorKey)) return false;
    return add(EvidenceKind::onlyAppOfVendor, apps);
  }

  // The apps of the vendor whose name is the longest one in the rest of the identifier.
  [[nodiscard]] const AppList* longestNamed(const std::string& vendorKey, std::string_view rest) const {
    constexpr std::size_t kLongestRest = 80;
    const std::string key = nameKey(rest).substr(0, kLongestRest);
    for (std::size_t length = key.size(); length >= kShortestInIdentifier; --length) {
      for (std::size_t begin = 0; begin + length <= key.size(); ++begin) {
        const auto* apps = index_.find(Key::vendorApp, AppIndex::joined(vendorKey, key.substr(begin, length)));
        if (apps != nullptr) return apps;
      }
    }
    return nullptr;
  }

  bool byForeignIdentifier() {
    if (!entry_.isIdentifier) return false;
    const NameKeys last = nameKeysOf(lastPart(entry_.identifier));
    const std::string meaningful = nameKey(lastMeaningfulPart(entry_.identifier));
    for (const std::string* key : {&last.plain, &last.reduced, &meaningful}) {
      if (key->size() < kShortestForeign || isGenericWord(*key)) continue;
      if (addKey(EvidenceKind::otherIdentifierName, Key::name, *key)) return true;
    }
    return false;
  }

  void byVendorName() {
    if (!takesNames() || !entry_.folderKey.empty() || entry_.isIdentifier || entry_.key.size() < kShortestDotName)
      return;
    const AppList* apps = index_.find(Key::vendorName, entry_.key);
    if (apps == nullptr || apps->size() > kMostOfVendor) return;
    const AppEntity& app = evidence_.apps_[apps->front()];
    const std::string identifier = Text::lowercased(app.bundleIdentifier.value_or(""));
    if (!evidence_.pooled_.contains(AppIndex::vendorKey(vendorOf(identifier)))) add(EvidenceKind::vendorName, apps);
  }

  const AppIndex& index_;
  const EntryEvidence& evidence_;
  const EntryText& entry_;
  bool all_;
  std::vector<EvidenceFind> finds_;
};

std::vector<EvidenceFind> EntryEvidence::finds(const EntryText& entry, bool all) const {
  return Search(*this, entry, all).run();
}

EntryEvidence::Nearness EntryEvidence::nearness(const EntryText& entry) const {
  const std::string_view vendor = vendorOf(entry.identifier);
  const std::string vendorKey = AppIndex::vendorKey(vendor);
  const bool hasSiblings =
      !vendor.empty() && (index_.find(Key::vendor, vendorKey) != nullptr ||
                          index_.find(Key::vendorName, nameKey(vendorNameOf(entry.identifier))) != nullptr);
  if (hasSiblings && isCalledLikeItsApp(vendor)) return Nearness::name;
  std::string_view rest = entry.identifier;
  if (hasSiblings) rest.remove_prefix(vendor.size());
  while (!rest.empty()) {
    const std::string_view part = rest.substr(0, rest.find('.'));
    rest = part.size() == rest.size() ? std::string_view() : rest.substr(part.size() + 1);
    if (isNearName(part)) return Nearness::name;
  }
  return hasSiblings ? Nearness::vendor : Nearness::none;
}

// A vendor that is called like its only installed app has no other app that could have left something.
bool EntryEvidence::isCalledLikeItsApp(std::string_view vendor) const {
  const std::string name = nameKey(vendorNameOf(vendor));
  const AppList* apps = index_.find(Key::vendor, AppIndex::vendorKey(vendor));
  if (apps == nullptr) apps = index_.find(Key::vendorName, name);
  if (apps == nullptr || apps->size() != 1 || name.size() < kShortestInIdentifier) return false;
  return nameKey(apps_[apps->front()].name).starts_with(name);
}

bool EntryEvidence::isNearName(std::string_view part) const {
  const NameKeys keys = nameKeysOf(part);
  for (const std::string* key : {&keys.plain, &keys.reduced}) {
    if (key->size() < kShortestInIdentifier || isGenericWord(*key)) continue;
    if (index_.find(Key::name, *key) != nullptr || index_.find(Key::vendorName, *key) != nullptr) return true;
    if (key->size() >= kShortestForeign && index_.find(Key::reducedName, *key) != nullptr) return true;
  }
  for (std::size_t length = kShortestBeginning; length < keys.plain.size(); ++length) {
    const std::string_view beginning = std::string_view(keys.plain).substr(0, length);
    if (!isGenericWord(beginning) && index_.find(Key::name, beginning) != nullptr) return true;
  }
  return false;
}

}  // namespace quarn

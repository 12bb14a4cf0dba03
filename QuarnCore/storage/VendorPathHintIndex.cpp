#include "QuarnCore/storage/VendorPathHintIndex.h"

#include <algorithm>
#include <array>
#include <utility>

#include "QuarnCore/vendors/ListedFolders.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/base/Parallel.h"
#include "QuarnPlatform/paths/PathSet.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

using Category = StorageCategoryID;

struct VendorCategory {
  std::string_view id;
  Category category;
};

// clang-format off
constexpr std::array kVendorCategories{
    VendorCategory{.id = "apple-mail", .category = Category::communication},
    VendorCategory{.id = "microsoft-outlook", .category = Category::communication},
    VendorCategory{.id = "microsoft-teams", .category = Category::communication},
    VendorCategory{.id = "zoom", .category = Category::communication},
    VendorCategory{.id = "cisco-jabber", .category = Category::communication},
    VendorCategory{.id = "slack", .category = Category::communication},
    VendorCategory{.id = "webex", .category = Category::communication},
    VendorCategory{.id = "discord", .category = Category::communication},
    VendorCategory{.id = "whatsapp", .category = Category::communication},
    VendorCategory{.id = "telegram-desktop", .category = Category::communication},
    VendorCategory{.id = "telegram", .category = Category::communication},
    VendorCategory{.id = "signal", .category = Category::communication},
    VendorCategory{.id = "thunderbird", .category = Category::communication},
    VendorCategory{.id = "steam", .category = Category::games},
    VendorCategory{.id = "epic-games-launcher", .category = Category::games},
    VendorCategory{.id = "battle-net", .category = Category::games},
    VendorCategory{.id = "gog-galaxy", .category = Category::games},
    VendorCategory{.id = "heroic", .category = Category::games},
    VendorCategory{.id = "origin", .category = Category::games},
    VendorCategory{.id = "riot-client", .category = Category::games},
    VendorCategory{.id = "minecraft-launcher", .category = Category::games},
    VendorCategory{.id = "itch", .category = Category::games},
    VendorCategory{.id = "crossover", .category = Category::games},
    VendorCategory{.id = "xcode", .category = Category::development},
    VendorCategory{.id = "core-simulator", .category = Category::development},
    VendorCategory{.id = "swiftpm", .category = Category::development},
    VendorCategory{.id = "cocoapods", .category = Category::development},
    VendorCategory{.id = "carthage", .category = Category::development},
    VendorCategory{.id = "homebrew", .category = Category::development},
    VendorCategory{.id = "kubernetes-local", .category = Category::development},
    VendorCategory{.id = "android-studio", .category = Category::development},
    VendorCategory{.id = "jetbrains", .category = Category::development},
    VendorCategory{.id = "visual-studio-code", .category = Category::development},
    VendorCategory{.id = "unity", .category = Category::development},
    VendorCategory{.id = "docker-desktop", .category = Category::development},
    VendorCategory{.id = "utm", .category = Category::development},
    VendorCategory{.id = "rancher-desktop", .category = Category::development},
    VendorCategory{.id = "orbstack", .category = Category::development},
    VendorCategory{.id = "multipass", .category = Category::development},
    VendorCategory{.id = "vagrant", .category = Category::development},
    VendorCategory{.id = "unreal-engine", .category = Category::development},
    VendorCategory{.id = "java-toolchain", .category = Category::development},
    VendorCategory{.id = "parallels-desktop", .category = Category::development},
    VendorCategory{.id = "vmware-fusion", .category = Category::development},
    VendorCategory{.id = "virtualbox", .category = Category::development},
    VendorCategory{.id = "nodejs-toolchain", .category = Category::development},
    VendorCategory{.id = "python-toolchain", .category = Category::development},
    VendorCategory{.id = "apple-photos", .category = Category::photos},
    VendorCategory{.id = "final-cut-pro", .category = Category::photos},
    VendorCategory{.id = "garageband", .category = Category::photos},
    VendorCategory{.id = "logic-pro", .category = Category::photos},
    VendorCategory{.id = "icloud-drive", .category = Category::documents},
    VendorCategory{.id = "microsoft-onedrive", .category = Category::documents},
    VendorCategory{.id = "dropbox", .category = Category::documents},
    VendorCategory{.id = "google-drive", .category = Category::documents},
    VendorCategory{.id = "box-drive", .category = Category::documents},
    VendorCategory{.id = "nextcloud-desktop", .category = Category::documents},
    VendorCategory{.id = "synology-drive", .category = Category::documents},
    VendorCategory{.id = "megasync", .category = Category::documents},
    VendorCategory{.id = "pcloud-drive", .category = Category::documents},
    VendorCategory{.id = "tresorit", .category = Category::documents},
    VendorCategory{.id = "resilio-sync", .category = Category::documents},
    VendorCategory{.id = "seafile-client", .category = Category::documents},
    VendorCategory{.id = "safari", .category = Category::systemData},
    VendorCategory{.id = "arc-browser", .category = Category::systemData},
    VendorCategory{.id = "opera", .category = Category::systemData},
    VendorCategory{.id = "vivaldi", .category = Category::systemData},
    VendorCategory{.id = "time-machine", .category = Category::systemData},
    VendorCategory{.id = "mobile-sync", .category = Category::systemData},
    VendorCategory{.id = "backblaze", .category = Category::systemData},
    VendorCategory{.id = "carbon-copy-cloner", .category = Category::systemData},
    VendorCategory{.id = "archicad", .category = Category::systemData},
    VendorCategory{.id = "vectorworks", .category = Category::systemData},
    VendorCategory{.id = "automatic1111", .category = Category::systemData},
    VendorCategory{.id = "comfyui", .category = Category::systemData},
    VendorCategory{.id = "invokeai", .category = Category::systemData},
    VendorCategory{.id = "diffusionbee", .category = Category::systemData},
    VendorCategory{.id = "runpod", .category = Category::systemData},
    VendorCategory{.id = "malwarebytes", .category = Category::systemData},
    VendorCategory{.id = "bitdefender", .category = Category::systemData},
    VendorCategory{.id = "norton-360", .category = Category::systemData},
    VendorCategory{.id = "mcafee", .category = Category::systemData},
    VendorCategory{.id = "avast", .category = Category::systemData},
    VendorCategory{.id = "sophos", .category = Category::systemData},
    VendorCategory{.id = "eset", .category = Category::systemData},
    VendorCategory{.id = "trend-micro", .category = Category::systemData},
    VendorCategory{.id = "intego", .category = Category::systemData},
    VendorCategory{.id = "kaspersky", .category = Category::systemData},
    VendorCategory{.id = "sentinelone", .category = Category::systemData},
    VendorCategory{.id = "jamf", .category = Category::systemData},
    VendorCategory{.id = "cisco-secure-client", .category = Category::systemData},
};
// clang-format on
static_assert(kVendorCategories.size() == 91);

bool isScanRoot(ArtifactKind kind) { return kind != ArtifactKind::appBundle && kind != ArtifactKind::uninstaller; }

VendorPathHint makeHint(const VendorProfile& profile, Category category,
                        const VendorProfile::ArtifactDefinition& definition) {
  return {.vendorID = profile.id,
          .vendorName = profile.displayName,
          .category = category,
          .artifactKind = definition.kind,
          .artifactDataClass = definition.dataClass,
          .artifactTitle = definition.title,
          .explanation = definition.explanation,
          .riskLevel = definition.riskLevel};
}

VendorPathHint makeHint(const VendorProfile& profile, Category category, const VendorProfile::CarveOut& carveOut) {
  return {.vendorID = profile.id,
          .vendorName = profile.displayName,
          .category = category,
          .artifactKind = ArtifactKind::unknown,
          .artifactDataClass = ArtifactDataClass::shared,
          .artifactTitle = carveOut.title,
          .explanation = carveOut.reason,
          .riskLevel = RiskLevel::danger};
}

/// The existing items of a profile, definition by definition.
struct LocatedItems {
  std::vector<std::vector<FileURL>> artifacts;
  std::vector<std::vector<FileURL>> carveOuts;
  bool areNone = true;
};

/// `profile` is a whole one, or its paths.
template <class Profile>
LocatedItems locate(const Profile& profile, ListedFolders& folders, const FileURL& home) {
  LocatedItems located;
  const auto add = [&](const auto& definitions, std::vector<std::vector<FileURL>>& items) {
    items.reserve(definitions.size());
    for (const auto& definition : definitions) {
      items.push_back(VendorPathResolver::resolve(definition.paths, folders, home));
      located.areNone = located.areNone && items.back().empty();
    }
  };
  add(profile.artifacts, located.artifacts);
  add(profile.carveOuts, located.carveOuts);
  return located;
}

VendorPathHintIndex::Finds findsOf(const VendorProfile& profile, Category category, LocatedItems items) {
  VendorPathHintIndex::Finds finds;
  const auto add = [&](const auto& definition, std::vector<FileURL>& urls, bool areRoots) {
    if (!urls.empty()) finds.push_back({makeHint(profile, category, definition), std::move(urls), areRoots});
  };
  for (std::size_t i = 0; i < profile.artifacts.size(); ++i) {
    add(profile.artifacts[i], items.artifacts[i], isScanRoot(profile.artifacts[i].kind));
  }
  for (std::size_t i = 0; i < profile.carveOuts.size(); ++i) {
    add(profile.carveOuts[i], items.carveOuts[i], /*areRoots=*/false);
  }
  return finds;
}

/// The existing items of a profile; absent if it has no category.
std::optional<VendorPathHintIndex::Finds> findsOf(const VendorProfile& profile, ListedFolders& folders,
                                                  const FileURL& home) {
  const std::optional<Category> category = VendorPathHintIndex::category(profile.id);
  if (!category) return std::nullopt;
  return findsOf(profile, *category, locate(profile, folders, home));
}

/// The same for a profile's file. Reads all of it only if the vendor has items here.
std::optional<VendorPathHintIndex::Finds> findsOfFile(std::string_view text, ListedFolders& folders,
                                                      const FileURL& home) {
  const std::optional<VendorProfilePaths> paths = readVendorPaths(text);
  if (!paths) {
    const std::optional<VendorProfile> profile = decodeVendorProfile(text);
    return profile ? findsOf(*profile, folders, home) : std::nullopt;
  }
  const std::optional<Category> category = VendorPathHintIndex::category(paths->id);
  if (!category) return std::nullopt;
  LocatedItems items = locate(*paths, folders, home);
  const std::optional<VendorProfile> profile = items.areNone ? std::nullopt : decodeVendorProfile(text);
  return profile ? std::optional(findsOf(*profile, *category, std::move(items))) : std::nullopt;
}

template <class Value>
struct Measured {
  std::size_t length;  // number of characters of the path
  Value value;
};

template <class Value, class PathOf, class Before>
void sortMeasured(std::vector<Value>& values, PathOf pathOf, Before comesBefore) {
  std::vector<Measured<Value>> measured;
  measured.reserve(values.size());
  for (Value& value : values) measured.push_back({Text::characterCount(pathOf(value)), std::move(value)});
  std::stable_sort(measured.begin(), measured.end(), comesBefore);
  std::transform(measured.begin(), measured.end(), values.begin(),
                 [](Measured<Value>& item) { return std::move(item.value); });
}

}  // namespace

std::optional<Category> VendorPathHintIndex::category(std::string_view profileID) {
  const auto row = std::find_if(kVendorCategories.begin(), kVendorCategories.end(),
                                [&](const VendorCategory& candidate) { return candidate.id == profileID; });
  return row == kVendorCategories.end() ? std::nullopt : std::optional<Category>(row->category);
}

VendorPathHintIndex::VendorPathHintIndex(const VendorProfileRegistry& registry, const FileURL& home, FileManager files)
    : files_(std::move(files)) {
  const std::vector<VendorProfile>& profiles = registry.profiles();
  ListedFolders folders(files_);
  addAll(profiles.size(), [&](std::size_t i) { return findsOf(profiles[i], folders, home); });
}

VendorPathHintIndex::VendorPathHintIndex(const VendorProfileFiles& profiles, const FileURL& home, FileManager files)
    : files_(std::move(files)) {
  ListedFolders folders(files_);
  addAll(profiles.size(), [&](std::size_t i) {
    const std::optional<std::string> text = profiles.text(i);
    return text ? findsOfFile(*text, folders, home) : std::nullopt;
  });
}

void VendorPathHintIndex::addAll(std::size_t profiles,
                                 const std::function<std::optional<Finds>(std::size_t)>& findsAt) {
  for (const Finds& finds : collectInParallel<Finds>(profiles, findsAt)) {
    for (const Find& find : finds) add(find);
  }
  sortEntries();
  keepOutermostRoots();
}

void VendorPathHintIndex::add(const Find& find) {
  for (const FileURL& url : find.urls) {
    const bool isDirectory = url.hasDirectoryPath();
    if (find.areRoots && isDirectory) rootsByCategory_[find.hint.category].push_back(url);
    Entry entry{.path = files_.standardizedPath(url), .url = url, .hint = find.hint, .isDirectory = isDirectory};
    entry.hint.path = entry.path;
    entriesByCategory_[find.hint.category].push_back(std::move(entry));
  }
}

// Deeper paths precede the paths that contain them. Equal paths keep their order.
void VendorPathHintIndex::sortEntries() {
  const auto deepestFirst = [](const Measured<Entry>& left, const Measured<Entry>& right) {
    return left.length != right.length ? left.length > right.length : left.value.path < right.value.path;
  };
  for (auto& [category, entries] : entriesByCategory_) {
    sortMeasured(
        entries, [](const Entry& entry) -> const std::string& { return entry.path; }, deepestFirst);
    PathTrie<std::size_t>& places = entryAt_[category];
    for (std::size_t i = 0; i < entries.size(); ++i) places.insert(entries[i].path, i);
  }
}

void VendorPathHintIndex::keepOutermostRoots() {
  const auto pathOf = [&](const FileURL& url) { return files_.standardizedPath(url); };
  const auto shortestFirst = [](const Measured<FileURL>& left, const Measured<FileURL>& right) {
    return left.length < right.length;
  };
  for (auto& [category, roots] : rootsByCategory_) {
    sortMeasured(roots, pathOf, shortestFirst);
    PathSet kept;
    std::erase_if(roots, [&](const FileURL& url) { return !kept.insertUnlessCovered(pathOf(url)); });
  }
}

// The deepest path that contains a URL is also the longest, so one descent in the trie equals a search in order.
std::optional<VendorPathHint> VendorPathHintIndex::hint(const FileURL& url, Category category) const {
  const auto places = entryAt_.find(category);
  if (places == entryAt_.end()) return std::nullopt;
  const std::string path = files_.standardizedPath(url);
  const std::size_t* found = places->second.longestMatch(path);
  if (found == nullptr) return std::nullopt;
  const VendorPathHint& hint = entriesByCategory_.at(category)[*found].hint;
  // Compared as text, no path continues "/" with another "/".
  if (hint.path == "/" && path != "/") return std::nullopt;
  return hint;
}

std::vector<FileURL> VendorPathHintIndex::roots(Category category) const {
  const auto roots = rootsByCategory_.find(category);
  return roots == rootsByCategory_.end() ? std::vector<FileURL>() : roots->second;
}

}  // namespace quarn

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <utility>

#include <gmock/gmock.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnCore/vendors/DeepInspectorService.h"
#include "QuarnPlatform/paths/Path.h"
#include "tests/support/MacVolume.h"
#include "tests/support/VendorVolume.h"

// What no shipped profile may do: docs/vendor-profiles.md states these rules for authors.

namespace quarn::profile_safety_tests {
namespace {

using ::testing::IsEmpty;

using Definition = VendorProfile::ArtifactDefinition;

constexpr std::array kCarefulModes{CleanupMode::cacheOnly, CleanupMode::associatedDataOnly, CleanupMode::removeApp};

const std::vector<VendorProfile>& profiles() {
  static const VendorProfileRegistry registry = shippedVendorProfiles();
  return registry.profiles();
}

template <class Check>
void eachDefinition(const Check& check) {
  for (const VendorProfile& profile : profiles()) {
    for (const Definition& definition : profile.artifacts) {
      check(definition, productOf(profile) + ", " + definition.title);
    }
  }
}

// One volume with the files of every profile. Nothing in it changes.
struct EveryVendorsMac {
  MacVolume volume;
  std::vector<std::vector<Artifact>> artifacts;  // by profile

  EveryVendorsMac() {
    std::vector<std::string> patterns;
    for (const VendorProfile& profile : profiles()) {
      for (std::string& pattern : patternsOf(profile)) patterns.push_back(std::move(pattern));
    }
    (void)installPatterns(volume, patterns, "2024.1");
    for (const VendorProfile& profile : profiles()) {
      artifacts.push_back(profile.makeArtifacts(volume.files(), volume.url("~")));
    }
  }
};

const EveryVendorsMac& everyVendorsMac() {
  static const EveryVendorsMac mac;
  return mac;
}

// The apps by which a profile may be recognised: each identifier, under each of its names.
std::vector<AppEntity> appsOf(const VendorProfile& profile) {
  std::vector<std::string> names{profile.displayName};
  for (const std::string& bundle : appBundleNames(profile)) names.emplace_back(path::stem(bundle));
  std::vector<AppEntity> apps;
  for (const std::string& identifier : profile.match.bundleIDs) {
    for (const std::string& name : names) {
      apps.push_back({.name = name,
                      .bundleIdentifier = identifier,
                      .bundleURL = FileURL("/Users/ann/Applications/" + name + ".app", URLKind::directory)});
    }
  }
  return apps;
}

// Every group container of the volume, as if the app's signature named them all.
EntitlementsInfo allGroups(const MacVolume& volume) {
  EntitlementsInfo entitlements;
  const std::string folder = volume.root() + volume.path("~/Library/Group Containers");
  for (const auto& group : std::filesystem::directory_iterator(folder)) {
    entitlements.applicationGroups.push_back(group.path().filename());
  }
  return entitlements;
}

std::vector<Artifact> standardArtifacts(const AppEntity& app, const EntitlementsInfo& entitlements,
                                        const MacVolume& volume) {
  return ArtifactScanner(FileSizeCalculator::live(volume.files()), volume.files())
      .scan(app, entitlements,
            {.includeHeuristicSearch = false,
             .heuristicMaxDepth = 0,
             .heuristicMaxResults = 0,
             .includeVendorHeuristics = false,
             .includeSystemArtifacts = true,
             .includeSystemHeuristicSearch = false,
             .computeSizes = false});
}

// How strongly a data class protects: what every careful mode deletes, what one of them does, what none does, and what
// may be the user's only copy.
int protection(ArtifactDataClass dataClass) {
  switch (dataClass) {
    case ArtifactDataClass::rebuildable: return 0;
    case ArtifactDataClass::syncRestorable: return 1;
    case ArtifactDataClass::app:
    case ArtifactDataClass::configuration:
    case ArtifactDataClass::unknown: return 2;
    case ArtifactDataClass::userData:
    case ArtifactDataClass::shared: return 3;
  }
  return 0;
}

void expectNoWeaker(const Artifact& ours, const Artifact& theirs, const std::string& where) {
  for (const FileURL& url : ours.urls) {
    if (std::find(theirs.urls.begin(), theirs.urls.end(), url) == theirs.urls.end()) continue;
    EXPECT_GE(protection(ours.dataClass), protection(theirs.dataClass)) << where << ": " << url.path();
    EXPECT_GE(ours.riskLevel, theirs.riskLevel) << where << ": " << url.path();
  }
}

TEST(ProfileSafety, NothingIsSyncRestorableBecauseEachKindOfDataHereCanHoldALocalOnlyCopy) {
  eachDefinition([](const Definition& definition, const std::string& where) {
    EXPECT_NE(definition.dataClass, ArtifactDataClass::syncRestorable) << where;
  });
}

TEST(ProfileSafety, CarefulModesDeleteNothingThatCannotBeRestored) {
  const std::vector<std::string> harmless{
      "only time is lost",   "nothing of yours is lost", "nothing of value is lost",  "past problems is lost",
      "past builds is lost", "open windows is lost",     "place in the Dock is lost", "only download time is lost"};
  eachDefinition([&](const Definition& definition, const std::string& where) {
    if (protection(definition.dataClass) > 1 || definition.riskLevel == RiskLevel::danger) return;
    std::string text = *definition.explanation;
    for (const std::string& part : harmless) {
      if (const std::size_t found = text.find(part); found != std::string::npos) text.erase(found, part.size());
    }
    EXPECT_EQ(text.find(" lost"), std::string::npos) << where << ": " << *definition.explanation;
  });
}

TEST(ProfileSafety, EveryFixedAppBundleIsDangerous) {
  std::size_t count = 0;
  eachDefinition([&](const Definition& definition, const std::string& where) {
    if (definition.kind != ArtifactKind::appBundle) return;
    ++count;
    EXPECT_EQ(definition.riskLevel, RiskLevel::danger) << where;
  });
  EXPECT_GT(count, 80U);
}

TEST(ProfileSafety, RemovingACopyInTheHomeFolderLeavesTheCopyInApplications) {
  const VendorProfileRegistry registry = shippedVendorProfiles();
  MacVolume volume;
  std::vector<AppEntity> copies;
  for (const VendorProfile& profile : registry.profiles()) {
    for (const std::string& bundle : appBundleNames(profile)) {
      if (bundle.find('*') != std::string::npos || profile.match.bundleIDs.empty()) continue;
      volume.folder("/Applications/" + bundle + "/Contents").folder("~/Applications/" + bundle + "/Contents");
      copies.push_back({.name = profile.displayName,
                        .bundleIdentifier = profile.match.bundleIDs.front(),
                        .bundleURL = FileURL(volume.path("~/Applications/" + bundle), URLKind::directory)});
    }
  }
  EXPECT_GT(copies.size(), 80U);
  for (const AppEntity& app : copies) {
    AppInspection inspection{.app = app, .artifacts = registry.artifacts(app, volume.files(), volume.url("~"))};
    std::erase_if(inspection.artifacts, [&](const Artifact& one) { return one.urls.front() == app.bundleURL; });
    for (const CleanupMode mode : kCarefulModes) {
      EXPECT_THAT(AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode), IsEmpty()) << app.bundleURL.path();
    }
  }
}

TEST(ProfileSafety, NoProfileProtectsAStandardLocationLess) {
  const EveryVendorsMac& mac = everyVendorsMac();
  std::size_t compared = 0;
  for (std::size_t i = 0; i < profiles().size(); ++i) {
    EntitlementsInfo groups = allGroups(mac.volume);  // for the first of the apps, they are the same for all
    for (const AppEntity& app : appsOf(profiles()[i])) {
      for (const Artifact& standard : standardArtifacts(app, std::exchange(groups, {}), mac.volume)) {
        if (standard.kind == ArtifactKind::appBundle) continue;
        ++compared;
        for (const Artifact& ours : mac.artifacts[i]) expectNoWeaker(ours, standard, productOf(profiles()[i]));
      }
    }
  }
  EXPECT_GT(compared, 500U);
}

TEST(ProfileSafety, NoProfileProtectsLessThanABuiltInRuleForTheSameItem) {
  const EveryVendorsMac& mac = everyVendorsMac();
  const DeepInspectorService inspector(VendorProfileRegistry(), mac.volume.files());
  const AppEntity app{
      .name = "Microsoft Outlook", .bundleIdentifier = "com.microsoft.Outlook", .bundleURL = FileURL("/")};
  const std::vector<Artifact> builtIn = inspector.inspect(app, {}, {});
  EXPECT_GT(builtIn.size(), 10U);
  for (const Artifact& rule : builtIn) {
    for (std::size_t i = 0; i < profiles().size(); ++i) {
      for (const Artifact& ours : mac.artifacts[i]) expectNoWeaker(ours, rule, productOf(profiles()[i]));
    }
  }
}

// A standard location protects the whole container. What lies deeper in it is reviewed with the rest.
TEST(ProfileSafety, NothingInAContainerIsLessThanUserData) {
  eachDefinition([](const Definition& definition, const std::string& where) {
    for (const std::string& pattern : definition.paths) {
      if (!pattern.starts_with("~/Library/Containers/")) continue;
      EXPECT_EQ(protection(definition.dataClass), 3) << where << ": " << pattern;
      EXPECT_EQ(definition.riskLevel, RiskLevel::danger) << where << ": " << pattern;
    }
  });
}

TEST(ProfileSafety, RemovingAnAppTakesNothingThatAProfileOfAnotherProductNames) {
  const EveryVendorsMac& mac = everyVendorsMac();
  for (std::size_t i = 0; i < profiles().size(); ++i) {
    const AppInspection inspection{.artifacts = mac.artifacts[i]};
    std::set<std::string> taken;
    for (const CleanupMode mode : kCarefulModes) {
      for (const Artifact& artifact : AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode)) {
        for (const FileURL& url : artifact.urls) taken.insert(url.path());
      }
    }
    for (std::size_t other = 0; other < profiles().size(); ++other) {
      if (other == i) continue;
      for (const Artifact& theirs : mac.artifacts[other]) {
        for (const FileURL& url : theirs.urls) {
          for (const std::string& path : taken) {
            EXPECT_FALSE(path::isInside(url.path(), path) || path::isInside(path, url.path()))
                << productOf(profiles()[i]) << " takes " << path << " of " << productOf(profiles()[other]);
          }
        }
      }
    }
  }
}

}  // namespace
}  // namespace quarn::profile_safety_tests

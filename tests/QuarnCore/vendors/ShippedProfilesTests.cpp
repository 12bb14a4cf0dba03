#include <filesystem>
#include <set>

#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "tests/QuarnCore/VendorCategoryTable.h"
#include "tests/support/ProjectFolder.h"
#include "tests/support/VendorVolume.h"

namespace quarn::shipped_profiles_tests {
namespace {

using ::testing::IsEmpty;

std::vector<std::string> allIDs() {
  std::vector<std::string> ids;
  for (const auto& [category, some] : vendorCategoryTable()) ids.insert(ids.end(), some.begin(), some.end());
  return ids;
}

std::filesystem::path sources() { return projectFolder() / "QuarnCore/vendors/resources/vendors"; }

// The names of the files without ".json", in the order of the bytes of the whole names.
std::vector<std::string> sourceNames() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(sources())) files.push_back(entry.path().filename());
  std::sort(files.begin(), files.end());
  for (std::string& file : files) file.resize(file.size() - std::string(".json").size());
  return files;
}

const std::vector<VendorProfile>& profiles() {
  static const VendorProfileRegistry registry = shippedVendorProfiles();
  return registry.profiles();
}

// A new vendor needs no entry in a table; without a storage category it gives the dashboard no hints.
TEST(ShippedProfiles, EachVendorWithAStorageCategoryHasOne) {
  std::set<std::string> found;
  for (const VendorProfile& profile : profiles()) found.insert(profile.id);
  for (const std::string& id : allIDs()) EXPECT_TRUE(found.contains(id)) << id;
  EXPECT_EQ(allIDs().size(), 91u);
  EXPECT_GT(profiles().size(), 160u);
}

TEST(ShippedProfiles, TheBuiltIndexNamesEveryFileOfTheSourcesAndNothingElse) {
  const std::optional<std::string> text = ResourceBundle::shipped().read("index", "json", "vendors");
  ASSERT_TRUE(text);
  const std::optional<VendorProfileRegistry::Index> index = decodeVendorIndex(*text);
  ASSERT_TRUE(index);
  EXPECT_EQ(index->version, 1);
  std::vector<std::string> files;
  for (const auto& entry : index->vendors) {
    files.push_back(entry.file);
    EXPECT_TRUE(entry.file == entry.id || entry.file.starts_with(entry.id + ".")) << entry.file << " of " << entry.id;
  }
  EXPECT_EQ(files, sourceNames());
  EXPECT_FALSE(std::filesystem::exists(sources() / "index.json")) << "the build writes the index";
}

TEST(ShippedProfiles, EveryFileOfTheSourcesDecodesUnderItsOwnId) {
  const ResourceBundle bundle(sources().parent_path());
  for (const std::string& name : sourceNames()) {
    const std::optional<std::string> text = bundle.read(name, "json", "vendors");
    ASSERT_TRUE(text) << name;
    std::string problem;
    const std::optional<VendorProfile> profile = decodeVendorProfile(*text, &problem);
    ASSERT_TRUE(profile) << name << ": " << problem;
    EXPECT_TRUE(name == profile->id || name.starts_with(profile->id + ".")) << name;
    EXPECT_FALSE(profile->displayName.empty()) << name;
    EXPECT_FALSE(profile->artifacts.empty()) << name;
  }
}

TEST(ShippedProfiles, AllOfThemLoad) { EXPECT_EQ(profiles().size(), sourceNames().size()); }

TEST(ShippedProfiles, NoTwoHaveOneName) {
  std::set<std::string> names;
  for (const VendorProfile& profile : profiles()) {
    EXPECT_TRUE(names.insert(profile.displayName).second) << profile.displayName;
  }
}

// The rules of recognition.

TEST(ShippedProfiles, NoTwoClaimOneBundleIdentifier) {
  std::map<std::string, std::string> owners;
  for (const VendorProfile& profile : profiles()) {
    for (const std::string& id : profile.match.bundleIDs) {
      const auto [place, isNew] = owners.emplace(Text::lowercased(id), productOf(profile));
      EXPECT_TRUE(isNew) << id << " is claimed by " << place->second << " and " << productOf(profile);
    }
  }
  EXPECT_GT(owners.size(), 91u);
  for (const VendorProfile& profile : profiles()) {
    for (const std::string& prefix : profile.match.bundleIDPrefixes) {
      for (const auto& [id, owner] : owners) {
        EXPECT_FALSE(owner != productOf(profile) && id.starts_with(Text::lowercased(prefix)))
            << profile.id << " claims " << id << " of " << owner << " by the prefix " << prefix;
      }
    }
  }
}

TEST(ShippedProfiles, NoTwoClaimIdentifiersByOverlappingPrefixes) {
  std::vector<std::pair<std::string, std::string>> prefixes;
  for (const VendorProfile& profile : profiles()) {
    for (const std::string& prefix : profile.match.bundleIDPrefixes)
      prefixes.emplace_back(Text::lowercased(prefix), productOf(profile));
  }
  for (const auto& [left, leftOwner] : prefixes) {
    for (const auto& [right, rightOwner] : prefixes) {
      EXPECT_FALSE(leftOwner != rightOwner && left.starts_with(right)) << left << " and " << right;
    }
  }
}

TEST(ShippedProfiles, PrefixesAreOneVendorsOwn) {
  const std::set<std::string> everybodys{"com.apple.",   "com.microsoft.", "com.google.", "com.adobe.",
                                         "org.mozilla.", "com.cisco.",     "com.amazon.", "com.symantec."};
  const std::set<std::string> goOnWithAVersion{"com.graphisoft.archicad"};
  for (const VendorProfile& profile : profiles()) {
    for (const std::string& prefix : profile.match.bundleIDPrefixes) {
      EXPECT_GE(prefix.size(), 8u) << profile.id << ": " << prefix;
      EXPECT_FALSE(everybodys.contains(Text::lowercased(prefix))) << profile.id << ": " << prefix;
      EXPECT_TRUE(prefix.ends_with('.') || prefix.ends_with('-') || goOnWithAVersion.contains(prefix))
          << profile.id << ": " << prefix << " may run into another name";
    }
  }
}

TEST(ShippedProfiles, NameFragmentsAreLongEnoughAndConfirmedByAppBundles) {
  for (const VendorProfile& profile : profiles()) {
    if (profile.match.nameContains.empty()) continue;
    EXPECT_THAT(appBundleNames(profile), testing::Not(IsEmpty())) << profile.id;
    for (const std::string& part : profile.match.nameContains) {
      EXPECT_GE(Text::characterCount(part), 4u) << profile.id << ": " << part;
    }
  }
}

TEST(ShippedProfiles, ANameHitTakesNoOtherVendorsApp) {
  for (const VendorProfile& owner : profiles()) {
    for (const std::string& bundle : appBundleNames(owner)) {
      if (bundle.find('*') != std::string::npos) continue;
      const AppEntity app{.name = std::string(path::stem(bundle)), .bundleURL = FileURL("/Applications/" + bundle)};
      for (const VendorProfile& other : profiles()) {
        EXPECT_FALSE(&other != &owner && other.matches(app))
            << productOf(other) << " takes " << bundle << " of " << productOf(owner);
      }
    }
  }
}

// What the definitions say.

template <class Check>
void eachDefinition(const Check& check) {
  for (const VendorProfile& profile : profiles()) {
    for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) {
      check(definition, productOf(profile) + ", " + definition.title);
    }
  }
}

// One plain sentence: no line break, one full stop, at its end.
bool isSentence(const std::string& text) {
  std::size_t stops = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isInsideAWord = i + 1 < text.size() && text[i + 1] != ' ';
    if (text[i] == '.' && !isInsideAWord) ++stops;
  }
  const bool startsWell = !text.empty() && (std::isupper(static_cast<unsigned char>(text[0])) != 0 || text[0] == 'i');
  return startsWell && text.ends_with('.') && stops == 1 && text.find_first_of("\n\r\t!?") == std::string::npos &&
         text.find("  ") == std::string::npos;
}

TEST(ShippedProfiles, EveryArtifactAndCarveOutIsExplainedInOneSentence) {
  eachDefinition([](const auto& definition, const std::string& where) {
    ASSERT_TRUE(definition.explanation) << where;
    EXPECT_TRUE(isSentence(*definition.explanation)) << where << ": " << *definition.explanation;
    EXPECT_GE(definition.explanation->size(), 25u) << where;
    EXPECT_LE(definition.explanation->size(), 190u) << where;
  });
  for (const VendorProfile& profile : profiles()) {
    for (const VendorProfile::CarveOut& carveOut : profile.carveOuts) {
      EXPECT_TRUE(isSentence(carveOut.reason)) << profile.id << ": " << carveOut.reason;
    }
  }
}

TEST(ShippedProfiles, TitlesAreShortAndUniqueInAProfile) {
  for (const VendorProfile& profile : profiles()) {
    std::set<std::string> titles;
    const auto check = [&](const std::string& title) {
      EXPECT_TRUE(titles.insert(title).second) << profile.id << ": " << title << " twice";
      EXPECT_TRUE(!title.empty() && title.size() <= 60 && !title.ends_with('.')) << profile.id << ": " << title;
    };
    for (const auto& definition : profile.artifacts) check(definition.title);
    for (const auto& carveOut : profile.carveOuts) check(carveOut.title);
  }
}

TEST(ShippedProfiles, ConfidenceIsAboveZeroAndAtMostOne) {
  eachDefinition([](const auto& definition, const std::string& where) {
    EXPECT_GT(definition.confidence, 0) << where;
    EXPECT_LE(definition.confidence, 1) << where;
  });
}

TEST(ShippedProfiles, DataClassAndRiskFitEachOther) {
  eachDefinition([](const auto& definition, const std::string& where) {
    switch (definition.dataClass) {
      case ArtifactDataClass::userData:
      case ArtifactDataClass::shared: EXPECT_EQ(definition.riskLevel, RiskLevel::danger) << where; break;
      case ArtifactDataClass::rebuildable: EXPECT_NE(definition.riskLevel, RiskLevel::danger) << where; break;
      case ArtifactDataClass::syncRestorable: EXPECT_EQ(definition.riskLevel, RiskLevel::caution) << where; break;
      case ArtifactDataClass::configuration: EXPECT_NE(definition.riskLevel, RiskLevel::safe) << where; break;
      case ArtifactDataClass::app:
      case ArtifactDataClass::unknown: break;
    }
    if (definition.kind == ArtifactKind::appBundle) {
      EXPECT_EQ(definition.dataClass, ArtifactDataClass::app) << where;
    }
    if (definition.kind == ArtifactKind::kernelExtension) {
      EXPECT_EQ(definition.riskLevel, RiskLevel::danger) << where;
    }
  });
}

// Below the folders that hold a user's own files only these are made by a program.
const std::set<std::string>& rebuiltAmongOwnFiles() {
  static const std::set<std::string> patterns{"~/Movies/*.fcpcache", "~/Documents/ComfyUI/.venv"};
  return patterns;
}

TEST(ShippedProfiles, TheUsersOwnFoldersHoldUserData) {
  constexpr std::array<std::string_view, 8> kOwn{"~/Pictures/",
                                                 "~/Movies/",
                                                 "~/Music/",
                                                 "~/Documents/",
                                                 "~/Desktop/",
                                                 "~/Downloads/",
                                                 "~/Library/CloudStorage/",
                                                 "~/Library/Mobile Documents/"};
  eachDefinition([&](const auto& definition, const std::string& where) {
    for (const std::string& pattern : definition.paths) {
      const bool isOwn =
          std::any_of(kOwn.begin(), kOwn.end(), [&](std::string_view own) { return pattern.starts_with(own); });
      if (!isOwn || rebuiltAmongOwnFiles().contains(pattern)) continue;
      EXPECT_TRUE(definition.dataClass == ArtifactDataClass::userData ||
                  definition.dataClass == ArtifactDataClass::shared)
          << where << ": " << pattern;
    }
  });
}

// Mail stores, photo libraries, projects, virtual machines, saved games, synchronised folders: lost when they go.
TEST(ShippedProfiles, ArtifactsWithAUsersWorkAreUserData) {
  const std::vector<std::pair<std::string, std::string>> stores{
      {"apple-mail", "~/Library/Mail"},
      {"microsoft-outlook", "~/Library/Group Containers/UBF8T346G9.Office/Outlook"},
      {"thunderbird", "~/Library/Thunderbird"},
      {"signal", "~/Library/Application Support/Signal"},
      {"whatsapp", "~/Library/Group Containers/group.net.whatsapp.WhatsApp.shared"},
      {"apple-photos", "~/Pictures/*.photoslibrary"},
      {"final-cut-pro", "~/Movies/*.fcpbundle"},
      {"garageband", "~/Music/GarageBand"},
      {"logic-pro", "~/Music/Logic"},
      {"xcode", "~/Library/Developer/Xcode/Archives"},
      {"core-simulator", "~/Library/Developer/CoreSimulator/Devices"},
      {"android-studio", "~/AndroidStudioProjects"},
      {"unreal-engine", "~/Documents/Unreal Projects"},
      {"docker-desktop", "~/Library/Containers/com.docker.docker"},
      {"utm", "~/Library/Containers/com.utmapp.UTM"},
      {"parallels-desktop", "~/Parallels"},
      {"vmware-fusion", "~/Virtual Machines.localized"},
      {"virtualbox", "~/VirtualBox VMs"},
      {"minecraft-launcher", "~/Library/Application Support/minecraft/saves"},
      {"steam", "~/Library/Application Support/Steam/userdata"},
      {"crossover", "~/Library/Application Support/CrossOver/Bottles"},
      {"mobile-sync", "~/Library/Application Support/MobileSync/Backup"},
      {"icloud-drive", "~/Library/Mobile Documents/com~apple~CloudDocs"},
      {"dropbox", "~/Dropbox"},
      {"microsoft-onedrive", "~/OneDrive"},
      {"google-drive", "~/Library/CloudStorage/GoogleDrive-*"},
      {"tresorit", "~/Tresors"},
      {"safari", "~/Library/Safari"},
  };
  for (const auto& [id, store] : stores) {
    const VendorProfile::ArtifactDefinition* definition = nullptr;
    for (const VendorProfile& profile : profiles()) {
      if (profile.id != id) continue;
      for (const auto& one : profile.artifacts) {
        if (std::find(one.paths.begin(), one.paths.end(), store) != one.paths.end()) definition = &one;
      }
    }
    ASSERT_NE(definition, nullptr) << id << " does not know " << store;
    EXPECT_EQ(definition->dataClass, ArtifactDataClass::userData) << id << ": " << store;
    EXPECT_EQ(definition->riskLevel, RiskLevel::danger) << id << ": " << store;
  }
}

}  // namespace
}  // namespace quarn::shipped_profiles_tests

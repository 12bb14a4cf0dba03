#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "tests/QuarnCore/inspection/Inspector.h"

namespace quarn::inspect_all_tests {
namespace {

using ::testing::SizeIs;

/// Volumes whose names are made of few pieces, so that they resemble, equal and hold each other all the time; some
/// pieces are one text in two forms, and some end where a mark may follow.
class RandomVolume {
 public:
  explicit RandomVolume(unsigned seed) : random_(seed) {
    for (int i = 0; i < 12; ++i) addApp();
    for (int i = 0; i < 60; ++i) addEntry();
    for (int i = 0; i < 6; ++i) addJob();
    addUninstallers();
  }

  [[nodiscard]] const MacVolume& volume() const { return volume_; }
  int pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

 private:
  std::string piece() {
    constexpr std::array kPieces{"Note",   "note", "Pro", "a",  "Editor", "Caf\u00e9", "Cafe\u0301", "Cafe", "\u0301",
                                 "\u212a", "k",    "-",   "_ ", "Studio", "Mail",      "Adobe",      "x",    "Straße"};
    return kPieces[static_cast<std::size_t>(pick(static_cast<int>(kPieces.size())))];
  }
  std::string name(int pieces) {
    std::string text;
    for (int i = 0; i < pieces; ++i) text += piece();
    return text;
  }
  std::string identifier() {
    switch (pick(6)) {
      case 0: return name(1);
      case 1: return "com.microsoft." + name(1);
      default: return "com." + name(1) + "." + name(1 + pick(2));
    }
  }

  void addApp() {
    const std::string folder = pick(3) == 0 ? "/Applications/More/" : "/Applications/";
    identifiers_.push_back(identifier());
    names_.push_back(name(1 + pick(3)));
    volume_.app(folder + "n" + std::to_string(names_.size()) + ".app",
                {.bundleIdentifier = pick(5) == 0 ? std::string() : identifiers_.back(), .name = names_.back()});
  }

  std::string anyName() {
    const auto any = [&](const std::vector<std::string>& texts) {
      return texts[static_cast<std::size_t>(pick(static_cast<int>(texts.size())))];
    };
    switch (pick(5)) {
      case 0: return any(identifiers_);
      case 1: return any(names_);
      case 2: return any(identifiers_) + "." + name(1);
      case 3: return name(1) + any(names_) + name(1);
      default: return name(2);
    }
  }

  void addEntry() {
    constexpr std::array kFolders{"~/Library/Application Support/",
                                  "~/Library/Caches/",
                                  "~/Library/Logs/",
                                  "~/Library/HTTPStorages/",
                                  "~/Library/Containers/",
                                  "/Library/Application Support/",
                                  "/Library/Caches/",
                                  "/Library/Logs/",
                                  "~/Documents/",
                                  "~/Documents/Deep/",
                                  "~/Library/Caches/Some/Deep/"};
    constexpr std::array kListFolders{"~/Library/Preferences/", "~/Library/Preferences/ByHost/",
                                      "~/Library/LaunchAgents/", "/Library/Preferences/"};
    if (pick(3) == 0) {
      const auto folder = std::string(kListFolders[static_cast<std::size_t>(pick(kListFolders.size()))]);
      volume_.file(folder + anyName() + (pick(2) == 0 ? ".plist" : ".PLIST"), pick(9) * 1024);
    } else {
      const auto folder = std::string(kFolders[static_cast<std::size_t>(pick(kFolders.size()))]);
      volume_.file(folder + anyName() + "/" + name(1) + std::to_string(pick(9)), pick(9) * 1024);
    }
  }

  void addJob() {
    volume_.plist("/Library/LaunchDaemons/job" + std::to_string(pick(1000)) + ".plist",
                  {{"Label", anyName()}, {"ProgramArguments", PlistArray{"/bin/" + anyName(), anyName()}}});
  }

  void addUninstallers() {
    volume_.folder("/Applications/Uninstall " + names_.front() + ".app").folder("/Applications/More/Remover.pkg");
    volume_.folder("/Library/Extensions/Example.kext");
  }

  std::mt19937 random_;
  MacVolume volume_;
  std::vector<std::string> identifiers_;
  std::vector<std::string> names_;
};

std::vector<AppInspection> oneByOne(const AppInspectionService& service, const std::vector<AppEntity>& apps,
                                    const AppInspectionService::Options& options) {
  std::vector<AppInspection> inspections;
  for (const AppEntity& app : apps) {
    inspections.push_back(service.inspect(app, options));
    inspections.back().inspectedAt = {};
  }
  return inspections;
}

std::vector<AppInspection> allAtOnce(const AppInspectionService& service, const std::vector<AppEntity>& apps,
                                     const AppInspectionService::Options& options) {
  std::vector<AppInspection> inspections;
  service.inspectAll(apps, options, [&](AppInspection inspection) {
    inspection.inspectedAt = {};
    inspections.push_back(std::move(inspection));
  });
  return inspections;
}

class InspectAllLaw : public ::testing::TestWithParam<unsigned> {};

TEST_P(InspectAllLaw, GivesForEveryAppWhatItsOwnInspectionGives) {
  RandomVolume random(GetParam());
  Inspector inspector(random.volume());
  inspector.entitlements.readEntitlements = [](const FileURL&) { return EntitlementsInfo{{"group.example"}}; };
  inspector.profiles = {{.id = "note",
                         .displayName = "Note",
                         .match = {.nameContains = {"note"}},
                         .artifacts = {{.title = "Data", .paths = {"~/Library/Application Support/*ote*"}},
                                       {.title = "Kext", .paths = {"/Library/Extensions/*.kext"}}}}};
  AppInspectionService::Options options = inspectionOptions(true);
  options.heuristicMaxDepth = random.pick(4);
  options.heuristicMaxResults = random.pick(5);
  options.documentsHeuristicMaxResults = random.pick(3);
  options.computeArtifactSizes = random.pick(2) == 0;
  const std::vector<AppEntity> apps = AppDiscoveryClient::live(inspector.files).discoverApplications();
  const auto wanted = oneByOne(inspector.service(), apps, options);
  const auto given = allAtOnce(inspector.service(), apps, options);
  ASSERT_THAT(given, SizeIs(wanted.size()));
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    ASSERT_THAT(given[i].artifacts, SizeIs(wanted[i].artifacts.size())) << apps[i].name;
    for (std::size_t at = 0; at < wanted[i].artifacts.size(); ++at) {
      EXPECT_EQ(given[i].artifacts[at].title, wanted[i].artifacts[at].title);
      EXPECT_TRUE(given[i].artifacts[at] == wanted[i].artifacts[at])
          << apps[i].name << ": " << given[i].artifacts[at].id;
    }
    EXPECT_TRUE(given[i] == wanted[i]) << apps[i].name;
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, InspectAllLaw, ::testing::Range(0U, 40U));

TEST(InspectAll, AnAppHasItsBundleAndItsCache) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .file("~/Library/Caches/com.example.App/a", 4_KiB);
  const std::vector<AppEntity> apps = AppDiscoveryClient::live(volume.files()).discoverApplications();
  const auto given = allAtOnce(Inspector(volume).service(), apps, inspectionOptions(true));
  ASSERT_THAT(given, SizeIs(1));
  EXPECT_THAT(given.front().artifacts, SizeIs(2));
}

TEST(InspectAll, EndsBeforeTheNextAppWhenItIsCancelled) {
  MacVolume volume;
  volume.app("/Applications/A.app").app("/Applications/B.app");
  const std::vector<AppEntity> apps = AppDiscoveryClient::live(volume.files()).discoverApplications();
  const Cancellation cancellation;
  int count = 0;
  Inspector(volume).service().inspectAll(
      apps, inspectionOptions(true),
      [&](const AppInspection&) {
        ++count;
        cancellation.cancel();
      },
      cancellation);
  EXPECT_EQ(count, 1);
}

TEST(InspectAll, ReadsJobsAndExtensionsOnceForAllApps) {
  MacVolume volume;
  for (int i = 0; i < 5; ++i) volume.app("/Applications/App" + std::to_string(i) + ".app");
  Inspector inspector(volume);
  int scans = 0;
  int listings = 0;
  inspector.launchd.scan = [&] {
    ++scans;
    return std::vector<LaunchdEntry>();
  };
  inspector.extensions.installedKernelExtensions = [&](bool) {
    ++listings;
    return std::vector<KernelExtensionInfo>{{.name = "E", .url = FileURL("/Library/Extensions/E.kext")}};
  };
  const std::vector<AppEntity> apps = AppDiscoveryClient::live(inspector.files).discoverApplications();
  ASSERT_THAT(allAtOnce(inspector.service(), apps, inspectionOptions(true)), SizeIs(5));
  EXPECT_EQ(scans, 1);
  EXPECT_EQ(listings, 1);
}

}  // namespace
}  // namespace quarn::inspect_all_tests

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/discovery/KernelExtensionWorld.h"

namespace quarn::kernel_extension_association_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using Service = KernelExtensionAssociationService;
using Evidence = Service::Evidence;

const std::string kFirst = "/Library/Extensions/First.kext";
const std::string kSecond = "/Library/Extensions/Second.kext";

Service::Association byProfile(const AppEntity& app, const std::string& profile) {
  return {app.id, app.name, {Evidence::Kind::vendorProfile, profile}};
}

Service::Association byReceipt(const AppEntity& app, const std::string& package) {
  return {app.id, app.name, {Evidence::Kind::receipt, package}};
}

TEST(KernelExtensionAssociation, HoldsTheAppsIdentityItsNameAndTheEvidence) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {kFirst});
  AppEntity app = world.app();
  app.id = "identity";
  app.name = "Shown Name";
  const auto found = world.service().association(world.install(kFirst), {app});
  ASSERT_TRUE(found);
  EXPECT_EQ(found->appID, "identity");
  EXPECT_EQ(found->appName, "Shown Name");
  EXPECT_EQ(found->evidence, (Evidence{Evidence::Kind::vendorProfile, "Example Corp"}));
  EXPECT_EQ(found->evidenceText(), "Vendor-Profil: Example Corp");
}

TEST(KernelExtensionAssociation, IsEqualInAllFields) {
  const AppEntity app = KernelExtensionWorld::app();
  const Service::Association association = byReceipt(app, "p");
  EXPECT_EQ(association, byReceipt(app, "p"));
  EXPECT_NE(association, byReceipt(app, "q"));
  EXPECT_NE(association, byProfile(app, "p"));
  AppEntity renamed = app;
  renamed.name = "Other";
  EXPECT_NE(association, byReceipt(renamed, "p"));
  AppEntity another = app;
  another.id = "other";
  EXPECT_NE(association, byReceipt(another, "p"));
}

TEST(KernelExtensionAssociation, WithoutAppsOrEvidenceThereIsNone) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {kFirst});
  world.receipt("com.example.pkg", kFirst);
  const KernelExtensionInfo claimed = world.install(kFirst);
  const KernelExtensionInfo unclaimed = world.install(kSecond);
  const Service service = world.service();
  const std::vector<AppEntity> apps{world.app()};
  EXPECT_EQ(service.association(claimed, {}), std::nullopt);
  EXPECT_EQ(service.association(unclaimed, apps), std::nullopt);
  EXPECT_EQ(service.association(std::vector<KernelExtensionInfo>{}, apps), std::nullopt);
  EXPECT_EQ(service.associatedApp(claimed, {}), std::nullopt);
  EXPECT_EQ(service.associatedApp(unclaimed, apps), std::nullopt);
  EXPECT_EQ(service.associatedApp(std::vector<KernelExtensionInfo>{}, apps), std::nullopt);
  EXPECT_THAT(service.associations({claimed, unclaimed}, {}), IsEmpty());
  EXPECT_THAT(service.associations({}, apps), IsEmpty());
}

TEST(KernelExtensionAssociation, EvidenceOfTheFirstAppCounts) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {kFirst});
  world.profile("Second Corp", {kFirst}, "com.second.App");
  world.receipt("com.second.pkg", kSecond);
  world.receipt("com.example.pkg", kSecond);
  const Service service = world.service();
  const AppEntity app = world.app();
  const AppEntity second = world.secondApp();
  EXPECT_EQ(service.association(world.install(kFirst), {app, second}), byProfile(app, "Example Corp"));
  EXPECT_EQ(service.association(world.install(kFirst), {second, app}), byProfile(second, "Second Corp"));
  EXPECT_EQ(service.association(world.install(kSecond), {app, second}), byReceipt(app, "com.example.pkg"));
  EXPECT_EQ(service.association(world.install(kSecond), {second, app}), byReceipt(second, "com.second.pkg"));
}

TEST(KernelExtensionAssociation, AProfileOfALaterAppOutweighsAReceiptOfAnEarlierOne) {
  KernelExtensionWorld world;
  world.receipt("com.example.pkg", kFirst);
  world.profile("Second Corp", {kFirst}, "com.second.App");
  EXPECT_EQ(world.service().association(world.install(kFirst), {world.app(), world.secondApp()}),
            byProfile(world.secondApp(), "Second Corp"));
}

TEST(KernelExtensionAssociation, OfAListItIsThatOfTheFirstExtensionThatHasOne) {
  KernelExtensionWorld world;
  world.receipt("com.example.pkg", kFirst);
  world.profile("Second Corp", {kSecond}, "com.second.App");
  const std::vector<KernelExtensionInfo> list{world.install("/Library/Extensions/None.kext"), world.install(kFirst),
                                              world.install(kSecond)};
  const std::vector<AppEntity> apps{world.secondApp(), world.app()};
  EXPECT_EQ(world.service().association(list, apps), byReceipt(world.app(), "com.example.pkg"));
  EXPECT_EQ(world.service().associatedApp(list, apps), world.app());
}

TEST(KernelExtensionAssociation, TheAppIsTheOneThatTheEvidenceIsOfEvenAmongNamesakes) {
  KernelExtensionWorld world;
  VendorProfile& profile = world.profile("Example Corp", {kFirst}, "none");
  profile.match.nameContains = {"example"};
  profile.artifacts.push_back({.kind = ArtifactKind::appBundle, .paths = {"/Applications/Real.app"}});
  AppEntity namesake = world.app();
  AppEntity real = world.app();
  real.bundleURL = FileURL("/Applications/Real.app");
  const KernelExtensionInfo extension = world.install(kFirst);
  EXPECT_EQ(world.service().associatedApp(extension, {namesake, real}), real);
  EXPECT_EQ(world.service().associatedApp(std::vector{extension}, {namesake, real}), real);
}

TEST(KernelExtensionAssociation, ManyAreKeyedByTheExtensionsPath) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {kFirst});
  world.receipt("com.second.pkg", kSecond);
  const std::vector<KernelExtensionInfo> list{world.install(kSecond), world.install("/Library/Extensions/None.kext"),
                                              world.install(kFirst)};
  EXPECT_THAT(world.service().associations(list, {world.app(), world.secondApp()}),
              ElementsAre(Pair(kFirst, byProfile(world.app(), "Example Corp")),
                          Pair(kSecond, byReceipt(world.secondApp(), "com.second.pkg"))));
}

TEST(KernelExtensionAssociation, AnOperationReadsTheReceiptsOnce) {
  KernelExtensionWorld world;
  std::vector<KernelExtensionInfo> extensions;
  std::vector<AppEntity> apps(5, world.app());
  for (int i = 0; i < 5; ++i) {
    apps.push_back(world.secondApp());
    extensions.push_back(world.install("/Library/Extensions/" + std::to_string(i) + ".kext"));
    world.receipt("org.other." + std::to_string(i), extensions.back().url.path());
  }
  const Service service = world.service();
  (void)service.associations(extensions, apps);
  EXPECT_EQ(world.readings(), 1);
  (void)service.association(extensions, apps);
  EXPECT_EQ(world.readings(), 2);
  (void)service.associatedApp(extensions, apps);
  EXPECT_EQ(world.readings(), 3);
  (void)service.kernelExtensionArtifacts(world.app(), false);
  EXPECT_EQ(world.readings(), 4);
}

TEST(KernelExtensionScope, WithTheRootAsHomeOnlyTheRootIsTheUsers) {
  const MacVolume volume("/");
  const Service service(VendorProfileRegistry(), {}, {}, FileURL("/"), volume.files());
  for (const auto& [path, scope] :
       {std::pair("/Library/Extensions/A.kext", ArtifactScope::system), std::pair("/", ArtifactScope::user)}) {
    EXPECT_EQ(service.artifactID(FileURL(path)),
              Artifact::makeID(ArtifactKind::kernelExtension, scope, {FileURL(path)}))
        << path;
  }
}

TEST(KernelExtensionScope, IsTheUsersInTheHomeFolderByComponents) {
  const std::vector<std::pair<std::string, ArtifactScope>> rows{
      {"/Users/ann", ArtifactScope::user},
      {"/Users/ann/Library/Extensions/A.kext", ArtifactScope::user},
      {"/Users/./ann//A.kext", ArtifactScope::user},
      {"/Users/ann/x/../A.kext", ArtifactScope::user},
      {"/Users/ann2", ArtifactScope::system},
      {"/Users/ann2/A.kext", ArtifactScope::system},
      {"/Users/ann/../bob/A.kext", ArtifactScope::system},
      {"/Users", ArtifactScope::system},
      {"/Library/Extensions/A.kext", ArtifactScope::system},
  };
  for (const auto& [path, scope] : rows) {
    KernelExtensionWorld world;
    world.receipt("com.example.pkg", FileURL(path).path());
    world.install(path);
    const std::vector<Artifact> found = world.service().kernelExtensionArtifacts(world.app(), false);
    ASSERT_EQ(found.size(), 1U) << path;
    EXPECT_EQ(found[0].scope, scope) << path;
    EXPECT_EQ(found[0].id, world.service().artifactID(FileURL(path))) << path;
    EXPECT_EQ(found[0].id, Artifact::makeID(ArtifactKind::kernelExtension, scope, {FileURL(path)})) << path;
  }
}

TEST(KernelExtensionScope, TheHomeIsTheOneGivenToTheService) {
  MacVolume volume("/Users/ann");
  const Service service(VendorProfileRegistry(), {}, {}, FileURL("/Users/bob/."), volume.files());
  EXPECT_EQ(service.artifactID(FileURL("/Users/bob/A.kext")),
            Artifact::makeID(ArtifactKind::kernelExtension, ArtifactScope::user, {FileURL("/Users/bob/A.kext")}));
  EXPECT_EQ(service.artifactID(FileURL("/Users/ann/A.kext")),
            Artifact::makeID(ArtifactKind::kernelExtension, ArtifactScope::system, {FileURL("/Users/ann/A.kext")}));
}

TEST(KernelExtensionAssociation, ExtensionsOfAVolumeAreClaimedByAProfile) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .plist("/Library/Extensions/Driver.kext/Contents/Info.plist",
             {{"CFBundleIdentifier", "com.example.driver"}, {"CFBundleName", "Driver"}});
  const FileSizeCalculator sizes = FileSizeCalculator::live(volume.files());
  const KernelExtensionService extensions = KernelExtensionService::live(volume.files(), sizes);
  ASSERT_EQ(extensions.installedKernelExtensions(false).size(), 1U);
  const VendorProfile profile{.id = "example",
                              .displayName = "Example Corp",
                              .match = {.bundleIDPrefixes = {"com.example."}},
                              .artifacts = {{.paths = {"/Library/Extensions/Driver.kext"}}}};
  const Service service(VendorProfileRegistry({profile}), ReceiptScanner::live(volume.files()), extensions,
                        volume.files().homeDirectory(), volume.files());
  const std::vector<Artifact> found = service.kernelExtensionArtifacts(KernelExtensionWorld::app(), false);
  ASSERT_THAT(titles(found), ElementsAre("Kernel Extension: Driver"));
  EXPECT_EQ(found[0].size, extensions.installedKernelExtensions(false).front().size);
}

}  // namespace
}  // namespace quarn::kernel_extension_association_tests

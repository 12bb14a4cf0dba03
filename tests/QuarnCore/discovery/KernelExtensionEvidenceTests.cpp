#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/discovery/KernelExtensionWorld.h"

namespace quarn::kernel_extension_evidence_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Evidence = KernelExtensionAssociationService::Evidence;

const std::string kDriver = "/Library/Extensions/Driver.kext";

TEST(KernelExtensionEvidence, ItsTextsNameItsKind) {
  const Evidence profile{Evidence::Kind::vendorProfile, "Example Corp"};
  EXPECT_EQ(profile.summaryText(), "Vendor-Profil");
  EXPECT_EQ(profile.detailText(), "Vendor-Profil: Example Corp");
  const Evidence receipt{Evidence::Kind::receipt, "com.example.pkg"};
  EXPECT_EQ(receipt.summaryText(), "Receipt");
  EXPECT_EQ(receipt.detailText(), "Receipt: com.example.pkg");
}

TEST(KernelExtensionEvidence, IsEqualInKindAndName) {
  const Evidence evidence{Evidence::Kind::receipt, "a"};
  EXPECT_EQ(evidence, (Evidence{Evidence::Kind::receipt, "a"}));
  EXPECT_NE(evidence, (Evidence{Evidence::Kind::receipt, "b"}));
  EXPECT_NE(evidence, (Evidence{Evidence::Kind::vendorProfile, "a"}));
}

TEST(KernelExtensionArtifacts, OneThatAProfileClaimsIsACompleteRecord) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {kDriver});
  world.install(kDriver, SizeInfo{8, 5});
  EXPECT_THAT(lines(world.service().kernelExtensionArtifacts(world.app(), false)),
              ElementsAre(line(identified({.kind = ArtifactKind::kernelExtension,
                                           .dataClass = ArtifactDataClass::configuration,
                                           .scope = ArtifactScope::system,
                                           .urls = {FileURL(kDriver)},
                                           .size = SizeInfo{8, 5},
                                           .riskLevel = RiskLevel::danger,
                                           .confidence = 0.75,
                                           .title = "Kernel Extension: Driver name",
                                           .explanation = "Vendor-Profil: Example Corp"}))));
}

TEST(KernelExtensionArtifacts, OneThatAReceiptListsIsACompleteRecord) {
  KernelExtensionWorld world;
  world.receipt("com.example.pkg", kDriver);
  world.install(kDriver);
  EXPECT_THAT(lines(world.service().kernelExtensionArtifacts(world.app(), false)),
              ElementsAre(line(identified({.kind = ArtifactKind::kernelExtension,
                                           .dataClass = ArtifactDataClass::configuration,
                                           .scope = ArtifactScope::system,
                                           .urls = {FileURL(kDriver)},
                                           .riskLevel = RiskLevel::danger,
                                           .confidence = 0.65,
                                           .title = "Kernel Extension: Driver name",
                                           .explanation = "Receipt: com.example.pkg"}))));
}

TEST(KernelExtensionArtifacts, AProfileOutweighsAReceipt) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {kDriver});
  world.receipt("com.example.pkg", kDriver);
  world.install(kDriver);
  const std::vector<Artifact> found = world.service().kernelExtensionArtifacts(world.app(), false);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].confidence, 0.75);
  EXPECT_EQ(found[0].explanation, "Vendor-Profil: Example Corp");
}

TEST(KernelExtensionArtifacts, TheFirstProfileThatClaimsAndTheFirstPackageThatMatchesAreTheEvidence) {
  KernelExtensionWorld world;
  world.profile("None", {"/Library/Extensions/Other.kext"});
  world.profile("First", {"/Library/Extensions/*.kext"});
  world.profile("Second", {kDriver});
  world.receipt("org.other.pkg", "/Library/Extensions/B.kext.bundle");
  world.receipt("com.example.a", "/Library/Extensions/B.kext.bundle");
  world.receipt("com.example.b", "/Library/Extensions/B.kext.bundle");
  world.install(kDriver);
  world.install("/Library/Extensions/B.kext.bundle");
  const std::vector<Artifact> found = world.service().kernelExtensionArtifacts(world.app(), false);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].explanation, "Vendor-Profil: First");
  EXPECT_EQ(found[1].explanation, "Receipt: com.example.a");
}

TEST(KernelExtensionArtifacts, WithoutEvidenceAnExtensionIsSkippedAndTheOrderIsTheListed) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {"/Library/Extensions/A.kext"});
  world.receipt("com.example.pkg", "/Library/Extensions/Z.kext");
  world.install("/Library/Extensions/Z.kext");
  world.install("/Library/Extensions/Unknown.kext");
  world.install("/Library/Extensions/A.kext");
  EXPECT_THAT(paths(world.service().kernelExtensionArtifacts(world.app(), false)),
              ElementsAre("/Library/Extensions/Z.kext", "/Library/Extensions/A.kext"));
}

TEST(KernelExtensionArtifacts, AProfileOfAnotherVendorIsNotEvidence) {
  KernelExtensionWorld world;
  world.profile("Other Corp", {kDriver}, "com.other.App");
  world.install(kDriver);
  EXPECT_THAT(world.service().kernelExtensionArtifacts(world.app(), false), IsEmpty());
}

TEST(KernelExtensionArtifacts, SystemExtensionsAreConsideredOnlyOnRequest) {
  KernelExtensionWorld world;
  world.profile("Example Corp", {"/System/Library/Extensions/*.kext"});
  world.installSystems("/System/Library/Extensions/Apple.kext");
  EXPECT_THAT(world.service().kernelExtensionArtifacts(world.app(), false), IsEmpty());
  EXPECT_THAT(paths(world.service().kernelExtensionArtifacts(world.app(), true)),
              ElementsAre("/System/Library/Extensions/Apple.kext"));
}

TEST(KernelExtensionClaim, APatternClaimsComponentByComponent) {
  struct Row {
    std::string pattern;
    std::string extension;
    bool claims;
  };
  const std::vector<Row> rows{
      {"/Library/Extensions/Driver.kext", "/Library/Extensions/Driver.kext", true},
      {"/library/EXTENSIONS/driver.KEXT", "/Library/Extensions/Driver.kext", true},
      {"/Library/Extensions/Driver.kext/", "/Library/Extensions/Driver.kext", true},
      {"/Library//Extensions/Driver.kext", "/Library/Extensions/Driver.kext", true},
      {"/Library/Extensions/Drive*.kext", "/Library/Extensions/Driver.kext", true},
      {"/Library/Extensions/*.kext", "/Library/Extensions/Driver.kext", true},
      {"/*/*/*.kext", "/Library/Extensions/Driver.kext", true},
      {"/Library/*.kext", "/Library/Extensions/Driver.kext", false},
      {"/Library/Extensions/Driver.kext", "/Library/Extensions/Drivers.kext", false},
      {"/Library/Extensions/Driver.kex*t", "/Library/Extensions/Driver.kext", false},  // no ".kext" in it
      {"/Library/Extensions/*", "/Library/Extensions/Driver.kext", false},
      {"/Library/Extensions", "/Library/Extensions/Driver.kext", false},
      {"/Library/Extensions/Outer.kext", "/Library/Extensions/Outer.kext/Contents/PlugIns/In.kext", true},
      {"/Library/Extensions/Out*.kext", "/Library/Extensions/Outer.kext/Contents/PlugIns/In.kext", true},
      {"/Library/Extensions/Outer.kext/Contents/PlugIns/In.kext", "/Library/Extensions/Outer.kext", false},
      {"/Library/Extensions/x/../Driver.kext", "/Library/Extensions/Driver.kext", false},
      {"/Library/Extensions/Driver.kext", "/Library/./Extensions/x/../Driver.kext", true},
      {"Library/Extensions/Driver.kext", "/Library/Extensions/Driver.kext", false},
      {"~/Library/Extensions/Driver.kext", "/Users/Ann/Library/Extensions/Driver.kext", true},
      {"~/Library/Extensions/*.kext", "/Users/ann/Library/Extensions/Driver.kext", true},
      {"~/Library/Extensions/*.kext", "/Users/ann2/Library/Extensions/Driver.kext", false},
      {"~/Library/Extensions/*.kext", "/Library/Extensions/Driver.kext", false},
      {"~ann/Library/Extensions/*.kext", "/Users/ann/Library/Extensions/Driver.kext", false},
      {"/.kext", "/.kext", true},
      {".kext", "/.kext", false},
  };
  for (const Row& row : rows) {
    KernelExtensionWorld world;
    world.profile("Example Corp", {row.pattern});
    world.install(row.extension);
    EXPECT_EQ(world.service().kernelExtensionArtifacts(world.app(), false).size(), row.claims ? 1U : 0U)
        << row.pattern << " and " << row.extension;
  }
}

TEST(KernelExtensionClaim, OnlyArtifactDefinitionsClaimAndEachOfTheirPaths) {
  KernelExtensionWorld world;
  VendorProfile profile = world.profile("Example Corp", {"/nothing.kext", kDriver});
  EXPECT_EQ(profile.carveOuts.size(), 0U);
  world.install(kDriver);
  EXPECT_EQ(world.service().kernelExtensionArtifacts(world.app(), false).size(), 1U);
  KernelExtensionWorld carved;
  carved.carveOut("Example Corp", {kDriver});
  carved.install(kDriver);
  EXPECT_THAT(carved.service().kernelExtensionArtifacts(carved.app(), false), IsEmpty());
}

TEST(KernelExtensionClaim, PatternsOfManyStarsAreAnsweredAtOnce) {
  std::string stars = "/Library/Extensions/";
  for (int i = 0; i < 10'000; ++i) stars += "*a";
  KernelExtensionWorld world;
  world.profile("Example Corp", {stars + ".kext", stars + "b.kext"});
  world.install("/Library/Extensions/" + std::string(20'000, 'a') + ".kext");
  EXPECT_EQ(world.service().kernelExtensionArtifacts(world.app(), false).size(), 1U);
}

}  // namespace
}  // namespace quarn::kernel_extension_evidence_tests

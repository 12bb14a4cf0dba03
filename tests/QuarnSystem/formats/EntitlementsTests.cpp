#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnBuilders/BigEndian.h"
#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnSystem/formats/Entitlements.h"
#include "QuarnSystem/formats/MachO.h"

namespace quarn::entitlements_tests {
namespace {

using sample::EntitlementForms;
using sample::kArm64;
using sample::kArm64e;
using sample::kI386;
using sample::kPowerPC;
using sample::kX86_64;
using sample::MachOSigning;
using sample::signedMachO;
using sample::UniversalForm;
using sample::universalMachO;

using Groups = std::vector<std::string>;

constexpr std::string_view kKey = "com.apple.security.application-groups";

Groups groupsOf(const std::string& program) { return readApplicationGroups(ByteSource::over(program)); }

Groups groupsOf(PropertyList value) {
  return applicationGroups(
      PropertyList(PropertyList::Dictionary{{.key = std::string(kKey), .value = std::move(value)}}));
}

TEST(ApplicationGroups, AreTheStringsOfTheArrayInOrder) {
  EXPECT_EQ(groupsOf(PropertyList(PropertyList::Array{PropertyList("TEAM123456.b"), PropertyList("group.a")})),
            (Groups{"TEAM123456.b", "group.a"}));
}

TEST(ApplicationGroups, MayBeASingleString) { EXPECT_EQ(groupsOf(PropertyList("group.a")), Groups{"group.a"}); }

TEST(ApplicationGroups, ElementsThatAreNotStringsAreDropped) {
  EXPECT_EQ(groupsOf(PropertyList(PropertyList::Array{PropertyList(true), PropertyList("group.a"), PropertyList()})),
            Groups{"group.a"});
}

TEST(ApplicationGroups, NamesThatCannotNameAFolderAreDropped) {
  PropertyList::Array names{PropertyList(""),    PropertyList("."),         PropertyList(".."),
                            PropertyList("a/b"), PropertyList("/"),         PropertyList("../../Documents"),
                            PropertyList("..."), PropertyList("group a.b"), PropertyList(std::string("a\0b", 3))};
  EXPECT_EQ(groupsOf(PropertyList(std::move(names))), (Groups{"...", "group a.b"}));
  EXPECT_EQ(groupsOf(PropertyList("..")), Groups{});
}

TEST(ApplicationGroups, OtherTypesOrNoKeyOrNoDictionaryGiveNone) {
  EXPECT_EQ(groupsOf(PropertyList(true)), Groups{});
  EXPECT_EQ(groupsOf(PropertyList(PropertyList::Dictionary{{.key = "a", .value = PropertyList("b")}})), Groups{});
  EXPECT_EQ(applicationGroups(PropertyList(PropertyList::Dictionary{})), Groups{});
  EXPECT_EQ(applicationGroups(PropertyList("group.a")), Groups{});
}

TEST(Entitlements, ComeFromTheXmlWhenThereIsOne) {
  const CodeSignature signature{.identifier = {},
                                .teamIdentifier = {},
                                .entitlementsXml = sample::xmlPlist(sample::PlistDictionary{{"from", "xml"}}),
                                .entitlementsDer = sample::derEntitlements({{"from", "der"}})};
  EXPECT_EQ(entitlementsOf(signature)->string("from"), "xml");
}

TEST(Entitlements, ComeFromTheDerWhenThereIsNoXml) {
  EXPECT_EQ(entitlementsOf({.entitlementsDer = sample::derEntitlements({{"from", "der"}})})->string("from"), "der");
  EXPECT_EQ(groupsOf(signedMachO({.groups = {"group.a"}, .forms = EntitlementForms::der})), Groups{"group.a"});
  EXPECT_EQ(groupsOf(signedMachO({.groups = {"group.a"}, .forms = EntitlementForms::emptyXmlAndDer})),
            Groups{"group.a"});
}

TEST(Entitlements, ThatAreNotAReadableDictionaryAreAbsent) {
  EXPECT_EQ(entitlementsOf({}), std::nullopt);
  EXPECT_EQ(entitlementsOf({.entitlementsXml = "garbage"}), std::nullopt);
  EXPECT_EQ(entitlementsOf({.entitlementsXml = "<array/>"}), std::nullopt);
  EXPECT_EQ(entitlementsOf({.entitlementsXml = "garbage", .entitlementsDer = sample::derEntitlements({})}),
            std::nullopt);
  EXPECT_EQ(entitlementsOf({.entitlementsDer = "garbage"}), std::nullopt);
}

TEST(Entitlements, AreReadFromThinProgramsOfEveryKind) {
  for (const auto cpu : {kArm64, kArm64e, kX86_64, kI386, kPowerPC, sample::kPowerPC64}) {
    EXPECT_EQ(groupsOf(signedMachO({.groups = {"group.a", "group.b"}, .cpu = cpu})), (Groups{"group.a", "group.b"}));
  }
}

TEST(Entitlements, ArmPrecedesIntelAndIntelPrecedesOthersInAnyFileOrder) {
  for (const auto form : {UniversalForm::offsets32, UniversalForm::offsets64}) {
    const MachOSigning arm{.groups = {"arm"}, .cpu = kArm64e};
    const MachOSigning intel{.groups = {"intel"}, .cpu = kX86_64};
    const MachOSigning old{.groups = {"old"}, .cpu = kI386};
    const MachOSigning older{.groups = {"older"}, .cpu = kPowerPC};
    EXPECT_EQ(groupsOf(universalMachO({old, intel, arm}, form)), Groups{"arm"});
    EXPECT_EQ(groupsOf(universalMachO({old, older, intel}, form)), Groups{"intel"});
    EXPECT_EQ(groupsOf(universalMachO({older, old}, form)), Groups{"older"});
    EXPECT_EQ(groupsOf(universalMachO({old, older}, form)), Groups{"old"});
  }
}

TEST(Entitlements, TwoArmSlicesAreReadInFileOrder) {
  const MachOSigning arm64e{.groups = {"arm64e"}, .cpu = kArm64e};
  const MachOSigning arm64{.groups = {"arm64"}, .cpu = kArm64};
  EXPECT_EQ(groupsOf(universalMachO({arm64e, arm64})), Groups{"arm64e"});
  EXPECT_EQ(groupsOf(universalMachO({arm64, arm64e})), Groups{"arm64"});
}

TEST(Entitlements, TheFirstSliceThatHasSomeDecides) {
  const MachOSigning intel{.groups = {"intel"}, .cpu = kX86_64};
  const MachOSigning bare{.cpu = kArm64, .forms = EntitlementForms::none};
  EXPECT_EQ(groupsOf(universalMachO({bare, intel})), Groups{"intel"});
  const MachOSigning groupless{.entitlements = {{"com.apple.security.app-sandbox", true}}, .cpu = kArm64};
  EXPECT_EQ(groupsOf(universalMachO({groupless, intel})), Groups{});
  EXPECT_EQ(groupsOf(universalMachO({{kArm64, sample::machO(kArm64)}, {kX86_64, signedMachO(intel)}})), Groups{"intel"})
      << "an unsigned slice has none";
}

TEST(Entitlements, ADamagedSignatureFallsThroughToTheNextSlice) {
  const MachOSigning intel{.groups = {"intel"}, .cpu = kX86_64};
  EXPECT_EQ(groupsOf(universalMachO({{kArm64, sample::machO(kArm64, "garbage")}, {kX86_64, signedMachO(intel)}})),
            Groups{"intel"});
}

TEST(Entitlements, FilesThatAreNotProgramsHaveNone) {
  EXPECT_EQ(readEntitlements(ByteSource::over("#!/bin/sh\n")), std::nullopt);
  EXPECT_EQ(readEntitlements(ByteSource::over("")), std::nullopt);
  EXPECT_EQ(readEntitlements(ByteSource{}), std::nullopt);
  EXPECT_EQ(groupsOf(sample::machO(kArm64)), Groups{});
}

TEST(Entitlements, ASignatureLargerThanItsBoundIsNotRead) {
  std::string program = signedMachO({.groups = {"group.a"}});
  const std::string signature = sample::littleEndian(0x1D, 4) + sample::littleEndian(16, 4);
  const std::size_t size = program.find(signature) + 12;
  program.replace(size, 4, sample::littleEndian(kMaxSignatureBytes + 1, 4));
  program.resize(program.size() + kMaxSignatureBytes);
  std::size_t bytesRead = 0;
  const auto over = ByteSource::over(program);
  const ByteSource counting{.size = over.size, .read = [&](std::uint64_t offset, std::size_t count) {
                              bytesRead += count;
                              return over.read(offset, count);
                            }};
  EXPECT_EQ(readApplicationGroups(counting), Groups{});
  EXPECT_LT(bytesRead, 1'024U);
  program.replace(size, 4, sample::littleEndian(kMaxSignatureBytes, 4));
  EXPECT_EQ(readApplicationGroups(counting), Groups{"group.a"});
}

TEST(Entitlements, TruncatedAnywhereAProgramHasNone) {
  const std::string whole = signedMachO({.groups = {"group.a"}, .forms = EntitlementForms::xmlAndDer});
  ASSERT_EQ(groupsOf(whole), Groups{"group.a"});
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(groupsOf(whole.substr(0, length)), Groups{}) << length;
  }
}

TEST(Entitlements, AnyByteMayBeCorrupt) {
  const std::string whole = universalMachO({{.groups = {"group.a"}, .forms = EntitlementForms::xmlAndDer},
                                            {.groups = {"group.b"}, .cpu = kX86_64, .forms = EntitlementForms::der}});
  std::size_t readable = 0;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (const char value : {'\0', '\1', '\x20', '\x7F', '\x80', '\xFF'}) {
      std::string damaged = whole;
      damaged[i] = value;
      readable += groupsOf(damaged).empty() ? 0U : 1U;
    }
  }
  EXPECT_GT(readable, 0U);
}

}  // namespace
}  // namespace quarn::entitlements_tests

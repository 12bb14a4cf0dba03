#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnSystem/EntitlementsReader.h"
#include "tests/support/MacVolume.h"

namespace quarn::entitlements_reader_tests {
namespace {

using sample::kArm64;
using sample::kArm64e;
using sample::kI386;
using sample::kX86_64;
using sample::MachOSigning;
using sample::signedMachO;
using sample::universalMachO;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kApp = "/Applications/Example.app";

std::vector<std::string> groups(const MacVolume& volume, const std::string& app = kApp) {
  return EntitlementsReader::live(volume.files()).readEntitlements(FileURL(app)).applicationGroups;
}

std::string entitledTo(const std::string& group) { return signedMachO({.groups = {group}}); }

TEST(EntitlementsReader, ReadsTheGroupsInTheSignaturesOrder) {
  MacVolume volume;
  volume.app(kApp, {.executable = "Main", .executableBytes = signedMachO({.groups = {"T.b", "T.a", "group.c"}})});
  EXPECT_THAT(groups(volume), ElementsAre("T.b", "T.a", "group.c"));
}

TEST(EntitlementsReader, ASingleStringIsOneGroup) {
  MacVolume volume;
  volume.app(kApp, {.executableBytes =
                        signedMachO({.entitlements = {{"com.apple.security.application-groups", "TEAM.only"}}})});
  EXPECT_THAT(groups(volume), ElementsAre("TEAM.only"));
}

TEST(EntitlementsReader, WithoutCFBundleExecutableTheProgramHasTheNameOfTheBundle) {
  MacVolume volume;
  volume.app(kApp, {.executableBytes = entitledTo("T.stem")});
  EXPECT_THAT(groups(volume), ElementsAre("T.stem"));
  volume.plist(kApp + "/Contents/Info.plist", {{"CFBundleExecutable", ""}});
  EXPECT_THAT(groups(volume), ElementsAre("T.stem"));
  volume.text(kApp + "/Contents/Info.plist", "garbage");
  EXPECT_THAT(groups(volume), ElementsAre("T.stem"));
  volume.remove(kApp + "/Contents/Info.plist");
  EXPECT_THAT(groups(volume), ElementsAre("T.stem"));
}

TEST(EntitlementsReader, CFBundleExecutablePrecedesTheNameOfTheBundle) {
  MacVolume volume;
  volume.app(kApp, {.executable = "Main", .executableBytes = entitledTo("T.main")})
      .text(kApp + "/Contents/MacOS/Example", entitledTo("T.stem"));
  EXPECT_THAT(groups(volume), ElementsAre("T.main"));
}

TEST(EntitlementsReader, TheProgramIsSearchedInThreeFoldersInOrder) {
  MacVolume volume;
  volume.text(kApp + "/Contents/MacOS/Example", entitledTo("T.macos"))
      .text(kApp + "/Contents/Example", entitledTo("T.contents"))
      .text(kApp + "/Example", entitledTo("T.flat"));
  EXPECT_THAT(groups(volume), ElementsAre("T.macos"));
  volume.remove(kApp + "/Contents/MacOS/Example");
  EXPECT_THAT(groups(volume), ElementsAre("T.contents"));
  volume.remove(kApp + "/Contents/Example");
  EXPECT_THAT(groups(volume), ElementsAre("T.flat"));
  volume.remove(kApp + "/Example");
  EXPECT_THAT(groups(volume), IsEmpty());
}

TEST(EntitlementsReader, AnIPhoneAppIsReadInItsWrapper) {
  MacVolume volume;
  const std::string wrapped = kApp + "/Wrapper/Runner.app";
  volume.plist(wrapped + "/Info.plist", {{"CFBundleIdentifier", "com.example.phone"}})
      .text(wrapped + "/Runner", entitledTo("group.phone"))
      .link(kApp + "/WrappedBundle", "Wrapper/Runner.app");
  EXPECT_THAT(groups(volume), ElementsAre("group.phone"));
}

TEST(EntitlementsReader, TheFirstSliceWithEntitlementsCountsInTheOrderOfProcessors) {
  const MachOSigning intel{.groups = {"T.intel"}, .cpu = kX86_64};
  const MachOSigning arm{.groups = {"T.arm"}, .cpu = kArm64};
  const MachOSigning armE{.groups = {"T.arme"}, .cpu = kArm64e};
  const MachOSigning old{.groups = {"T.old"}, .cpu = kI386};
  const MachOSigning bareArm{.cpu = kArm64, .forms = sample::EntitlementForms::none};
  const std::vector<std::pair<std::vector<MachOSigning>, std::string>> rows{
      {{intel, arm}, "T.arm"}, {{old, intel}, "T.intel"}, {{old, intel, armE}, "T.arme"},
      {{old}, "T.old"},        {{bareArm, old}, "T.old"}, {{bareArm, old, intel}, "T.intel"},
  };
  for (const auto& [slices, group] : rows) {
    MacVolume volume;
    volume.app(kApp, {.executableBytes = universalMachO(slices)});
    EXPECT_THAT(groups(volume), ElementsAre(group));
  }
}

TEST(EntitlementsReader, AnAppWithoutSignatureOrGroupsHasNone) {
  for (const std::string& program :
       {sample::machO(kX86_64), signedMachO({}), std::string("#!/bin/sh\n"), std::string()}) {
    MacVolume volume;
    volume.app(kApp, {.executableBytes = program});
    EXPECT_THAT(groups(volume), IsEmpty());
  }
}

TEST(EntitlementsReader, AMissingAppHasNone) {
  const MacVolume volume;
  EXPECT_THAT(groups(volume), IsEmpty());
  EXPECT_THAT(groups(volume, "/"), IsEmpty());
}

TEST(EntitlementsReader, AGroupThatCannotNameAFolderIsDropped) {
  MacVolume volume;
  volume.app(kApp, {.executableBytes = signedMachO({.groups = {"", "..", "../../Documents", "/", ".", "T.good"}})});
  EXPECT_THAT(groups(volume), ElementsAre("T.good"));
}

TEST(EntitlementsReader, AnExecutableNameWithASlashIsIgnored) {
  MacVolume volume;
  volume.app("/Applications/Other.app", {.executableBytes = entitledTo("T.other")});
  for (const char* name :
       {"../../../Other.app/Contents/MacOS/Other", "/Applications/Other.app/Contents/MacOS/Other", "..", ".", "/"}) {
    volume.plist(kApp + "/Contents/Info.plist", {{"CFBundleExecutable", name}}).folder(kApp + "/Contents/MacOS");
    EXPECT_THAT(groups(volume), IsEmpty()) << name;
  }
}

TEST(EntitlementsReader, AProgramThatIsNotAReadableFileContributesNothing) {
  MacVolume other;
  other.text("/program", entitledTo("T.outside"));
  const std::string program = kApp + "/Contents/MacOS/Example";
  const std::vector<std::function<void(MacVolume&)>> breakages{
      [&](MacVolume& volume) { volume.fifo(program); },
      [&](MacVolume& volume) { volume.socket(program); },
      [&](MacVolume& volume) { volume.folder(program); },
      [&](MacVolume& volume) { volume.link(program, "Example"); },
      [&](MacVolume& volume) { volume.link(program, other.host("/program")); },
      [&](MacVolume& volume) { volume.sparse(program, std::int64_t{4} << 30); },
      [&](MacVolume& volume) { volume.text(program, entitledTo("T.x").substr(0, 300)); },
  };
  for (std::size_t i = 0; i < breakages.size(); ++i) {
    MacVolume volume;
    breakages[i](volume);
    EXPECT_THAT(groups(volume), IsEmpty()) << i;
  }
}

TEST(EntitlementsReader, ALinkToTheProgramIsFollowed) {
  MacVolume volume;
  volume.text("/opt/program", entitledTo("T.linked")).link(kApp + "/Contents/MacOS/Example", "/opt/program");
  EXPECT_THAT(groups(volume), ElementsAre("T.linked"));
}

// A change between two readings shows whether the second one took place.
TEST(EntitlementsReader, ASnapshotReadsAProgramThatAppsShareOnce) {
  MacVolume volume;
  const std::string shared = kApp + "/Contents/MacOS/Example";
  volume.app(kApp, {.executableBytes = entitledTo("T.first")});
  volume.folder("/Applications/Other.app").hardLink("/Applications/Other.app/Contents/MacOS/Other", shared);
  const EntitlementsReader reader = EntitlementsReader::snapshot(volume.files());
  EXPECT_THAT(reader.readEntitlements(FileURL(kApp)).applicationGroups, ElementsAre("T.first"));
  volume.text(shared, entitledTo("T.second"));
  EXPECT_THAT(reader.readEntitlements(FileURL("/Applications/Other.app")).applicationGroups, ElementsAre("T.first"));
  EXPECT_THAT(groups(volume, "/Applications/Other.app"), ElementsAre("T.second"));
}

}  // namespace
}  // namespace quarn::entitlements_reader_tests

#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::vendor_profile_registry_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string profileText(const std::string& id) {
  return R"({"id":")" + id + R"(","displayName":"Vendor","match":{"bundleIDs":["com.example.)" + id +
         R"("],"bundleIDPrefixes":[],"nameContains":[]},"artifacts":[{"kind":"cache","dataClass":"rebuildable",)" +
         R"("scope":"user","riskLevel":"safe","confidence":0.5,"title":"Cache","paths":["~/Library/Caches/)" + id +
         R"("]}],"carveOuts":[]})";
}

std::string indexText(const std::vector<std::string>& names) {
  std::string text = R"({"version":1,"vendors":[)";
  for (const std::string& name : names) {
    text += (text.ends_with('[') ? "" : ",") + std::string(R"({"id":"listed","file":")") + name + "\"}";
  }
  return text + "]}";
}

std::vector<std::string> loadedIDs(const ResourceFolder& folder) {
  std::vector<std::string> ids;
  const VendorProfileRegistry registry = VendorProfileRegistry::loadDefault(folder.bundle());
  for (const VendorProfile& profile : registry.profiles()) ids.push_back(profile.id);
  return ids;
}

TEST(VendorProfileRegistryLoading, ProfilesAreInTheOrderOfTheIndex) {
  ResourceFolder folder;
  folder.file("vendors/index.json", indexText({"zeta", "alpha", "mid"}));
  for (const char* id : {"alpha", "mid", "zeta", "unlisted"}) {
    folder.file("vendors/" + std::string(id) + ".json", profileText(id));
  }
  EXPECT_THAT(loadedIDs(folder), ElementsAre("zeta", "alpha", "mid"));
}

TEST(VendorProfileRegistryLoading, TheIdOfTheProfileTakesPrecedenceOverThatOfTheIndex) {
  ResourceFolder folder;
  folder.file("vendors/index.json", indexText({"file"})).file("vendors/file.json", profileText("own"));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("own"));
}

TEST(VendorProfileRegistryLoading, AFileIsNamedWithOrWithoutItsEnding) {
  ResourceFolder folder;
  folder.file("vendors/index.json", indexText({"example.json", "example"}));
  folder.file("vendors/example.json", profileText("example"));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("example", "example"));
}

TEST(VendorProfileRegistryLoading, EveryOccurrenceOfTheExtensionIsRemovedFromAName) {
  ResourceFolder folder;
  folder.file("vendors/index.json", indexText({"ex.jsonample.json.json", "a.js.jsonon"}));
  folder.file("vendors/example.json", profileText("example")).file("vendors/a.json.json", profileText("again"));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("example", "again")) << "what is left is not searched again";
}

TEST(VendorProfileRegistryLoading, TheSubdirectoryTakesPrecedenceOverTheTopLevel) {
  ResourceFolder folder;
  folder.file("index.json", indexText({"wrong"})).file("wrong.json", profileText("wrong"));
  folder.file("vendors/index.json", indexText({"both", "top"}));
  folder.file("vendors/both.json", profileText("inside")).file("both.json", profileText("outside"));
  folder.file("top.json", profileText("top"));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("inside", "top"));
}

TEST(VendorProfileRegistryLoading, TheTopLevelServesWithoutASubdirectory) {
  ResourceFolder folder;
  folder.file("index.json", indexText({"a"})).file("a.json", profileText("a"));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("a"));
}

TEST(VendorProfileRegistryLoading, AnIndexThatCannotBeReadOrDecodedIsNotReplacedByTheOneAtTheTopLevel) {
  for (const bool isFolder : {false, true}) {
    ResourceFolder folder;
    folder.file("index.json", indexText({"a"})).file("a.json", profileText("a"));
    isFolder ? folder.folder("vendors/index.json") : folder.file("vendors/index.json", "{}");
    EXPECT_THAT(loadedIDs(folder), IsEmpty());
  }
}

TEST(VendorProfileRegistryLoading, AVendorFileThatCannotBeReadIsNotReplacedByTheOneAtTheTopLevel) {
  ResourceFolder folder;
  folder.file("vendors/index.json", indexText({"a", "b", "c"}));
  folder.file("vendors/b.json", "nothing").folder("vendors/c.json");
  for (const char* id : {"a", "b", "c"}) folder.file(std::string(id) + ".json", profileText(id));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("a"));
}

TEST(VendorProfileRegistryLoading, EachKindOfMalformedFileAffectsOnlyThatFile) {
  const std::string good = profileText("bad");
  const auto changed = [&](std::string_view from, std::string_view to) {
    std::string text = good;
    return text.replace(text.find(from), from.size(), to);
  };
  const std::vector<std::string> malformed{
      "",
      "not JSON",
      "[]",
      good.substr(0, good.size() / 2),
      good + "}",
      changed(R"("displayName":"Vendor",)", ""),
      changed(R"(,"nameContains":[])", ""),
      changed(R"("cache")", R"("Cache")"),
      changed(R"("safe")", R"("harmless")"),
      changed(R"("confidence":0.5)", R"("confidence":"high")"),
      changed(R"("title":"Cache")", R"("title":"Cache","explanation":5)"),
      changed("Vendor", "\xC3"),
      std::string(600, '[') + std::string(600, ']'),
  };
  for (const std::string& text : malformed) {
    ResourceFolder folder;
    folder.file("vendors/index.json", indexText({"first", "bad", "missing", "last"}));
    folder.file("vendors/first.json", profileText("first")).file("vendors/last.json", profileText("last"));
    folder.file("vendors/bad.json", text);
    EXPECT_THAT(loadedIDs(folder), ElementsAre("first", "last")) << text;
  }
}

TEST(VendorProfileRegistryLoading, WithoutAnIndexThereAreNoProfilesAndAllResultsAreEmpty) {
  ResourceFolder folder;
  folder.file("vendors/a.json", profileText("a"));
  const VendorProfileRegistry registry = VendorProfileRegistry::loadDefault(folder.bundle());
  MacVolume volume;
  volume.folder("~/Library/Caches/a");
  const AppEntity app{.name = "A", .bundleIdentifier = "com.example.a", .bundleURL = FileURL("/Applications/A.app")};
  EXPECT_THAT(registry.profiles(), IsEmpty());
  EXPECT_THAT(registry.matchingProfiles(app), IsEmpty());
  EXPECT_THAT(registry.artifacts(app, volume.files(), volume.url("~")), IsEmpty());
}

TEST(VendorProfileRegistryLoading, FilesOfSeveralBundlesFollowEachOther) {
  ResourceFolder first;
  first.file("vendors/index.json", indexText({"b", "a", "missing"}));
  first.file("vendors/a.json", profileText("a")).file("vendors/b.json", profileText("b"));
  ResourceFolder without;
  without.file("vendors/c.json", profileText("c"));
  ResourceFolder last;
  last.file("index.json", indexText({"a.json"})).file("a.json", profileText("another"));
  const VendorProfileFiles files({first.bundle(), without.bundle(), last.bundle()});
  EXPECT_EQ(files.size(), 4U);
  EXPECT_EQ(files.read(2), std::nullopt);
  std::vector<std::string> ids;
  const VendorProfileRegistry registry = VendorProfileRegistry::load(files);
  for (const VendorProfile& profile : registry.profiles()) ids.push_back(profile.id);
  EXPECT_THAT(ids, ElementsAre("b", "a", "another"));
}

TEST(VendorProfileRegistryLoading, ANameThatLeavesTheResourcesFindsNothing) {
  ResourceFolder folder;
  folder.file("secret.json", profileText("secret"));
  folder.file("inner/vendors/index.json", indexText({"../../secret", "/etc/passwd", "a"}));
  folder.file("inner/vendors/a.json", profileText("a"));
  const auto registry = VendorProfileRegistry::loadDefault(ResourceBundle(folder.path() + "/inner"));
  ASSERT_EQ(registry.profiles().size(), 1u);
  EXPECT_EQ(registry.profiles()[0].id, "a");
}

TEST(VendorProfileRegistryLoading, EachCallReadsAgainAndDuplicateIdsStay) {
  ResourceFolder folder;
  folder.file("vendors/index.json", indexText({"a", "b"}));
  folder.file("vendors/a.json", profileText("same")).file("vendors/b.json", profileText("same"));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("same", "same"));
  folder.file("vendors/b.json", profileText("other"));
  EXPECT_THAT(loadedIDs(folder), ElementsAre("same", "other"));
}

TEST(VendorProfileRegistry, ArtifactsAreInRegistryOrder) {
  MacVolume volume;
  volume.folder("~/Library/Caches/long-name").folder("~/Library/Caches/b").folder("~/Library/Caches/other");
  const auto profile = [](const std::string& id, const std::string& bundleID, const std::string& folder) {
    return VendorProfile{
        .id = id,
        .match = {.bundleIDs = {bundleID}},
        .artifacts = {{.kind = ArtifactKind::cache, .title = id, .paths = {"~/Library/Caches/" + folder}}}};
  };
  const VendorProfileRegistry registry(
      {profile("one", "com.example.app", "long-name"), profile("two", "com.example.other", "other"),
       profile("three", "com.example.app", "b"), profile("four", "com.example.app", "b")});
  const AppEntity app{
      .name = "App", .bundleIdentifier = "com.example.app", .bundleURL = FileURL("/Applications/A.app")};
  std::vector<std::string> matching;
  for (const VendorProfile& found : registry.matchingProfiles(app)) matching.push_back(found.id);
  EXPECT_THAT(matching, ElementsAre("one", "three", "four"));
  std::vector<std::string> titles;
  for (const Artifact& artifact : registry.artifacts(app, volume.files(), volume.url("~"))) {
    titles.push_back(artifact.title);
  }
  EXPECT_THAT(titles, ElementsAre("one", "three", "four")) << "each profile is sorted and deduplicated by itself";
  const VendorProfileRegistry copy = registry;
  EXPECT_EQ(copy.matchingProfiles(app), registry.matchingProfiles(app));
}

}  // namespace
}  // namespace quarn::vendor_profile_registry_tests

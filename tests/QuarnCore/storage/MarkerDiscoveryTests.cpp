#include <gmock/gmock.h>

#include "QuarnCore/storage/MarkerDiscovery.h"
#include "QuarnPlatform/walking/KeptListings.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::marker_discovery_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Signature = StorageSignatureRegistry::Signature;
using Kind = Signature::Kind;

Signature markerFile(std::string pattern) {
  return {StorageCategoryID::games, Kind::markerFile, std::move(pattern), {}};
}
Signature markerFolder(std::string pattern) {
  return {StorageCategoryID::games, Kind::markerDirectory, std::move(pattern), {}};
}

std::vector<std::string> found(const MacVolume& volume, const std::vector<Signature>& markers) {
  std::vector<std::string> paths;
  for (const FileURL& url : markedFolders(markers, volume.files())) {
    EXPECT_TRUE(url.hasDirectoryPath());
    paths.push_back(url.path());
  }
  return paths;
}

constexpr const char* kSupport = "/Users/ann/Library/Application Support";

TEST(MarkerDiscovery, AMarkersParentIsFoundInEachSearchRootInOrder) {
  MacVolume volume;
  volume.file("/Users/Shared/D/marker")
      .file("~/Library/Group Containers/C/marker")
      .file("~/Library/Containers/B/marker")
      .file("~/Library/Application Support/A/marker")
      .file("~/Library/Caches/X/marker")
      .file("~/marker")
      .file("/Library/Application Support/Y/marker")
      .file("/Users/ann/Shared/marker");
  EXPECT_THAT(found(volume, {markerFile("marker")}),
              ElementsAre("/Users/ann/Library/Application Support/A", "/Users/ann/Library/Containers/B",
                          "/Users/ann/Library/Group Containers/C", "/Users/Shared/D"));
}

TEST(MarkerDiscovery, WithoutMarkersOrSearchRootsNothingIsFound) {
  MacVolume volume;
  EXPECT_THAT(found(volume, {markerFile("marker")}), IsEmpty());
  volume.file("/Users/Shared/D/marker");
  EXPECT_THAT(found(volume, {}), IsEmpty());
}

TEST(MarkerDiscovery, PatternsWithASlashAreIgnored) {
  MacVolume volume;
  volume.file("/Users/Shared/D/marker");
  EXPECT_THAT(found(volume, {markerFile("D/marker"), markerFile("*/marker"), markerFolder("/")}), IsEmpty());
  EXPECT_THAT(found(volume, {markerFile("D/marker"), markerFile("marker")}), ElementsAre("/Users/Shared/D"));
}

TEST(MarkerDiscovery, CaseIsIgnoredInAnyScript) {
  MacVolume volume;
  volume.file("/Users/Shared/A/MARKER.txt").file("/Users/Shared/B/\u00C4.mar").file("/Users/Shared/C/\u212Aey");
  volume.file("/Users/Shared/D/a long name before the MARKER.txt");
  EXPECT_THAT(found(volume, {markerFile("*Marker.TXT"), markerFile("\u00E4.mar"), markerFile("key")}),
              ElementsAre("/Users/Shared/A", "/Users/Shared/B", "/Users/Shared/C", "/Users/Shared/D"));
}

TEST(MarkerDiscovery, KindsAreDistinguished) {
  MacVolume volume;
  volume.folder("/Users/Shared/A/marker").file("/Users/Shared/B/marker").fifo("/Users/Shared/C/marker");
  EXPECT_THAT(found(volume, {markerFile("marker")}), ElementsAre("/Users/Shared/B"));
  EXPECT_THAT(found(volume, {markerFolder("marker")}), ElementsAre("/Users/Shared/A"));
  EXPECT_THAT(found(volume, {markerFile("marker"), markerFolder("marker")}),
              ElementsAre("/Users/Shared/A", "/Users/Shared/B"));
}

TEST(MarkerDiscovery, LinksAreNotMarkers) {
  MacVolume volume;
  volume.file("/Library/marker").link("/Users/Shared/A/marker", "/Library/marker").folder("/Library/folder");
  volume.link("/Users/Shared/B/marker", "/Library/folder");
  EXPECT_THAT(found(volume, {markerFile("marker"), markerFolder("marker")}), IsEmpty());
}

TEST(MarkerDiscovery, AMarkerDirectlyInASearchRootSelectsThatRoot) {
  MacVolume volume;
  volume.file("/Users/Shared/marker");
  EXPECT_THAT(found(volume, {markerFile("marker")}), ElementsAre("/Users/Shared"));
}

TEST(MarkerDiscovery, AFolderIsFoundOnceWhereItWasFirst) {
  MacVolume volume;
  volume.file("/Users/Shared/A/m1").file("/Users/Shared/A/m2").file("/Users/Shared/A/z/m1").file("/Users/Shared/B/m1");
  EXPECT_THAT(found(volume, {markerFile("m*")}),
              ElementsAre("/Users/Shared/A", "/Users/Shared/A/z", "/Users/Shared/B"));
}

TEST(MarkerDiscovery, FoldersAreComparedByTheirResolvedPath) {
  MacVolume volume;
  volume.file("/Users/Shared/A/marker").link("/Users/ann/Library/Containers", "/Users/Shared");
  EXPECT_THAT(found(volume, {markerFile("marker")}), ElementsAre("/Users/Shared/A"))
      << "a search root that is a link is not entered";
  MacVolume linked;
  linked.folder("/Data/ann/Library/Containers").file("/Data/ann/Library/Containers/A/marker");
  linked.remove("/Users/ann").link("/Users/ann", "/Data/ann");
  EXPECT_THAT(found(linked, {markerFile("marker")}), ElementsAre("/Users/ann/Library/Containers/A"));
}

TEST(MarkerDiscovery, HiddenItemsAndContentOfPackagesAreSkipped) {
  MacVolume volume;
  volume.file("/Users/Shared/A/.marker")
      .file("/Users/Shared/.hidden/marker")
      .file("/Users/Shared/Game.app/Contents/marker")
      .file("/Users/Shared/Bundle/marker")
      .bundleBit("/Users/Shared/Bundle");
  EXPECT_THAT(found(volume, {markerFile("*marker")}), IsEmpty());
  EXPECT_THAT(found(volume, {markerFolder("game.app")}), ElementsAre("/Users/Shared"))
      << "a package itself is a folder";
}

TEST(MarkerDiscovery, DepthFiveIsTheLast) {
  MacVolume volume;
  volume.file("/Users/Shared/1/2/3/4/five").file("/Users/Shared/1/2/3/4/5/six").file("/Users/Shared/1/2/3/4/5/6/seven");
  EXPECT_THAT(found(volume, {markerFile("five")}), ElementsAre("/Users/Shared/1/2/3/4"));
  EXPECT_THAT(found(volume, {markerFile("six"), markerFile("seven")}), IsEmpty());
  EXPECT_THAT(found(volume, {markerFolder("5")}), ElementsAre("/Users/Shared/1/2/3/4"));
  EXPECT_THAT(found(volume, {markerFolder("6")}), IsEmpty());
}

TEST(MarkerDiscovery, UnreadableFoldersAreWalkedPast) {
  MacVolume volume;
  volume.file("/Users/Shared/a/marker").file("/Users/Shared/b/marker").file("/Users/Shared/c/marker");
  volume.mode("/Users/Shared/b", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(found(volume, {markerFile("marker")}), ElementsAre("/Users/Shared/a", "/Users/Shared/c"));
}

// Each search root has a separate budget: the search visits the 60,000th item but not the next one.
TEST(MarkerDiscovery, SixtyThousandItemsOfEachSearchRootAreVisited) {
  MacVolume volume;
  volume.file("~/Library/Application Support/a/b/c/d/e/deep");
  volume.file("/Users/Shared/A/marker");
  const std::string bulk = volume.host("~/Library/Application Support/a/b/c/d/e/");
  // One file with many hard links; each is an item.
  const std::string first = bulk + "0";
  volume.file("~/Library/Application Support/a/b/c/d/e/0");
  volume.file("~/Library/Application Support/a/b/c/d/e/folder/1")
      .file("~/Library/Application Support/a/b/c/d/e/folder/2");
  const int before = 7;  // a, b, c, d, e, "0", and "folder" without what it holds; "deep" sorts among the rest
  for (int i = 1; i < 59'999 - before; ++i) {
    ASSERT_EQ(::link(first.c_str(), (bulk + std::to_string(i)).c_str()), 0) << i;
  }
  volume.file("~/Library/Application Support/marker");
  EXPECT_THAT(found(volume, {markerFile("marker")}), ElementsAre(kSupport, "/Users/Shared/A"))
      << "a to e, 59,994 items too deep to be looked at, and the marker as the last: 60,000";
  volume.file("~/Library/Application Support/a/b/c/d/e/zzz");
  EXPECT_THAT(found(volume, {markerFile("marker")}), ElementsAre("/Users/Shared/A"));
  KeptListings kept;
  (void)markedFolders({markerFile("marker")}, volume.files(), RootScope::volume, &kept);
  EXPECT_TRUE(kept.find(kSupport + std::string("/a/b/c")).isInKept) << "although the search ended in it";
}

TEST(MarkerDiscovery, AFolderInTwoSearchRootsIsFoundOnce) {
  MacVolume volume;
  volume.file("/Users/Shared/Real/Application Support/A/marker").link("~/Library", "/Users/Shared/Real");
  EXPECT_THAT(found(volume, {markerFile("marker")}), ElementsAre("/Users/ann/Library/Application Support/A"));
}

}  // namespace
}  // namespace quarn::marker_discovery_tests

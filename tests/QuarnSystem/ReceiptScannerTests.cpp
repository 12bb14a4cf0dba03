#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnBuilders/BomBuilder.h"
#include "QuarnModels/Date.h"
#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/base/Parallel.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnSystem/ReceiptScanner.h"
#include "tests/support/MacVolume.h"

namespace quarn::receipt_scanner_tests {
namespace {

using sample::BomBuilder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::string kReceipts = "/private/var/db/receipts/";
const std::string kSystemReceipts = "/Library/Apple/System/Library/Receipts/";
const std::string kOldReceipts = "/Library/Receipts/";

ReceiptScanner scanner(const MacVolume& volume) { return ReceiptScanner::live(volume.files()); }

// A receipt with a property list and a bill of these files.
void addReceipt(MacVolume& volume, const std::string& packageID, const std::vector<std::string>& files,
                const std::string& prefix = "/", const std::string& folder = kReceipts) {
  BomBuilder bill;
  for (const std::string& file : files) bill.file(file);
  volume.plist(folder + packageID + ".plist", {{"PackageIdentifier", packageID}, {"InstallPrefixPath", prefix}})
      .text(folder + packageID + ".bom", bill.bytes());
}

std::vector<std::string> paths(const std::vector<FileURL>& urls) {
  std::vector<std::string> result;
  for (const FileURL& url : urls) result.push_back(url.path());
  return result;
}

std::vector<std::string> identifiers(const std::vector<ReceiptInfo>& receipts) {
  std::vector<std::string> result;
  for (const ReceiptInfo& receipt : receipts) result.push_back(receipt.packageIdentifier);
  return result;
}

AppEntity app(const std::optional<std::string>& bundleIdentifier, std::string_view bundle = "/Applications/X.app") {
  return {.name = "X", .bundleIdentifier = bundleIdentifier, .bundleURL = FileURL(bundle)};
}

// All receipts

TEST(ReceiptScanner, AReceiptIsACompleteRecord) {
  MacVolume volume;
  volume
      .plist(kReceipts + "com.example.pkg.plist", {{"PackageIdentifier", "com.example.pkg"},
                                                   {"PackageVersion", "1.2.3"},
                                                   {"InstallPrefixPath", "/"},
                                                   {"InstallDate", PlistDate{668'000'000}},
                                                   {"InstallProcessName", "installer"}})
      .text(kReceipts + "com.example.pkg.bom",
            BomBuilder().file("./usr/local/bin/x", 3).link("./usr/local/bin/alias", "x").bytes());
  EXPECT_THAT(scanner(volume).allReceipts(),
              ElementsAre(ReceiptInfo{.packageIdentifier = "com.example.pkg",
                                      .files = {FileURL("/usr/local/bin/alias"), FileURL("/usr/local/bin/x")},
                                      .version = "1.2.3",
                                      .installDate = dateFromISO8601("2022-03-03T11:33:20Z")}));
}

TEST(ReceiptScanner, ReceiptsOfTheThreeFoldersAreListedByPackageIdentifier) {
  MacVolume volume;
  addReceipt(volume, "b.2", {}, "/", kReceipts);
  addReceipt(volume, "a.1", {}, "/", kOldReceipts);
  addReceipt(volume, "c.3", {}, "/", kSystemReceipts);
  addReceipt(volume, "B.2", {}, "/", kSystemReceipts);
  addReceipt(volume, "x", {}, "/", "/Users/ann/Library/Receipts/");
  addReceipt(volume, "y", {}, "/", kReceipts + "folder/");
  EXPECT_THAT(identifiers(scanner(volume).allReceipts()), ElementsAre("B.2", "a.1", "b.2", "c.3"));
}

TEST(ReceiptScanner, ReceiptsOfOnePackageAreInTheOrderOfTheFolders) {
  MacVolume volume;
  addReceipt(volume, "p", {"three"}, "/", kOldReceipts);
  addReceipt(volume, "p", {"two"}, "/", kSystemReceipts);
  addReceipt(volume, "p", {"one"}, "/", kReceipts);
  std::vector<std::string> files;
  for (const ReceiptInfo& receipt : scanner(volume).allReceipts()) files.push_back(paths(receipt.files).at(0));
  EXPECT_THAT(files, ElementsAre("/one", "/two", "/three"));
}

TEST(ReceiptScanner, WithoutReceiptsEveryResultIsEmpty) {
  const MacVolume volume;
  EXPECT_THAT(scanner(volume).allReceipts(), IsEmpty());
  EXPECT_THAT(scanner(volume).receiptsMatching(app("com.example.X")), IsEmpty());
  EXPECT_THAT(scanner(volume).packageIDs("/usr/bin/x"), IsEmpty());
  EXPECT_FALSE(scanner(volume).matches(app("com.example.X"), "other"));
}

TEST(ReceiptScanner, FilesAndLinksAreListedAscendingAndFoldersAndDevicesAreNot) {
  MacVolume volume;
  volume.plist(kReceipts + "p.plist", {{"PackageIdentifier", "p"}})
      .text(kReceipts + "p.bom", BomBuilder()
                                     .directory("./b/empty")
                                     .device("./dev")
                                     .file("./b/z")
                                     .link("./a", "b")
                                     .file("./b/Z")
                                     .file("./b.c")
                                     .file("./0/x")
                                     .bytes());
  ASSERT_THAT(scanner(volume).allReceipts(), SizeIs(1));
  EXPECT_THAT(paths(scanner(volume).allReceipts()[0].files), ElementsAre("/0/x", "/a", "/b.c", "/b/Z", "/b/z"));
}

TEST(ReceiptScanner, APathThatABillListsTwiceIsListedOnce) {
  BomBuilder bill;
  bill.file("./a");
  bill.entry(50, 1, "a", bill.fileRecord());
  MacVolume volume;
  volume.plist(kReceipts + "p.plist", {{"PackageIdentifier", "p"}}).text(kReceipts + "p.bom", bill.bytes());
  ASSERT_THAT(scanner(volume).allReceipts(), SizeIs(1));
  EXPECT_THAT(paths(scanner(volume).allReceipts()[0].files), ElementsAre("/a"));
}

TEST(ReceiptScanner, AnyNotationOfTheInstallPrefixIsJoined) {
  const std::vector<std::pair<PlistValue, std::string>> rows{
      {"/", "/d/f"},
      {"", "/d/f"},
      {".", "/d/f"},
      {"./", "/d/f"},
      {"Applications", "/Applications/d/f"},
      {"/Applications", "/Applications/d/f"},
      {"//Applications/", "/Applications/d/f"},
      {"./Library/Caches/x.noindex", "/Library/Caches/x.noindex/d/f"},
      {"private/etc", "/private/etc/d/f"},
      {"/Library/../Users", "/Users/d/f"},
      {"../../..", "/d/f"},
      {7, "/d/f"},
  };
  for (const auto& [prefix, path] : rows) {
    MacVolume volume;
    volume.plist(kReceipts + "p.plist", {{"PackageIdentifier", "p"}, {"InstallPrefixPath", prefix}})
        .text(kReceipts + "p.bom", BomBuilder().file("./d/f").bytes());
    ASSERT_THAT(scanner(volume).allReceipts(), SizeIs(1));
    EXPECT_THAT(paths(scanner(volume).allReceipts()[0].files), ElementsAre(path));
  }
}

TEST(ReceiptScanner, WithoutAnInstallPrefixPathsStartAtTheRoot) {
  MacVolume volume;
  volume.plist(kReceipts + "p.plist", {{"PackageIdentifier", "p"}})
      .text(kReceipts + "p.bom", BomBuilder().file("./d/f").bytes());
  EXPECT_THAT(paths(scanner(volume).allReceipts().at(0).files), ElementsAre("/d/f"));
}

TEST(ReceiptScanner, TheBillHasTheNameOfThePropertyListNotOfThePackage) {
  MacVolume volume;
  volume.plist(kReceipts + "file.v1.plist", {{"PackageIdentifier", "package"}})
      .text(kReceipts + "file.v1.bom", BomBuilder().file("./right").bytes())
      .text(kReceipts + "package.bom", BomBuilder().file("./wrong").bytes());
  EXPECT_THAT(paths(scanner(volume).allReceipts().at(0).files), ElementsAre("/right"));
}

TEST(ReceiptScanner, AReceiptWithoutAReadableBillListsNoFiles) {
  const std::string bill = kReceipts + "p.bom";
  const std::vector<std::function<void(MacVolume&)>> breakages{
      [](MacVolume&) {},
      [&](MacVolume& volume) { volume.text(bill, "garbage"); },
      [&](MacVolume& volume) { volume.text(bill, BomBuilder().file("./a").bytes().substr(0, 600)); },
      [&](MacVolume& volume) { volume.sparse(bill, (256_MiB) + 1); },
      [&](MacVolume& volume) { volume.sparse(bill, std::int64_t{4} << 30); },
      [&](MacVolume& volume) { volume.fifo(bill); },
      [&](MacVolume& volume) { volume.folder(bill); },
      [&](MacVolume& volume) { volume.link(bill, "p.bom"); },
  };
  for (std::size_t i = 0; i < breakages.size(); ++i) {
    MacVolume volume;
    volume.plist(kReceipts + "p.plist", {{"PackageIdentifier", "p"}});
    breakages[i](volume);
    const std::vector<ReceiptInfo> receipts = scanner(volume).allReceipts();
    ASSERT_THAT(receipts, SizeIs(1)) << i;
    EXPECT_THAT(receipts[0].files, IsEmpty()) << i;
    EXPECT_THAT(scanner(volume).receiptsMatching(app("p")), SizeIs(1)) << i;
    EXPECT_THAT(scanner(volume).packageIDs("/a"), IsEmpty()) << i;
  }
}

TEST(ReceiptScanner, FilesThatAreNotReceiptsContributeNothing) {
  MacVolume volume;
  addReceipt(volume, "good", {"a"});
  volume.text(kReceipts + "garbage.plist", "garbage")
      .text(kReceipts + "lone.bom", BomBuilder().file("./x").bytes())
      .plist(kReceipts + "noid.plist", {{"PackageVersion", "1"}})
      .plist(kReceipts + "number.plist", {{"PackageIdentifier", 5}})
      .plist(kReceipts + "empty.plist", {{"PackageIdentifier", ""}})
      .plist(kReceipts + "other.txt", {{"PackageIdentifier", "text"}})
      .text(kOldReceipts + "InstallHistory.plist", sample::xmlPlist(PlistArray{PlistDictionary{{"displayName", "x"}}}))
      .sparse(kReceipts + "huge.plist", std::int64_t{2} << 30)
      .fifo(kReceipts + "pipe.plist")
      .folder(kReceipts + "folder.plist")
      .link(kReceipts + "loop.plist", "loop.plist");
  EXPECT_THAT(identifiers(scanner(volume).allReceipts()), ElementsAre("good"));
}

TEST(ReceiptScanner, VersionAndDateOfAWrongTypeAreAbsent) {
  MacVolume volume;
  volume.plist(kReceipts + "p.plist",
               {{"PackageIdentifier", "p"}, {"PackageVersion", 1.5}, {"InstallDate", "2022-01-01"}});
  ASSERT_THAT(scanner(volume).allReceipts(), SizeIs(1));
  EXPECT_EQ(scanner(volume).allReceipts()[0].version, std::nullopt);
  EXPECT_EQ(scanner(volume).allReceipts()[0].installDate, std::nullopt);
}

TEST(ReceiptScanner, AnOldPackageIsAReceipt) {
  MacVolume volume;
  const std::string contents = kOldReceipts + "Old Driver.pkg/Contents/";
  volume
      .plist(contents + "Info.plist", {{"CFBundleIdentifier", "com.example.old"},
                                       {"CFBundleShortVersionString", "1.0"},
                                       {"IFPkgFlagDefaultLocation", "/Wrong"},
                                       {"IFPkgRelocatedPath", "./Library"}})
      .text(contents + "Archive.bom", BomBuilder().file("./Extensions/Old.kext/Contents/Info.plist").bytes())
      .plist(kOldReceipts + "Other.bundle/Contents/Info.plist", {{"CFBundleIdentifier", "no.package"}});
  EXPECT_THAT(scanner(volume).allReceipts(),
              ElementsAre(ReceiptInfo{.packageIdentifier = "com.example.old",
                                      .files = {FileURL("/Library/Extensions/Old.kext/Contents/Info.plist")},
                                      .version = "1.0"}));
}

TEST(ReceiptScanner, AnOldPackageThatWasNotRelocatedHasItsDefaultLocation) {
  MacVolume volume;
  const std::string contents = kOldReceipts + "Old.pkg/Contents/";
  volume
      .plist(contents + "Info.plist",
             {{"CFBundleIdentifier", "old"}, {"CFBundleVersion", "7"}, {"IFPkgFlagDefaultLocation", "/Applications"}})
      .text(contents + "Archive.bom", BomBuilder().file("./f").bytes());
  EXPECT_EQ(scanner(volume).allReceipts().at(0).version, "7");
  EXPECT_THAT(paths(scanner(volume).allReceipts().at(0).files), ElementsAre("/Applications/f"));
}

// Matching

TEST(ReceiptScanner, APackageBelongsToTheAppByItsIdentifier) {
  const MacVolume volume;
  struct Row {
    std::optional<std::string> bundle;
    std::string package;
    bool matches;
  };
  const std::vector<Row> rows{
      {"com.example.App", "com.example.App", true},
      {"com.example.App", "COM.EXAMPLE.APP", true},
      {"COM.example.App", "com.example.app.pkg", true},
      {"com.example.App", "com.example.App.", true},
      {"com.example.App", "com.example.App2", false},
      {"com.example.App", "com.example.App-pkg", false},
      {"com.example.App", "com.example", false},
      {"com.example.App", "pkg.com.example.App", false},
      {"com.example.App", "", false},
      {std::nullopt, "", false},
      {std::nullopt, "com.example.App", false},
      {"", "", false},
      {"", ".x", false},
      {"com.exÄmple", "com.exämple.pkg", true},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(scanner(volume).matches(app(row.bundle), row.package), row.matches)
        << row.bundle.value_or("none") << " " << row.package;
  }
}

TEST(ReceiptScanner, APackageBelongsToTheAppWhoseBundleItLists) {
  struct Row {
    std::vector<std::string> files;
    std::string prefix;
    bool matches;
  };
  const std::vector<Row> rows{
      {{"./Applications/X.app/Contents/Info.plist"}, "/", true},
      {{"./Applications/X.app"}, "/", true},
      {{"./X.app/Contents/Info.plist"}, "Applications", true},
      {{"./Contents/Info.plist"}, "Applications/X.app", true},
      {{"./Info.plist"}, "Applications/X.app/Contents", true},
      {{"./Applications/X.app2/Contents/Info.plist"}, "/", false},
      {{"./Applications/Y.app/Contents/Info.plist", "./Library/X.app/a"}, "/", false},
      {{"./Applications/x.app/Contents/Info.plist"}, "/", false},
      {{"./X.app/Contents/Info.plist"}, "/", false},
      {{}, "/", false},
  };
  for (const Row& row : rows) {
    MacVolume volume;
    addReceipt(volume, "vendor.pkg", row.files, row.prefix);
    EXPECT_EQ(scanner(volume).matches(app(std::nullopt), "vendor.pkg"), row.matches) << row.prefix;
    EXPECT_THAT(scanner(volume).receiptsMatching(app("com.example.X")), SizeIs(row.matches ? 1 : 0)) << row.prefix;
  }
}

TEST(ReceiptScanner, AListedFolderIsEnoughForTheBundle) {
  MacVolume volume;
  volume.plist(kReceipts + "p.plist", {{"PackageIdentifier", "p"}})
      .text(kReceipts + "p.bom", BomBuilder().directory("./Applications/X.app").bytes());
  EXPECT_TRUE(scanner(volume).matches(app(std::nullopt), "p"));
}

TEST(ReceiptScanner, OnlyTheReceiptOfThatPackageCounts) {
  MacVolume volume;
  addReceipt(volume, "yes", {"Applications/X.app/a"});
  addReceipt(volume, "no", {"Applications/Y.app/a"});
  EXPECT_TRUE(scanner(volume).matches(app(std::nullopt), "yes"));
  EXPECT_FALSE(scanner(volume).matches(app(std::nullopt), "no"));
  EXPECT_FALSE(scanner(volume).matches(app(std::nullopt), "YES"));
}

TEST(ReceiptScanner, AllReceiptsOfAPackageCount) {
  MacVolume volume;
  addReceipt(volume, "p", {"Applications/Y.app/a"}, "/", kReceipts);
  addReceipt(volume, "p", {"Applications/X.app/a"}, "/", kOldReceipts);
  EXPECT_TRUE(scanner(volume).matches(app(std::nullopt), "p"));
}

TEST(ReceiptScanner, MatchingReceiptsAreSortedByPackageIdentifierAndHaveFiles) {
  MacVolume volume;
  addReceipt(volume, "z.byContent", {"Applications/X.app/a"});
  addReceipt(volume, "com.example.x.helper", {"usr/bin/b"});
  addReceipt(volume, "com.example.X", {"usr/bin/c"});
  addReceipt(volume, "com.example.Xtra", {"usr/bin/d"});
  const std::vector<ReceiptInfo> found = scanner(volume).receiptsMatching(app("com.example.X"));
  ASSERT_THAT(identifiers(found), ElementsAre("com.example.X", "com.example.x.helper", "z.byContent"));
  EXPECT_THAT(paths(found[0].files), ElementsAre("/usr/bin/c"));
  EXPECT_THAT(paths(found[1].files), ElementsAre("/usr/bin/b"));
  EXPECT_THAT(paths(found[2].files), ElementsAre("/Applications/X.app/a"));
}

TEST(ReceiptScanner, TheBundlesPathIsStandardised) {
  MacVolume volume;
  addReceipt(volume, "p", {"Applications/X.app/a"});
  EXPECT_TRUE(scanner(volume).matches(app(std::nullopt, "/Users/..//Applications/./X.app/"), "p"));
}

// Lookup by path

TEST(ReceiptScanner, ThePackagesThatListAPathAreSortedWithoutDuplicates) {
  MacVolume volume;
  addReceipt(volume, "c", {"usr/bin/x"});
  addReceipt(volume, "a", {"bin/x"}, "usr");
  addReceipt(volume, "a", {"usr/bin/x"}, "/", kOldReceipts);
  addReceipt(volume, "b", {"usr/bin/y"});
  EXPECT_THAT(scanner(volume).packageIDs("/usr/bin/x"), ElementsAre("a", "c"));
  EXPECT_THAT(scanner(volume).packageIDs("/usr/bin/y"), ElementsAre("b"));
  EXPECT_THAT(scanner(volume).packageIDs("/usr/bin/z"), IsEmpty());
}

TEST(ReceiptScanner, OnlyTheWholePathMatches) {
  MacVolume volume;
  addReceipt(volume, "p", {"usr/bin/x"}, "/");
  for (const char* path : {"/usr/bin/x/y", "/usr/bin/xy", "/usr/bin/X", "/bin/x", "usr/bin/x", "", "/usr2/bin/x"}) {
    EXPECT_THAT(scanner(volume).packageIDs(path), IsEmpty()) << path;
  }
}

TEST(ReceiptScanner, ListedFoldersCountInALookup) {
  MacVolume volume;
  addReceipt(volume, "p", {"Extensions/D.kext/Contents/Info.plist"}, "Library");
  EXPECT_THAT(scanner(volume).packageIDs("/Library/Extensions/D.kext"), ElementsAre("p"));
  EXPECT_THAT(scanner(volume).packageIDs("/Library/Extensions/D.kext/"), ElementsAre("p"));
  EXPECT_THAT(scanner(volume).packageIDs("/Library"), ElementsAre("p")) << "the bill's own root";
  EXPECT_THAT(scanner(volume).packageIDs("/"), IsEmpty());
}

TEST(ReceiptScanner, APackageInstalledIntoABundleListsTheBundle) {
  MacVolume volume;
  addReceipt(volume, "p", {"Contents/Info.plist"}, "/Library/Extensions/D.kext");
  EXPECT_THAT(scanner(volume).packageIDs("/Library/Extensions/D.kext"), ElementsAre("p"));
}

TEST(ReceiptScanner, APathIsStandardisedForTheLookup) {
  MacVolume volume;
  addReceipt(volume, "p", {"usr/bin/x"});
  volume.folder("/usr/lib").link("/usr/link", "/usr/bin");
  EXPECT_THAT(scanner(volume).packageIDs("//usr/./bin//x"), ElementsAre("p"));
  EXPECT_THAT(scanner(volume).packageIDs("/usr/lib/../bin/x"), ElementsAre("p"));
  EXPECT_THAT(scanner(volume).packageIDs("/usr/link/x"), IsEmpty());
}

TEST(ReceiptScanner, ItemsInstalledBelowPrivateAreFoundUnderBothNames) {
  MacVolume volume;
  addReceipt(volume, "p", {"private/etc/x.conf"});
  volume.file("/private/etc/x.conf");
  EXPECT_THAT(scanner(volume).packageIDs("/private/etc/x.conf"), ElementsAre("p"));
  volume.link("/etc", "private/etc");
  EXPECT_THAT(scanner(volume).packageIDs("/private/etc/x.conf"), ElementsAre("p"));
  EXPECT_THAT(scanner(volume).packageIDs("/etc/x.conf"), ElementsAre("p"));
}

TEST(ReceiptScanner, NamesThatAreNotUtf8AreFound) {
  MacVolume volume;
  addReceipt(volume, "p", {"opt/\xFF\x1B"});
  EXPECT_THAT(scanner(volume).packageIDs("/opt/\xFF\x1B"), ElementsAre("p"));
  EXPECT_THAT(paths(scanner(volume).allReceipts().at(0).files), ElementsAre("/opt/\xFF\x1B"));
}

TEST(ReceiptScanner, ReceiptsAreNotReadThroughTheShortNameOfPrivate) {
  MacVolume volume;
  addReceipt(volume, "real", {});
  addReceipt(volume, "stray", {}, "/", "/var/db/receipts/");
  EXPECT_THAT(identifiers(scanner(volume).allReceipts()), ElementsAre("real"));
}

// Snapshots

TEST(ReceiptScanner, ASnapshotKeepsTheStateOfTheFirstQuery) {
  MacVolume volume;
  addReceipt(volume, "com.example.x", {"Applications/X.app/a"});
  addReceipt(volume, "org.other", {"Applications/X.app/b"});
  const ReceiptSnapshot snapshot = ReceiptSnapshot::of(volume.files());
  const AppEntity x = app("com.example.x");
  const std::vector<ReceiptInfo> first = snapshot.allReceipts();
  EXPECT_EQ(first, scanner(volume).allReceipts());
  EXPECT_THAT(first, SizeIs(2));
  volume.remove(kReceipts + "org.other.plist").remove(kReceipts + "org.other.bom");
  addReceipt(volume, "com.example.x.more", {"usr/x"});
  EXPECT_EQ(snapshot.allReceipts(), first);
  EXPECT_EQ(snapshot.receiptsMatching(x), first);
  EXPECT_THAT(snapshot.packageIDs("/Applications/X.app/b"), ElementsAre("org.other"));
  EXPECT_TRUE(snapshot.matches(x, "org.other"));
  EXPECT_THAT(identifiers(scanner(volume).allReceipts()), ElementsAre("com.example.x", "com.example.x.more"));
}

TEST(ReceiptScanner, ASnapshotReadsEachBillOnceForAllQueries) {
  MacVolume volume;
  addReceipt(volume, "org.vendor", {"Applications/X.app/a", "Library/Extensions/A.kext/b"});
  const ReceiptSnapshot snapshot = ReceiptSnapshot::of(volume.files());
  EXPECT_THAT(snapshot.packageIDs("/Library/Extensions/A.kext"), ElementsAre("org.vendor"));
  volume.remove(kReceipts + "org.vendor.bom");
  EXPECT_TRUE(snapshot.matches(app(std::nullopt), "org.vendor"));
  EXPECT_THAT(snapshot.packageIDs("/Applications/X.app/a"), ElementsAre("org.vendor"));
  EXPECT_THAT(snapshot.receiptsMatching(app(std::nullopt)), SizeIs(1));
}

TEST(ReceiptScanner, ASnapshotCachesBillsOnlyUpToTheLimit) {
  MacVolume volume;
  std::vector<std::string> many;
  for (int i = 0; i < 1'000; ++i) many.push_back("usr/share/folder/file-number-" + std::to_string(i));
  addReceipt(volume, "big", many);
  addReceipt(volume, "small", {"usr/small"});
  const ReceiptSnapshot snapshot = ReceiptSnapshot::of(volume.files(), /*mostBillBytes=*/10'000);
  EXPECT_THAT(snapshot.packageIDs("/usr/share/folder/file-number-7"), ElementsAre("big"));
  EXPECT_THAT(snapshot.packageIDs("/usr/small"), ElementsAre("small"));
  volume.remove(kReceipts + "big.bom").remove(kReceipts + "small.bom");
  EXPECT_THAT(snapshot.packageIDs("/usr/share/folder/file-number-7"), IsEmpty());
  EXPECT_THAT(snapshot.packageIDs("/usr/small"), ElementsAre("small"));
}

TEST(ReceiptScanner, EachQueryOfALiveScannerReadsAgain) {
  MacVolume volume;
  const ReceiptScanner live = scanner(volume);
  EXPECT_THAT(live.allReceipts(), IsEmpty());
  addReceipt(volume, "p", {"usr/x"});
  EXPECT_THAT(identifiers(live.allReceipts()), ElementsAre("p"));
  EXPECT_THAT(live.packageIDs("/usr/x"), ElementsAre("p"));
}

TEST(ReceiptScanner, AnAnsweringScannerReadsNothingAgain) {
  MacVolume volume;
  addReceipt(volume, "p", {"usr/x"});
  const ReceiptScanner answering = ReceiptScanner::answering(ReceiptSnapshot::of(volume.files()));
  EXPECT_THAT(identifiers(answering.allReceipts()), ElementsAre("p"));
  volume.remove(kReceipts + "p.plist").remove(kReceipts + "p.bom");
  EXPECT_THAT(identifiers(answering.allReceipts()), ElementsAre("p"));
  EXPECT_THAT(answering.packageIDs("/usr/x"), ElementsAre("p"));
}

TEST(ReceiptScanner, ASnapshotIsThreadSafe) {
  MacVolume volume;
  for (int i = 0; i < 20; ++i) {
    const std::string number = std::to_string(i);
    addReceipt(volume, "p" + number, {"usr/shared", "usr/" + number});
  }
  const ReceiptSnapshot snapshot = ReceiptSnapshot::of(volume.files(), /*mostBillBytes=*/200);
  inParallel(40, [&](std::size_t i) {
    const std::string number = std::to_string(i % 20);
    EXPECT_THAT(snapshot.packageIDs("/usr/" + number), ElementsAre("p" + number));
    EXPECT_THAT(snapshot.packageIDs("/usr/shared"), SizeIs(20));
  });
}

TEST(ReceiptScanner, AnEndlessIdentifierOrLocationIsDamageAndReported) {
  MacVolume volume;
  const std::string folder = "/private/var/db/receipts/";
  volume.plist(folder + "a.plist", {{"PackageIdentifier", std::string(limits::kNameBytes + 1, 'a')}})
      .plist(folder + "b.plist",
             {{"PackageIdentifier", "b"}, {"InstallPrefixPath", std::string(limits::kRecordPathBytes + 1, 'b')}})
      .plist(folder + "c.plist",
             {{"PackageIdentifier", "c"}, {"PackageVersion", std::string(limits::kNameBytes + 1, '1')}});
  const auto report = std::make_shared<ReadReport>();
  const std::vector<ReceiptInfo> receipts = ReceiptScanner::live(volume.files().reportingTo(report)).allReceipts();
  ASSERT_EQ(receipts.size(), 1U);
  EXPECT_EQ(receipts.front().packageIdentifier, "c");
  EXPECT_EQ(receipts.front().version, std::nullopt);
  EXPECT_EQ(report->count(UnreadableCause::limit), 2U);
}

// Long install locations multiply a bill that many receipts share.
TEST(ReceiptScanner, PathsBeyondTheLimitOfAnAnswerAreLeftOutAndReported) {
  MacVolume volume;
  const std::string folder = "/private/var/db/receipts/";
  sample::BomBuilder bill;
  for (int i = 0; i < 4'000; ++i) bill.file("./" + std::to_string(i));
  volume.text(folder + "0.bom", bill.bytes());
  const std::string location(limits::kRecordPathBytes, 'l');
  for (int i = 0; i < 12; ++i) {
    const std::string name = folder + std::to_string(i);
    volume.binaryPlist(name + ".plist", {{"PackageIdentifier", "p"}, {"InstallPrefixPath", location}});
    if (i > 0) volume.hardLink(name + ".bom", folder + "0.bom");
  }
  const auto report = std::make_shared<ReadReport>();
  const std::vector<ReceiptInfo> receipts = ReceiptScanner::live(volume.files().reportingTo(report)).allReceipts();
  ASSERT_EQ(receipts.size(), 12U);
  const auto whole = std::count_if(receipts.begin(), receipts.end(),
                                   [](const ReceiptInfo& receipt) { return receipt.files.size() == 4'000; });
  EXPECT_EQ(whole, limits::kReceiptPathBytes / (4'000 * (limits::kRecordPathBytes + limits::kBytesPerText + 2)));
  EXPECT_EQ(report->count(UnreadableCause::limit), static_cast<std::uint64_t>(12 - whole));
}

}  // namespace
}  // namespace quarn::receipt_scanner_tests

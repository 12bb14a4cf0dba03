#include <cerrno>
#include <cmath>
#include <regex>

#include <gmock/gmock.h>

#include "quarn/report/ReportPage.h"
#include "quarn/report/ReportParts.h"
#include "quarn/report/ReportStyle.h"

namespace quarn::report_page_tests {
namespace {

using testing::HasSubstr;
using testing::Not;

std::size_t count(const std::string& page, std::string_view text) {
  std::size_t found = 0;
  for (std::size_t at = page.find(text); at != std::string::npos; at = page.find(text, at + 1)) ++found;
  return found;
}

TopItem item(std::string_view path, std::int64_t allocated, std::int64_t logical) {
  const FileURL url(path);
  return {url, std::string(url.lastPathComponent()), {.allocatedBytes = allocated, .logicalBytes = logical}};
}

VolumeReport volumeReport() {
  VolumeReport report;
  report.frame = {.home = FileURL("/Users/ann"), .madeAt = *dateFromISO8601("2026-11-20T21:23:05Z")};
  report.volume = {.name = "Mac", .url = FileURL("/"), .totalBytes = 1'000'000, .freeBytes = 400'000};
  report.categories = {{StorageCategoryID::apps, {.allocatedBytes = 300'000, .logicalBytes = 250'000}},
                       {StorageCategoryID::systemData, {.allocatedBytes = 100'000, .logicalBytes = 900'000}},
                       {StorageCategoryID::other, {}}};
  report.places = {{.category = StorageCategoryID::apps,
                    .item = item("/Applications/Big.app", 200'000, 150'000),
                    .app = "Big",
                    .items = {{item("/Applications/Big.app/Contents/Frameworks", 150'000, 120'000), ""}}},
                   {.category = StorageCategoryID::apps,
                    .item = item("/Users/ann/Library/com.memo.Memo", 50'000, 50'000),
                    .app = "Memo"}};
  report.largest = {
      {item("/Users/ann/film.mov", 70'000, 70'000), std::nullopt},
      {item("/Applications/Big.app", 60'000, 50'000),
       VendorPathHint{.vendorName = "Vendor & Co", .artifactTitle = "App", .explanation = "What it is."}}};
  return report;
}

Artifact artifact(std::string title, ArtifactDataClass dataClass, RiskLevel risk, std::int64_t bytes) {
  return {.id = title,
          .kind = ArtifactKind::cache,
          .dataClass = dataClass,
          .scope = ArtifactScope::user,
          .urls = {FileURL("/Users/ann/Library/" + title)},
          .size = SizeInfo{.allocatedBytes = bytes, .logicalBytes = bytes},
          .riskLevel = risk,
          .confidence = 0.95,
          .title = title,
          .explanation = "First line.\nSecond line."};
}

AppReport appReport() {
  AppReport report;
  report.frame = {.home = FileURL("/Users/ann"), .madeAt = *dateFromISO8601("2026-11-20T21:23:05Z")};
  report.inspection = {
      .app = {.name = "Example",
              .bundleIdentifier = "com.example",
              .bundleURL = FileURL("/Applications/Example.app"),
              .version = "1.2"},
      .uninstallers = {{.url = FileURL("/Applications/Remove.app"), .name = "Remove", .confidence = 1}},
      .artifacts = {artifact("small-safe", ArtifactDataClass::rebuildable, RiskLevel::safe, 1'000),
                    artifact("big-safe", ArtifactDataClass::rebuildable, RiskLevel::safe, 2'000),
                    artifact("risky", ArtifactDataClass::rebuildable, RiskLevel::danger, 500),
                    artifact("notes", ArtifactDataClass::userData, RiskLevel::caution, 4'000)}};
  report.together = {.allocatedBytes = 6'500, .logicalBytes = 6'500};
  report.selectedBy = {{CleanupMode::cacheOnly, CleanupMode::aggressive}, {}, {}, {}};
  report.plans = {
      {.mode = CleanupMode::cacheOnly,
       .operations = {{.type = RemovalOperationPreview::Type::quitApp, .urls = {FileURL("/Applications/Example.app")}},
                      {.type = RemovalOperationPreview::Type::moveToTrash,
                       .urls = {FileURL("/a"), FileURL("/b")},
                       .reversible = true,
                       .requiresAdmin = true,
                       .explanation = "Why."}},
       .notes = {"A note <b>."},
       .estimatedBytes = 3'000}};
  return report;
}

TEST(ReportPage, ShowsWhatEachUserHasAndEscapesTheNames) {
  VolumeReport report = volumeReport();
  EXPECT_THAT(reportPage(report), Not(HasSubstr("id=\"users\"")));
  const StorageDashboardService::CategorySizes sizes{
      {StorageCategoryID::apps, {.allocatedBytes = 300'000, .logicalBytes = 1}}};
  report.users = {{.home = FileURL("/Users/<b>eve"), .sizes = sizes},
                  {.home = FileURL("/Users/zoe"), .isRead = false},
                  {.sizes = {{StorageCategoryID::other, {.allocatedBytes = 100'000, .logicalBytes = 1}}}}};
  const std::string page = reportPage(report);
  EXPECT_THAT(page, HasSubstr("<li><a href=\"#users\">Users</a></li>"));
  EXPECT_THAT(page, HasSubstr("&lt;b&gt;eve</bdi></th><td class=\"n\">300 KB</td><td class=\"n\">75.0 %</td>"));
  EXPECT_THAT(page, HasSubstr("zoe</bdi></th><td class=\"n\">not readable</td><td class=\"n\">–</td>"));
  EXPECT_THAT(page, HasSubstr("shared by all users</th><td class=\"n\">100 KB</td><td class=\"n\">25.0 %</td>"));
}

TEST(ReportPage, IsOneFileWithoutExternalResources) {
  for (const std::string& page : {reportPage(volumeReport()), reportPage(appReport())}) {
    EXPECT_TRUE(page.starts_with("<!doctype html>"));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    for (const char* outside :
         {"<script", "<img", "<link", "<iframe", "http://", "https://", "url(", "@import", "src="}) {
      EXPECT_THAT(page, Not(HasSubstr(outside)));
    }
  }
}

TEST(ReportPage, OfAVolumeHasFactsAndCategoriesWithShares) {
  const std::string page = reportPage(volumeReport());
  EXPECT_THAT(page, HasSubstr("<title>Storage of Mac</title>"));
  EXPECT_THAT(page, HasSubstr("<dt>In use</dt><dd>600 KB<small>of 1.0 MB</small>"));
  EXPECT_THAT(page, HasSubstr("<dt>Free</dt><dd>400 KB</dd>"));
  EXPECT_THAT(page, HasSubstr("<dt>In categories</dt><dd>400 KB"));
  EXPECT_THAT(page, HasSubstr("<dt>In no category</dt><dd>200 KB"));
  EXPECT_THAT(page, HasSubstr("Apps</th><td class=\"n\">300 KB</td><td class=\"n\">75.0 %</td>"));
  EXPECT_THAT(page, HasSubstr("System data</th><td class=\"n\">100 KB</td><td class=\"n\">25.0 %</td>"));
  EXPECT_THAT(page, HasSubstr("<td class=\"n\">800 KB</td></tr>"));
  EXPECT_THAT(page, HasSubstr("Other</th><td class=\"n\">0 bytes</td><td class=\"n\">0.0 %</td>"));
  EXPECT_THAT(page, HasSubstr("2026-11-20T21:23:05Z"));
}

TEST(ReportPage, OfAVolumeListsTheLargestItemsWithVendorHints) {
  const std::string page = reportPage(volumeReport());
  EXPECT_THAT(page, HasSubstr("<tr id=\"item-1\"><td class=\"n\">70 KB</td><td class=\"n\">70 KB</td>"
                              "<td class=\"path\"><bdi>~/film.mov</bdi></td></tr>"));
  EXPECT_THAT(page,
              HasSubstr("<bdi>/Applications/Big.app</bdi><div class=\"dim\">Vendor &amp; Co: App. What it is.</div>"));
  EXPECT_THAT(page, Not(HasSubstr("id=\"elsewhere\"")));
}

TEST(ReportPage, OfAVolumeListsFilesWithContentElsewhere) {
  VolumeReport report = volumeReport();
  report.elsewhere = {{item("/Users/ann/cloud.mov", 0, 9'000'000), std::nullopt}};
  const std::string page = reportPage(report);
  EXPECT_THAT(page, HasSubstr("<tr id=\"elsewhere-item-1\"><td class=\"n\">0 bytes</td><td class=\"n\">9.0 MB</td>"));
  EXPECT_THAT(page, HasSubstr("<a href=\"#elsewhere\">"));
}

TEST(ReportPage, OneMapHoldsCategoriesThenFoldersAndAppsThenItems) {
  const std::string page = reportPage(volumeReport());
  EXPECT_EQ(count(page, "<ul class=\"map\""), 1U);
  const std::size_t category = page.find("<a class=\"head c0\" href=\"#category-apps\"");
  const std::size_t place = page.find("<a class=\"head c0\" href=\"#place-1\"");
  const std::size_t item = page.find("<a class=\"c0\" href=\"#place-1\" tabindex=\"-1\"");
  ASSERT_NE(item, std::string::npos);
  EXPECT_LT(category, place);
  EXPECT_LT(place, item);
  EXPECT_EQ(count(page, "tabindex"), 1U);
  EXPECT_THAT(page, HasSubstr("<tr id=\"place-1\"><td class=\"w wide\">Apps</td><td class=\"n\">200 KB</td><td "
                              "class=\"path\"><span class=\"key c0\"></span><bdi>/Applications/Big.app</bdi>"
                              "<div><bdi>Big</bdi></div><div class=\"dim path\"><bdi>Frameworks</bdi> 150 KB</div>"));
}

TEST(ReportPage, AllTilesOfACategoryHaveItsColour) {
  const std::string page = reportPage(volumeReport());
  const std::regex tile("<a class=\"(head )?(c\\d)\" href=\"#([^\"]*)\"");
  int tiles = 0;
  for (std::sregex_iterator found(page.begin(), page.end(), tile), end; found != end; ++found, ++tiles) {
    EXPECT_EQ((*found)[2], (*found)[3] == "category-systemData" ? "c6" : "c0");
  }
  EXPECT_EQ(tiles, 5);
}

TEST(ReportPage, ATileLeavesTheShareOfWhatItsTilesDoNotHave) {
  VolumeReport report = volumeReport();
  report.categories.resize(1);
  report.places.resize(1);
  const std::string page = reportPage(report);  // 150 of 200 of 300 KB
  EXPECT_THAT(page,
              HasSubstr("--x:0.000%;--y:0.000%;--w:66.667%;--h:100.000%\"><a class=\"head c0\" href=\"#place-1\""));
  EXPECT_THAT(page, HasSubstr("--x:0.000%;--y:0.000%;--w:75.000%;--h:100.000%\"><a class=\"c0\" href=\"#place-1\""));
}

TEST(ReportPage, ATileHasTheNameOfTheAppWhoseItIs) {
  const std::string page = reportPage(volumeReport());
  EXPECT_THAT(page, HasSubstr("aria-label=\"Memo, 50 KB\""));
  EXPECT_THAT(page, HasSubstr("aria-label=\"Big.app, 200 KB\""));
}

TEST(ReportPage, NamesItsLanguage) {
  for (const std::string& page : {reportPage(volumeReport()), reportPage(appReport())}) {
    EXPECT_THAT(page, HasSubstr("<html lang=\"en\">"));
  }
}

TEST(ReportPage, TilesLinkToTheirRowsAndEmptyOnesAreOmitted) {
  const std::string page = reportPage(volumeReport());
  EXPECT_THAT(page, HasSubstr("href=\"#category-apps\" aria-label=\"Apps, 300 KB\""));
  EXPECT_THAT(page, HasSubstr("href=\"#place-2\" aria-label=\"Memo, 50 KB\""));
  EXPECT_THAT(page, Not(HasSubstr("href=\"#category-other\"")));
  const std::regex link("href=\"#([^\"]*)\"");
  for (const std::string& any : {page, reportPage(appReport())}) {
    for (std::sregex_iterator found(any.begin(), any.end(), link), end; found != end; ++found) {
      EXPECT_EQ(count(any, "id=\"" + (*found)[1].str() + "\""), 1U) << (*found)[1];
    }
  }
}

TEST(ReportPage, OfAnEmptyVolumeHasTablesButNoMaps) {
  const std::string page = reportPage(VolumeReport{});
  EXPECT_THAT(page, Not(HasSubstr("<ul class=\"map\"")));
  EXPECT_THAT(page, Not(HasSubstr("<div class=\"bar\"")));
  EXPECT_THAT(page, Not(HasSubstr("nan")));
  EXPECT_EQ(count(page, "<table"), 2U);
}

TEST(ReportPage, SaysThatAScanWasInterrupted) {
  VolumeReport report = volumeReport();
  EXPECT_THAT(reportPage(report), Not(HasSubstr("interrupted")));
  report.isComplete = false;
  EXPECT_THAT(reportPage(report), HasSubstr("The scan was interrupted"));
}

TEST(ReportPage, ListsUnreadItemsWithTheirCauses) {
  ReadReport read;
  read.add("/Users/ann/closed", EACCES);
  read.addOtherDevice("/Volumes/<b>");
  for (const bool isOfApp : {false, true}) {
    VolumeReport volume = volumeReport();
    AppReport app = appReport();
    volume.frame.unread = app.frame.unread = unreadSummary(read);
    const std::string page = isOfApp ? reportPage(app) : reportPage(volume);
    EXPECT_THAT(page, HasSubstr("<strong>Incomplete.</strong> 2 items could not be read"));
    EXPECT_THAT(page, HasSubstr("<li>1 item: permission denied (" +
                                std::string(remedyFor(UnreadableCause::permission)) + ")</li>"));
    EXPECT_THAT(page, HasSubstr("<tr><td class=\"w\">permission</td><td class=\"path\"><bdi>~/closed</bdi></td></tr>"));
    EXPECT_THAT(page, HasSubstr("<bdi>/Volumes/&lt;b&gt;</bdi>"));
  }
}

TEST(ReportPage, AMountPointIsListedWithoutAWarning) {
  ReadReport read;
  read.addOtherDevice("/Volumes/Backup");
  VolumeReport report = volumeReport();
  report.frame.unread = unreadSummary(read);
  EXPECT_THAT(reportPage(report), Not(HasSubstr("Incomplete.")));
  EXPECT_THAT(reportPage(report), HasSubstr("<bdi>/Volumes/Backup</bdi>"));
}

TEST(ReportPage, ALongListOfUnreadItemsIsCutAndCounted) {
  ReadReport read;
  for (int i = 0; i < 250; ++i) read.add("/closed/" + std::to_string(i), EACCES);
  VolumeReport report = volumeReport();
  report.frame.unread = unreadSummary(read);
  const std::string page = reportPage(report);
  EXPECT_EQ(count(page, "<td class=\"w\">permission</td>"), 200U);
  EXPECT_THAT(page, HasSubstr("and 50 more"));
}

TEST(ReportPage, OfAnAppHasFactsByRisk) {
  const std::string page = reportPage(appReport());
  EXPECT_THAT(page, HasSubstr("<title>What belongs to Example</title>"));
  EXPECT_THAT(page, HasSubstr("<bdi>1.2</bdi> · <bdi>com.example</bdi> · <bdi>/Applications/Example.app</bdi>"));
  EXPECT_THAT(page, HasSubstr("On disk</dt><dd>6 KB<small>4 artifacts</small>"));
  EXPECT_THAT(page, HasSubstr("Safe</dt><dd>3 KB"));
  EXPECT_THAT(page, HasSubstr("Caution</dt><dd>4 KB"));
  EXPECT_THAT(page, HasSubstr("Danger</dt><dd>500 bytes"));
  EXPECT_THAT(page, HasSubstr("<strong><bdi>Remove</bdi></strong>"));
}

TEST(ReportPage, OneArtifactIsCountedInTheSingular) {
  AppReport report = appReport();
  report.inspection.artifacts.resize(1);
  report.selectedBy.resize(1);
  EXPECT_THAT(reportPage(report), HasSubstr("<small>1 artifact</small>"));
}

TEST(ReportPage, OfAnAppGroupsByDataClassHighestRiskAndLargestFirst) {
  const std::string page = reportPage(appReport());
  const std::vector<std::size_t> order{page.find("id=\"class-rebuildable\""), page.find("id=\"artifact-3\""),
                                       page.find("id=\"artifact-2\""),        page.find("id=\"artifact-1\""),
                                       page.find("id=\"class-userData\""),    page.find("id=\"artifact-4\"")};
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  EXPECT_NE(order.back(), std::string::npos);
  EXPECT_THAT(page, Not(HasSubstr("id=\"class-shared\"")));
  EXPECT_THAT(page, HasSubstr("<p>First line.</p><p>Second line.</p>"));
  EXPECT_THAT(page, HasSubstr("<span class=\"badge danger\">Danger</span>"));
  EXPECT_THAT(page, HasSubstr("<td class=\"n wide\">95 %</td>"));
}

TEST(ReportPage, OfAnAppMarksTheModesThatSelectAnArtifact) {
  const std::string page = reportPage(appReport());
  const std::string row = page.substr(page.find("id=\"artifact-1\""));
  const std::string cells = row.substr(0, row.find("</tr>"));
  EXPECT_EQ(count(cells, "✓"), 2U);
  EXPECT_LT(cells.find("✓"), cells.find("–"));
}

TEST(ReportPage, OfAnAppComparesThePlansAndListsTheirSteps) {
  const std::string page = reportPage(appReport());
  EXPECT_THAT(page, HasSubstr("<code>cacheOnly</code></div></th><td class=\"n\">3 KB</td><td class=\"n\">2</td>"
                              "<td class=\"n\">2</td><td class=\"wide\">may be needed</td>"));
  EXPECT_THAT(page, HasSubstr("<li>A note &lt;b&gt;.</li>"));
  EXPECT_THAT(page, HasSubstr("<strong>Move to the Trash</strong><span class=\"dim\"> · can be undone · may need "
                              "administrator rights</span><p>Why.</p>"));
}

TEST(ReportPage, AnArtifactWithManyPathsFoldsMostOfThem) {
  AppReport report = appReport();
  for (int i = 0; i < 30; ++i) report.inspection.artifacts[0].urls.emplace_back("/file" + std::to_string(i));
  const std::string page = reportPage(report);
  EXPECT_THAT(page, HasSubstr("<summary>19 more</summary>"));
  EXPECT_THAT(page, HasSubstr("<bdi>/file29</bdi>"));
}

TEST(ReportPage, ListsWhatChangedSinceAnEarlierScan) {
  VolumeReport report = volumeReport();
  EXPECT_THAT(reportPage(report), Not(HasSubstr("What changed")));
  report.changes = ScanDifference{.before = *dateFromISO8601("2026-11-13T21:23:05Z")};
  EXPECT_THAT(reportPage(report), HasSubstr("<p>No difference.</p>"));
  const SizeInfo small{.allocatedBytes = 1'000'000, .logicalBytes = 1};
  const SizeInfo large{.allocatedBytes = 4'000'000, .logicalBytes = 1};
  report.changes->categories = {{.id = StorageCategoryID::photos, .before = large, .after = small}};
  report.changes->folders = {{.url = FileURL("/Users/ann/<b>"), .after = large}};
  report.changes->changedApps = {
      {.app = {.name = "Memo", .version = "2"}, .versionBefore = "1", .before = small, .after = small}};
  report.changes->newLeftovers = {{.name = "Old & gone", .items = 2}};
  const std::string page = reportPage(report);
  EXPECT_THAT(page, HasSubstr("Since <time>2026-11-13T21:23:05Z</time>"));
  EXPECT_THAT(page, HasSubstr("<td class=\"n\">−3.0 MB</td><td class=\"n wide\">4.0 MB</td><td class=\"n wide\">1.0 MB"
                              "</td><td class=\"path\">photos</td>"));
  EXPECT_THAT(page, HasSubstr("<td class=\"n\">+4.0 MB</td><td class=\"n wide\">–</td>"));
  EXPECT_THAT(page, HasSubstr("<bdi>~/&lt;b&gt;</bdi>"));
  EXPECT_THAT(page, HasSubstr("<bdi>Memo 2</bdi> <span class=\"dim\">was <bdi>1</bdi></span>"));
  EXPECT_THAT(page, HasSubstr("<li><bdi>Old &amp; gone</bdi>, 2 items</li>"));
  EXPECT_THAT(page, HasSubstr("<a href=\"#changes\">What changed</a>"));
}

TEST(ReportPage, NamesAreTextEverywhere) {
  const std::string evil = "<script>alert(1)</script>\"'\x1B\xFF\xE2\x80\xAE";
  const std::string inert = "&lt;script&gt;alert(1)&lt;/script&gt;&quot;&#39;\\x1B\\xFF\\u{202E}";
  VolumeReport volume = volumeReport();
  volume.volume.name = evil;
  volume.largest.push_back({item("/Users/ann/" + evil, 10, 10), std::nullopt});
  volume.places[0].item = item("/Users/ann/" + evil, 10, 10);
  volume.places[0].app = evil;
  volume.places[0].items = {{item("/Users/ann/a/" + evil, 5, 5), evil}};
  AppReport app = appReport();
  app.inspection.app.name = evil;
  app.inspection.app.version = evil;
  app.inspection.app.bundleIdentifier = evil;
  app.inspection.artifacts[0].title = evil;
  app.inspection.artifacts[0].explanation = evil;
  app.inspection.uninstallers[0].name = evil;
  app.plans[0].notes = {evil};
  app.plans[0].operations[0].explanation = evil;
  for (const std::string& page : {reportPage(volume), reportPage(app)}) {
    EXPECT_THAT(page, Not(HasSubstr("<script")));
    EXPECT_THAT(page, Not(HasSubstr("\x1B")));
    EXPECT_THAT(page, Not(HasSubstr("\xFF")));
    EXPECT_THAT(page, Not(HasSubstr("\xE2\x80\xAE")));
  }
  EXPECT_EQ(count(reportPage(app), inert), 12U);
}

TEST(ReportPage, SizesComeInTheUnitsAskedFor) {
  VolumeReport report = volumeReport();
  report.frame.units = SizeUnits::bytes;
  EXPECT_THAT(reportPage(report), HasSubstr("Apps</th><td class=\"n\">300000</td>"));
  report.frame.units = SizeUnits::iec;
  EXPECT_THAT(reportPage(report), HasSubstr("Apps</th><td class=\"n\">293.0 KiB</td>"));
}

// ---- colours

double channel(int value) {
  const double part = value / 255.0;
  return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}

double luminance(const std::string& color) {
  const int rgb = std::stoi(color, nullptr, 16);
  return 0.2126 * channel(rgb >> 16) + 0.7152 * channel((rgb >> 8) & 0xFF) + 0.0722 * channel(rgb & 0xFF);
}

TEST(ReportStyle, EveryColourBelowWhiteTextHasEnoughContrast) {
  const std::string style(reportStyle());
  const std::regex rule(R"(\.(c\d|risk-\w+)\{background:#([0-9a-f]{6})\})");
  int colors = 0;
  for (std::sregex_iterator found(style.begin(), style.end(), rule), end; found != end; ++found, ++colors) {
    EXPECT_GE(1.05 / (luminance((*found)[2]) + 0.05), 4.5) << (*found)[1];
  }
  EXPECT_EQ(colors, 12);
}

TEST(VolumeReportPage, AFolderThatIsNotAMountedVolumeHasNoCapacity) {
  VolumeReport report = volumeReport();
  EXPECT_THAT(reportPage(report), AllOf(HasSubstr("In use"), HasSubstr("In no category")));
  report.hasCapacity = false;
  EXPECT_THAT(reportPage(report),
              AllOf(Not(HasSubstr("In use")), Not(HasSubstr("In no category")), HasSubstr("In categories")));
}

}  // namespace
}  // namespace quarn::report_page_tests

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/vendors/DeepInspectorService.h"
#include "QuarnPlatform/resources/Localization.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::deep_inspector_service_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Scope = ArtifactScope;
using Risk = RiskLevel;

const std::string kSource = "Source: Layer C (Vendor Inspector)";

AppEntity app(const std::string& name, const std::optional<std::string>& bundleID) {
  return {.name = name, .bundleIdentifier = bundleID, .bundleURL = FileURL("/Applications/X.app"), .id = "x"};
}

const AppEntity kWord = app("Word", "com.microsoft.Word");
const AppEntity kPhotoshop = app("Photoshop", "com.adobe.Photoshop");
const AppEntity kMail = app("Mail", "com.example.client");

std::vector<Artifact> inspect(const MacVolume& volume, const AppEntity& of,
                              const std::vector<VendorProfile>& profiles = {}) {
  return DeepInspectorService(VendorProfileRegistry(profiles), volume.files()).inspect(of, {}, {});
}

/// A built-in artifact: its item and the expected result.
struct Row {
  std::string title;
  std::string path;
  Kind kind;
  Class dataClass;
  Scope scope;
  Risk risk;
  double confidence;
  std::string explanation;
};

// clang-format off
const std::vector<Row> kMicrosoftRows{
    {"Microsoft Shared", "~/Library/Application Support/Microsoft", Kind::applicationSupport, Class::shared,
     Scope::user, Risk::danger, 0.6,
     "Shared Microsoft folder for Office/Teams/OneDrive: contains data for multiple apps."},
    {"Office Group Container", "~/Library/Group Containers/UBF8T346G9.Office", Kind::groupContainer, Class::shared,
     Scope::user, Risk::danger, 0.9, "Shared Office container: contains data for multiple Microsoft apps."},
    {"Microsoft Shared Group", "~/Library/Group Containers/UBF8T346G9.ms", Kind::groupContainer, Class::shared,
     Scope::user, Risk::danger, 0.75, "Shared Microsoft container: may be used by multiple apps."},
    {"Office WebHost Group", "~/Library/Group Containers/UBF8T346G9.OfficeOsfWebHost", Kind::groupContainer,
     Class::shared, Scope::user, Risk::danger, 0.7, "Office WebHost/add-ins: used by multiple Office apps."},
    {"Teams Support", "~/Library/Application Support/Microsoft/Teams", Kind::applicationSupport, Class::rebuildable,
     Scope::user, Risk::caution, 0.45, "Teams data/logs: mostly recoverable, but may include chat caches."},
    {"Teams Cache", "~/Library/Caches/com.microsoft.teams", Kind::cache, Class::rebuildable, Scope::user, Risk::safe,
     0.5, "Teams cache: rebuilt as needed."},
    {"Teams Group Container", "~/Library/Group Containers/UBF8T346G9.com.microsoft.teams", Kind::groupContainer,
     Class::shared, Scope::user, Risk::danger, 0.6, "Teams (new): shared container that may contain user data."},
    {"Teams Container", "~/Library/Containers/com.microsoft.teams2", Kind::container, Class::userData, Scope::user,
     Risk::danger, 0.6, "Teams container (com.microsoft.teams2): may contain local data."},
    {"OneDrive Local Data", "~/Library/Application Support/OneDrive", Kind::applicationSupport, Class::userData,
     Scope::user, Risk::danger, 0.5, "OneDrive local sync data: delete only after signing out/unlinking."},
    {"OneDrive CloudStorage", "~/Library/CloudStorage/OneDrive-Personal", Kind::applicationSupport, Class::userData,
     Scope::user, Risk::danger, 0.55, "OneDrive sync folder (File Provider): contains local or pinned files."},
    {"OneDrive Cache Container", "/Volumes/.ODContainer-1", Kind::cache, Class::userData, Scope::system, Risk::danger,
     0.45, "Hidden .ODContainer cache: may contain unsynced content."},
    {"Outlook Data", "~/Library/Group Containers/UBF8T346G9.Office/Outlook", Kind::groupContainer, Class::userData,
     Scope::user, Risk::danger, 0.7, "Outlook profiles/databases: contains mail/archives; review carefully."},
    {"Outlook Cache", "~/Library/Caches/com.microsoft.Outlook", Kind::cache, Class::rebuildable, Scope::user,
     Risk::caution, 0.5, "Cache/temp files: typically recoverable."},
};
const std::vector<Row> kAdobeRows{
    {"Adobe Shared", "~/Library/Application Support/Adobe", Kind::applicationSupport, Class::shared, Scope::user,
     Risk::danger, 0.55, "Shared Adobe folder (Creative Cloud/apps/updater): contains data for multiple apps."},
    {"Adobe Cache", "~/Library/Caches/Adobe", Kind::cache, Class::rebuildable, Scope::user, Risk::caution, 0.55,
     "Adobe cache: mostly recoverable, but may include downloads."},
    {"Adobe OOBE", "/Library/Application Support/Adobe/OOBE", Kind::applicationSupport, Class::shared, Scope::system,
     Risk::danger, 0.55, "System-wide Adobe login/update area: affects multiple Adobe apps."},
};
const std::vector<Row> kMailRows{
    {"Local Mail Data", "~/Library/Mail", Kind::applicationSupport, Class::userData, Scope::user, Risk::danger, 0.4,
     "Local mail data (On My Mac): may include unsynced content."},
    {"Mail Cache", "~/Library/Containers/com.apple.mail/Data/Library/Caches", Kind::cache, Class::syncRestorable,
     Scope::user, Risk::caution, 0.4, "Mail cache/attachments: usually re-downloadable; check local accounts."},
    {"Mail Downloads", "~/Library/Containers/com.apple.mail/Data/Library/Mail Downloads", Kind::cache,
     Class::syncRestorable, Scope::user, Risk::caution, 0.4, "Attachment downloads: typically re-downloadable."},
};
// clang-format on

Artifact expected(const Row& row, const MacVolume& volume) {
  return identified({.kind = row.kind,
                     .dataClass = row.dataClass,
                     .scope = row.scope,
                     .urls = {volume.url(row.path + "/")},
                     .riskLevel = row.risk,
                     .confidence = row.confidence,
                     .title = row.title,
                     .explanation = row.explanation + "\n\n" + kSource});
}

void expectEachRow(const std::vector<Row>& rows, const AppEntity& of) {
  MacVolume volume;
  std::vector<std::string> all;
  for (const Row& row : rows) {
    MacVolume single;
    single.folder(row.path);
    EXPECT_THAT(lines(inspect(single, of)), testing::Contains(line(expected(row, single)))) << row.title;
    volume.folder(row.path);
    all.push_back(line(expected(row, volume)));
  }
  EXPECT_EQ(lines(inspect(volume, of)), all);
}

TEST(DeepInspector, EachMicrosoftArtifactIsFoundAsInTheTableAndInOrder) {
  ASSERT_EQ(kMicrosoftRows.size(), 13U);
  expectEachRow(kMicrosoftRows, kWord);
}

TEST(DeepInspector, EachAdobeArtifactIsFoundAsInTheTableAndInOrder) {
  ASSERT_EQ(kAdobeRows.size(), 3U);
  expectEachRow(kAdobeRows, kPhotoshop);
}

TEST(DeepInspector, EachMailArtifactIsFoundAsInTheTableAndInOrder) {
  ASSERT_EQ(kMailRows.size(), 3U);
  expectEachRow(kMailRows, kMail);
}

TEST(DeepInspector, AnEcosystemsAppIsRecognisedByIdentifierOrName) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Microsoft").folder("~/Library/Caches/Adobe").folder("~/Library/Mail");
  struct Case {
    std::string name;
    std::optional<std::string> bundleID;
    std::vector<std::string> titles;
  };
  const std::string microsoft = "Microsoft Shared";
  const std::string adobe = "Adobe Cache";
  const std::string mail = "Local Mail Data";
  const std::vector<Case> cases{
      {"x", "com.microsoft.Word", {microsoft}},
      {"x", "COM.Microsoft.Word", {microsoft}},
      {"x", "com.microsoft", {}},
      {"x", "x.com.microsoft.Word", {}},
      {"x", "com.example.office", {}},
      {"x", "com.example.teams", {}},
      {"MICROSOFT Word", std::nullopt, {microsoft}},
      {"LibreOffice", std::nullopt, {microsoft}},
      {"My Teams", std::nullopt, {microsoft}},
      {"OneDrive", std::nullopt, {microsoft}},
      {"One Drive", std::nullopt, {}},
      {"Micro-soft", std::nullopt, {}},
      {"x", "com.adobe.x", {adobe}},
      {"x", "com.adobe", {}},
      {"x", "org.adobe.x", {}},
      {"Adobe Reader", std::nullopt, {adobe}},
      {"Mail", std::nullopt, {mail}},
      {"eMailer", std::nullopt, {mail}},
      {"x", "com.example.MAIL", {mail}},
      {"x", "com.example.outlook", {mail}},
      {"Outlook", std::nullopt, {mail}},
      {"Thunderbird", std::nullopt, {mail}},
      {"x", "org.mozilla.thunderbird", {mail}},
      {"Microsoft Outlook", "com.microsoft.Outlook", {microsoft, mail}},
      {"Adobe Mail for Teams", std::nullopt, {microsoft, adobe, mail}},
      {"x", std::nullopt, {}},
      {"", std::nullopt, {}},
      {"", "", {}},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(titles(inspect(volume, app(one.name, one.bundleID))), one.titles)
        << one.name << ", " << one.bundleID.value_or("none");
  }
}

TEST(DeepInspector, MicrosoftOutlookGetsBothSetsEachOnlyWhereTheItemExists) {
  MacVolume volume;
  volume.folder("~/Library/Group Containers/UBF8T346G9.Office/Outlook").folder("~/Library/Mail");
  EXPECT_THAT(titles(inspect(volume, app("Microsoft Outlook", "com.microsoft.Outlook"))),
              ElementsAre("Office Group Container", "Outlook Data", "Local Mail Data"));
}

TEST(DeepInspector, AFileOrALinkAtABuiltInPathCountsAndADanglingLinkDoesNot) {
  MacVolume volume;
  volume.file("~/Library/Application Support/Adobe")
      .folder("/elsewhere")
      .link("~/Library/Caches/Adobe", "/elsewhere")
      .link("/Library/Application Support/Adobe/OOBE", "nowhere");
  const std::vector<Artifact> found = inspect(volume, kPhotoshop);
  ASSERT_THAT(titles(found), ElementsAre("Adobe Shared", "Adobe Cache"));
  EXPECT_FALSE(found[0].urls[0].hasDirectoryPath());
  EXPECT_FALSE(found[1].urls[0].hasDirectoryPath());
}

TEST(DeepInspector, SyncFoldersAreTheFoldersNamedAfterOneDriveHiddenOnesToo) {
  MacVolume volume;
  const std::string folder = "~/Library/CloudStorage/";
  volume.folder(folder + "OneDrive-Work")
      .folder(folder + "My ONEDRIVE")
      .folder(folder + ".onedrive")
      .folder(folder + "One Drive")
      .folder(folder + "Dropbox")
      .file(folder + "OneDrive.txt")
      .folder("/elsewhere")
      .link(folder + "OneDrive-Link", "/elsewhere")
      .folder(folder + "Dropbox/OneDrive");
  const std::string path = volume.path(folder);
  const std::vector<Artifact> found = inspect(volume, kWord);
  EXPECT_THAT(paths(found), ElementsAre(path + ".onedrive", path + "My ONEDRIVE", path + "OneDrive-Work"));
  for (const Artifact& artifact : found) EXPECT_EQ(artifact.title, "OneDrive CloudStorage");
}

TEST(DeepInspector, CacheContainersAreFoldersWithThePrefix) {
  MacVolume volume;
  volume.folder("/Volumes/.ODContainer")
      .folder("/Volumes/.ODContainer-Work")
      .folder("/Volumes/.odcontainer-x")
      .folder("/Volumes/ODContainer")
      .folder("/Volumes/x.ODContainer")
      .file("/Volumes/.ODContainerFile")
      .link("/Volumes/.ODContainerLink", "/Users");
  EXPECT_THAT(paths(inspect(volume, kWord)), ElementsAre("/Volumes/.ODContainer", "/Volumes/.ODContainer-Work"));
}

VendorProfile profile(const std::string& name, std::optional<std::string> explanation) {
  return {
      .id = name,
      .displayName = name,
      .match = {.bundleIDPrefixes = {"com.example."}},
      .artifacts = {{.confidence = 0.5, .title = name, .explanation = std::move(explanation), .paths = {"~/" + name}}}};
}

TEST(DeepInspector, ProfilesFollowTheBuiltInRulesInRegistryOrder) {
  MacVolume volume;
  volume.folder("~/Library/Mail").folder("~/Z").folder("~/A").folder("~/Other");
  VendorProfile other = profile("Other", std::nullopt);
  other.match = {.bundleIDs = {"com.other.app"}};
  const std::vector<VendorProfile> profiles{profile("Z", "Zed."), other, profile("A", std::nullopt)};
  EXPECT_THAT(titles(inspect(volume, kMail, profiles)), ElementsAre("Local Mail Data", "Z", "A"));
}

TEST(DeepInspector, TheSourceIsNotedOnceInEachExplanation) {
  MacVolume volume;
  volume.folder("~/a").folder("~/b").folder("~/c").folder("~/d");
  const std::vector<Artifact> found = inspect(volume, app("x", "com.example.x"),
                                              {profile("a", "Plain."), profile("b", "Already. " + kSource + " Indeed."),
                                               profile("c", std::nullopt), profile("d", "")});
  ASSERT_EQ(found.size(), 4U);
  EXPECT_EQ(found[0].explanation, "Plain.\n\n" + kSource);
  EXPECT_EQ(found[1].explanation, "Already. " + kSource + " Indeed.");
  EXPECT_EQ(found[2].explanation, std::nullopt);
  EXPECT_EQ(found[3].explanation, "\n\n" + kSource);
}

TEST(DeepInspector, TheSourceIsNotedInTheUsersLanguage) {
  MacVolume volume;
  volume.folder("~/Library/Mail");
  ResourceFolder german;
  german.file("Localizable.xcstrings", R"json({"strings": {"Source: Layer C (Vendor Inspector)":
      {"localizations": {"de": {"stringUnit": {"value": "Quelle C"}}}}}})json");
  useLocalization("de", german.bundle());
  const std::vector<Artifact> found = inspect(volume, kMail);
  useLocalization("", ResourceBundle(""));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].explanation, "Local mail data (On My Mac): may include unsynced content.\n\nQuelle C");
}

TEST(DeepInspector, ExistingArtifactsDoNotChangeTheResult) {
  MacVolume volume;
  volume.folder("~/Library/Mail").folder("~/Library/Application Support/Microsoft");
  const DeepInspectorService service(VendorProfileRegistry({profile("a", "A.")}), volume.files());
  const AppEntity of = app("Mail", "com.microsoft.mail");
  const std::vector<Artifact> found = service.inspect(of, {}, {});
  EXPECT_EQ(service.inspect(of, found, {{"group.example"}}), found);
  EXPECT_EQ(found.size(), 2U);
}

TEST(DeepInspector, WithNoRuleAndNoProfileThereIsNothing) {
  MacVolume volume;
  for (const Row& row : kMicrosoftRows) volume.folder(row.path);
  for (const Row& row : kMailRows) volume.folder(row.path);
  volume.folder("~/a");
  EXPECT_THAT(inspect(volume, app("Example", "org.example.App"), {profile("a", "A.")}), IsEmpty());
}

}  // namespace
}  // namespace quarn::deep_inspector_service_tests

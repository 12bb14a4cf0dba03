#include <fstream>
#include <iterator>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/ownership/Ownership.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/resources/Localization.h"
#include "tests/QuarnCore/inspection/Inspector.h"
#include "tests/support/ProjectFolder.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::localized_texts_tests {
namespace {

/// Uses a language that translates every sentence of the catalogue to itself with "«" before it.
class MarkedLanguage {
 public:
  MarkedLanguage() {
    std::ifstream file(projectFolder() / "QuarnCore/resources/Localizable.xcstrings", std::ios::binary);
    const auto shipped = nlohmann::json::parse(std::string{std::istreambuf_iterator<char>(file), {}});
    nlohmann::json marked;
    for (const auto& [sentence, entry] : shipped.at("strings").items()) {
      sentences_.insert(sentence);
      marked["strings"][sentence]["localizations"]["de"]["stringUnit"]["value"] = "«" + sentence;
    }
    resources_.file("Localizable.xcstrings", marked.dump());
    useLocalization("de", resources_.bundle());
  }
  ~MarkedLanguage() { useLocalization("", ResourceBundle("")); }
  MarkedLanguage(const MarkedLanguage&) = delete;
  MarkedLanguage& operator=(const MarkedLanguage&) = delete;

  [[nodiscard]] const std::set<std::string>& sentences() const { return sentences_; }

 private:
  ResourceFolder resources_;
  std::set<std::string> sentences_;
};

// An app of every ecosystem, with an item in every location that an inspection checks.
AppEntity everyEcosystemsApp() {
  return {.name = "Microsoft Adobe Mail",
          .bundleIdentifier = "com.example.App",
          .bundleURL = FileURL("/Applications/Example.app/"),
          .id = "com.example.App"};
}

void fill(MacVolume& volume) {
  for (const char* path :
       {"Caches/com.example.App", "Logs/com.example.App", "Preferences/com.example.App.plist",
        "Preferences/ByHost/com.example.App.1.plist", "Saved Application State/com.example.App.savedState",
        "Containers/com.example.App", "Application Scripts/com.example.App", "HTTPStorages/com.example.App",
        "Application Support/Microsoft Adobe Mail", "Application Support/com.example.App",
        "LaunchAgents/com.example.App.plist", "Group Containers/group.example", "Caches/com.example.App.found"}) {
    volume.file("~/Library/" + std::string(path) + (std::string_view(path).ends_with("plist") ? "" : "/a"));
  }
  for (const char* path : {"Caches/com.example.App/a", "Logs/com.example.App/a", "Preferences/com.example.App.plist",
                           "Application Support/Microsoft Adobe Mail/a", "Application Support/com.example.App/a",
                           "Caches/com.example.App.found/a"}) {
    volume.file("/Library/" + std::string(path));
  }
  volume.file("~/Documents/Microsoft Adobe Mail/save");
  for (const char* path :
       {"Application Support/Microsoft/Teams", "Group Containers/UBF8T346G9.Office/Outlook",
        "Group Containers/UBF8T346G9.ms", "Group Containers/UBF8T346G9.OfficeOsfWebHost", "Caches/com.microsoft.teams",
        "Group Containers/UBF8T346G9.com.microsoft.teams", "Containers/com.microsoft.teams2",
        "Application Support/OneDrive", "CloudStorage/OneDrive-Personal", "Caches/com.microsoft.Outlook",
        "Application Support/Adobe", "Caches/Adobe", "Mail", "Containers/com.apple.mail/Data/Library/Caches",
        "Containers/com.apple.mail/Data/Library/Mail Downloads"}) {
    volume.folder("~/Library/" + std::string(path));
  }
  volume.folder("/Library/Application Support/Adobe/OOBE").folder("/Volumes/.ODContainer-1");
  volume.folder("~/Suite1/in").folder("~/Suite2/in");
}

using Texts = std::vector<std::string>;

void collect(Texts& texts, const std::vector<Artifact>& artifacts) {
  for (const Artifact& artifact : artifacts) {
    texts.push_back(artifact.title);
    if (artifact.explanation) texts.push_back(*artifact.explanation);
  }
}

Texts discoveryTexts(const MacVolume& volume) {
  Inspector inspector(volume);
  const VendorProfile suite{
      .id = "suite",
      .displayName = "Suite",
      .match = {.bundleIDs = {"com.example.App"}},
      .artifacts = {{.dataClass = ArtifactDataClass::userData, .title = "Suite", .paths = {"~/Suite*/in"}}}};
  const AppEntity app = everyEcosystemsApp();
  const ArtifactScanner scanner(inspector.sizes, inspector.files);
  Texts texts;
  collect(texts, scanner.scan(app, {{"group.example"}},
                              {.includeHeuristicSearch = true,
                               .heuristicMaxDepth = 3,
                               .heuristicMaxResults = 100,
                               .includeVendorHeuristics = true,
                               .includeSystemArtifacts = true,
                               .includeSystemHeuristicSearch = true,
                               .computeSizes = false}));
  collect(texts, scanner.documentsHeuristicSearch(app, 3, 100));
  LaunchdEntry job;
  job.url = FileURL("/Library/LaunchDaemons/x.plist");
  job.label = "com.example.App.job";
  collect(texts, scanner.launchdArtifacts(app, {job}));
  ReceiptInfo receipt;
  receipt.packageIdentifier = "com.example.pkg";
  collect(texts, scanner.receiptArtifacts({receipt}));
  collect(texts, DeepInspectorService(VendorProfileRegistry({suite}), inspector.files).inspect(app, {}, {}));
  return texts;
}

Texts planTexts(const MacVolume& volume) {
  AppInspection inspection{.app = everyEcosystemsApp()};
  inspection.artifacts = {
      {.kind = ArtifactKind::launchDaemon,
       .dataClass = ArtifactDataClass::shared,
       .urls = {FileURL("/Library/LaunchDaemons/x.plist")},
       .riskLevel = RiskLevel::danger},
      {.kind = ArtifactKind::cache, .dataClass = ArtifactDataClass::rebuildable, .urls = {volume.url("~/Suite1/in")}}};
  inspection.uninstallers = {{FileURL("/Applications/Uninstall.app"), "Uninstall.app", 1.0}};
  Texts texts;
  for (const CleanupMode mode : allCases<CleanupMode>()) {
    const AppRemovalPlanPreview plan = AppRemovalPlanner(volume.files()).buildPreview(inspection, mode, std::nullopt);
    texts.insert(texts.end(), plan.notes.begin(), plan.notes.end());
    for (const RemovalOperationPreview& operation : plan.operations) {
      texts.push_back(operation.explanation.value_or(""));
    }
  }
  return texts;
}

Texts ownershipTexts() {
  Texts texts;
  for (const EvidenceKind kind : allCases<EvidenceKind>()) texts.push_back(evidenceSentence(kind));
  for (const OrphanKind kind : allCases<OrphanKind>()) texts.push_back(orphanSentence(kind));
  texts.push_back(sharedFolderSentence());
  return texts;
}

// The command shows these in place of the library's own; PlainTextTests has them.
const std::set<std::string>& shownByTheCommand() {
  static const std::set<std::string> sentences{
      "Caches, and data that a sync restores. Local data that is not synced stays.",
      "Nothing is known of what a sync restores for this app, so mostly caches are selected.",
      "Only caches and other data that the app can recreate.", "Source: what is known of this vendor",
      "Vendor profile"};
  return sentences;
}

// An untranslated sentence appears without the mark.
TEST(LocalizedTexts, EverySentenceOfTheCatalogueIsUsedByDiscoveryAPlanOrTheOwnershipMap) {
  MacVolume volume;
  fill(volume);
  const MarkedLanguage language;
  Texts texts = discoveryTexts(volume);
  const Texts ofPlans = planTexts(volume);
  texts.insert(texts.end(), ofPlans.begin(), ofPlans.end());
  const Texts ofOwnership = ownershipTexts();
  texts.insert(texts.end(), ofOwnership.begin(), ofOwnership.end());
  for (const std::string& sentence : language.sentences()) {
    if (shownByTheCommand().contains(sentence)) continue;
    const std::string beginning = sentence.substr(0, sentence.find('%'));
    std::size_t marked = 0;
    for (const std::string& text : texts) {
      for (std::size_t at = text.find(beginning); at != std::string::npos; at = text.find(beginning, at + 1)) {
        const bool isMarked = at >= 2 && text.compare(at - 2, 2, "«") == 0;
        EXPECT_TRUE(isMarked) << "not translated: " << text;
        if (isMarked) ++marked;
      }
    }
    EXPECT_GT(marked, 0U) << "no text says: " << sentence;
  }
}

}  // namespace
}  // namespace quarn::localized_texts_tests

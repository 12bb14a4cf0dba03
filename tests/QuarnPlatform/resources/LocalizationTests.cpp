#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "QuarnPlatform/text/Text.h"
#include "tests/support/ParsedJSON.h"
#include "tests/support/ProjectFolder.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::localization_tests {
namespace {

// All texts that the library shows to users, with typographic quotes and apostrophes.
// clang-format off
constexpr std::array kSentences = {
    "Cache data: rebuilt by the app and usually safe to remove.",
    "Logs: helpful for debugging, usually safe to remove.",
    "App settings: deleting resets behavior.",
    "Device/host-specific app settings.",
    "Window state/restore info: recreated on next launch.",
    "Sandbox container: may contain user and app data.",
    "Automation scripts: rarely critical, but app-specific.",
    "Web/session cache: rebuilt as needed.",
    "App data/projects: may contain important content.",
    "App data for the bundle ID: may contain important content.",
    "Auto-launch job: starts background processes.",
    "System-wide cache data: usually safe to remove, but can affect multiple users.",
    "System-wide logs: usually safe to remove.",
    "System-wide app settings: deleting resets behavior and can affect multiple users.",
    "System-wide app data: can be shared by multiple users/apps.",
    "Shared app container: may contain data for multiple apps; review carefully.",
    "Shared Adobe folder: contains data for multiple apps; don\u2019t delete automatically.",
    "Shared Microsoft folder: contains data for multiple apps; don\u2019t delete automatically.",
    "launchd job belongs to the app (label/program matches the bundle ID).",
    "Installer receipt with %@ files. Examples: %@",
    "No paths listed.",
    "Heuristic match: name/path looks related to the app. Review before deleting.",
    "Heuristic match (System): name/path matches the bundle ID. Review before deleting.",
    "Documents: %@",
    "Possible game saves/config in Documents. Not selected automatically; review carefully.",
    "Multiple paths found: likely suite/shared data (may affect multiple apps).",
    "Source: Layer C (Vendor Inspector)",
    "Shared Microsoft folder for Office/Teams/OneDrive: contains data for multiple apps.",
    "Shared Office container: contains data for multiple Microsoft apps.",
    "Shared Microsoft container: may be used by multiple apps.",
    "Office WebHost/add-ins: used by multiple Office apps.",
    "Teams data/logs: mostly recoverable, but may include chat caches.",
    "Teams cache: rebuilt as needed.",
    "Teams (new): shared container that may contain user data.",
    "Teams container (com.microsoft.teams2): may contain local data.",
    "OneDrive local sync data: delete only after signing out/unlinking.",
    "OneDrive sync folder (File Provider): contains local or pinned files.",
    "Hidden .ODContainer cache: may contain unsynced content.",
    "Outlook profiles/databases: contains mail/archives; review carefully.",
    "Cache/temp files: typically recoverable.",
    "Shared Adobe folder (Creative Cloud/apps/updater): contains data for multiple apps.",
    "Adobe cache: mostly recoverable, but may include downloads.",
    "System-wide Adobe login/update area: affects multiple Adobe apps.",
    "Local mail data (On My Mac): may include unsynced content.",
    "Mail cache/attachments: usually re-downloadable; check local accounts.",
    "Attachment downloads: typically re-downloadable.",
    "Only cache/rebuildable data (best effort).",
    "Cache + (later) sync-restorable related items, without deleting local unsynced data.",
    "Remove app + cache; preferences/user data are kept by default.",
    "Aggressive: app + cache + preferences + app data (may be irreversible).",
    "Found shared/vendor artifacts (%ld): selected in \u201CEverything\u201D; review carefully.",
    "Found shared/vendor artifacts (%ld): not selected automatically.",
    "Found dangerous artifacts (%ld): always review manually.",
    "No app-specific sync rules yet: \u201CRelated Items\u201D currently mostly includes cache/rebuildable data.",
    "Open vendor uninstaller (recommended), then optional cleanup.",
    "Disable launch services before removing files.",
    "Quit the app so files aren\u2019t locked during removal.",
    "Move to Trash (may require admin for system paths).",
    "Move to Quarantine (undoable).",
    "A container of an app that is not installed.",
    "A launchd job that runs a program of the app.",
    "A launchd job whose program does not exist.",
    "A vendor profile names it, and its app is not installed.",
    "A vendor profile of the app names it.",
    "An identifier of the app's vendor that holds the app's name.",
    "An identifier of the app's vendor.",
    "An identifier that ends in the app's name.",
    "An installer receipt of the app lists it.",
    "Inside the app.",
    "Installed by a package whose app is gone.",
    "Named by an identifier that no installed app has.",
    "Named by the app's bundle identifier.",
    "Named by the identifier of a bundle inside the app.",
    "All apps share this folder.",
    "Named like an app of which only leftovers are found.",
    "Named like the app but for version, channel or edition.",
    "Named like the app's vendor.",
    "Named like the app.",
    "The app names it as its helper.",
    "The app's signature entitles it to this group.",
    "The container's metadata names the app.",
    "The name begins with the app's bundle identifier.",
    "The name is the app's bundle identifier after a team or group.",
    "Source: what is known of this vendor",
    "Vendor profile",
    "Only caches and other data that the app can recreate.",
    "Caches, and data that a sync restores. Local data that is not synced stays.",
    "Nothing is known of what a sync restores for this app, so mostly caches are selected.",
};
// clang-format on
static_assert(kSentences.size() == 88);

constexpr const char* kCatalogue = R"({
  "sourceLanguage" : "en",
  "strings" : {
    "Hello" : {"extractionState" : "manual", "localizations" : {
      "de" : {"stringUnit" : {"state" : "translated", "value" : "Hallo"}},
      "pt" : {"stringUnit" : {"state" : "translated", "value" : "Olá"}},
      "pt-BR" : {"stringUnit" : {"state" : "translated", "value" : "Oi"}},
      "zh_TW" : {"stringUnit" : {"state" : "translated", "value" : "哈囉"}}}},
    "Bye" : {"localizations" : {
      "pt" : {"stringUnit" : {"state" : "translated", "value" : "Tchau"}},
      "pt-BR" : {"stringUnit" : {"state" : "new", "value" : ""}}}},
    "Found %ld." : {"localizations" : {"de" : {"stringUnit" : {"state" : "translated", "value" : "%ld gefunden."}}}},
    "In: %@" : {"localizations" : {"de" : {"stringUnit" : {"state" : "translated", "value" : "In %@"}}}},
    "%@ of %@" : {"localizations" : {"de" : {"stringUnit" : {"state" : "translated", "value" : "%2$@: %1$@"}}}}
  },
  "version" : "1.0"
})";

/// Resets the process-wide texts to English after each test.
class Localization : public testing::Test {
 protected:
  ~Localization() override { useLocalization("", ResourceBundle("")); }

  void use(const std::string& locale, const std::string& catalogue = kCatalogue) {
    folder_.file("Localizable.xcstrings", catalogue);
    useLocalization(locale, folder_.bundle());
  }

 private:
  ResourceFolder folder_;
};

TEST_F(Localization, SentencesAreEnglishUntilALocaleIsUsed) {
  EXPECT_EQ(localized("Hello"), "Hello");
  EXPECT_EQ(localizedCount("Found %ld.", 3), "Found 3.");
}

TEST_F(Localization, ALanguagesSentencesAreFound) {
  use("de");
  EXPECT_EQ(localized("Hello"), "Hallo");
  EXPECT_EQ(localizedCount("Found %ld.", 3), "3 gefunden.");
  EXPECT_EQ(localizedText("In: %@", "Mail"), "In Mail");
}

TEST_F(Localization, TheRootLocaleHasNoTranslations) {
  use("", R"({"strings":{"Hello":{"localizations":{"":{"stringUnit":{"value":"Hallo"}}}}}})");
  EXPECT_EQ(localized("Hello"), "Hello");
}

TEST_F(Localization, UsingALocaleMakesItTheCurrentOne) {
  use("de_DE");
  EXPECT_EQ(Locale::current().identifier(), "de_DE");
}

TEST_F(Localization, ARegionFallsBackToItsLanguage) {
  for (const char* locale : {"de_DE", "de-AT", "de_CH@currency=EUR", "DE"}) {
    use(locale);
    EXPECT_EQ(localized("Hello"), "Hallo") << locale;
  }
}

TEST_F(Localization, TheFullIdentifierTakesPrecedenceOverTheLanguage) {
  for (const char* locale : {"pt-BR", "pt_BR"}) {
    use(locale);
    EXPECT_EQ(localized("Hello"), "Oi") << locale;
  }
  for (const char* locale : {"zh-TW", "zh_TW"}) {
    use(locale);
    EXPECT_EQ(localized("Hello"), "哈囉") << locale;
  }
  use("zh_CN");
  EXPECT_EQ(localized("Hello"), "Hello");
}

TEST_F(Localization, AnEmptyTextIsNotATranslation) {
  use("pt_BR");
  EXPECT_EQ(localized("Bye"), "Tchau");
}

TEST_F(Localization, ASentenceWithoutAnEntryStaysEnglish) {
  use("de");
  EXPECT_EQ(localized("Bye"), "Bye");
  EXPECT_EQ(localized("Nowhere"), "Nowhere");
  EXPECT_EQ(localized(""), "");
  EXPECT_EQ(localizedCount("Lost %ld.", -1), "Lost -1.");
}

TEST_F(Localization, AnotherLocaleReplacesTheSentencesOfTheFirst) {
  use("de");
  use("en");
  EXPECT_EQ(localized("Hello"), "Hello");
}

TEST_F(Localization, AMissingCatalogueLeavesEnglish) {
  useLocalization("de", ResourceBundle("/nonexistent"));
  EXPECT_EQ(localized("Hello"), "Hello");
  EXPECT_EQ(Locale::current().identifier(), "de");
}

TEST_F(Localization, AMalformedCatalogueLeavesEnglish) {
  const std::string good = kCatalogue;
  const std::vector<std::string> catalogues = {"",
                                               "garbage",
                                               "[]",
                                               "null",
                                               "{}",
                                               R"({"strings":[]})",
                                               R"({"strings":null})",
                                               R"({"strings":"Hello"})",
                                               good.substr(0, good.size() / 2),
                                               good + "x",
                                               std::string(100'000, '['),
                                               "\xFF\xFE" + good};
  for (const std::string& catalogue : catalogues) {
    use("de", catalogue);
    EXPECT_EQ(localized("Hello"), "Hello") << catalogue.substr(0, 40);
  }
}

TEST_F(Localization, AMalformedEntryKeepsItsEnglishSentence) {
  const std::vector<std::string> entries = {"null",
                                            "1",
                                            "[]",
                                            "{}",
                                            R"({"localizations":[]})",
                                            R"({"localizations":{"de":"Hallo"}})",
                                            R"({"localizations":{"de":{"stringUnit":"Hallo"}}})",
                                            R"({"localizations":{"de":{"stringUnit":{"value":1}}}})",
                                            R"({"localizations":{"de":{"stringUnit":{"value":null}}}})",
                                            R"({"localizations":{"de":{"variations":{"plural":{}}}}})"};
  for (const std::string& entry : entries) {
    use("de",
        R"({"strings":{"Bad":)" + entry + R"(,"Hello":{"localizations":{"de":{"stringUnit":{"value":"Hallo"}}}}}})");
    EXPECT_EQ(localized("Bad"), "Bad") << entry;
    EXPECT_EQ(localized("Hello"), "Hallo") << entry;
  }
}

TEST_F(Localization, TheArgumentReplacesTheFirstPlaceholder) {
  EXPECT_EQ(localizedCount("%ld and %ld", 1), "1 and %ld");
  EXPECT_EQ(localizedText("%@ and %@", "a"), "a and %@");
  EXPECT_EQ(localizedTexts("%@, %@, %@", "a", "b"), "a, b, %@");
  EXPECT_EQ(localizedTexts("only %@", "a", "b"), "only a");
  EXPECT_EQ(localizedText("none", "a"), "none");
}

TEST_F(Localization, PositionsNameTheirArgument) {
  EXPECT_EQ(localizedTexts("%2$@ before %1$@", "a", "b"), "b before a");
  EXPECT_EQ(localizedTexts("%1$@, %1$@, %2$@", "a", "b"), "a, a, b");
  EXPECT_EQ(localizedText("(%1$@)", "a"), "(a)");
  EXPECT_EQ(localizedCount("%1$ld", 7), "7");
  EXPECT_EQ(localizedTexts("%3$@ %0$@ %9$@", "a", "b"), "%3$@ %0$@ %9$@");
  use("de");
  EXPECT_EQ(localizedTexts("%@ of %@", "3", "7"), "7: 3");
}

TEST_F(Localization, ADoubledPercentSignIsOneInAFormat) {
  EXPECT_EQ(localizedCount("%ld %% of 100 %%", 5), "5 % of 100 %");
  EXPECT_EQ(localizedText("%%@ %@", "a"), "%@ a");
  EXPECT_EQ(localizedText("%%%@", "a"), "%a");
  EXPECT_EQ(localized("100 %%"), "100 %%");
}

TEST_F(Localization, OtherPercentSignsAreLiteral) {
  EXPECT_EQ(localizedCount("%d %s %@ %", 1), "%d %s %@ %");
  EXPECT_EQ(localizedText("%ld %1 %1$ % @ %", "a"), "%ld %1 %1$ % @ %");
}

TEST_F(Localization, AnArgumentIsNeverReadAsAFormat) {
  EXPECT_EQ(localizedText("Documents: %@", "%@ %% %1$@"), "Documents: %@ %% %1$@");
  EXPECT_EQ(localizedTexts("%@|%@", "%@", "%2$@"), "%@|%2$@");
}

TEST_F(Localization, CountsHaveNoGroups) {
  EXPECT_EQ(localizedCount("%ld", 1234567), "1234567");
  EXPECT_EQ(localizedCount("%ld", -5), "-5");
}

/// The path of the catalogue in the sources.
std::string shippedFolder() { return projectFolder() / "QuarnCore/resources"; }

/// The conversions of a format, in order: "%@", "%ld".
std::vector<std::string> conversions(const std::string& format) {
  std::vector<std::string> found;
  for (std::size_t at = format.find('%'); at != std::string::npos; at = format.find('%', at + 1)) {
    const std::size_t end = format.find_first_of("@d%", at + 1);
    found.push_back(end == std::string::npos ? format.substr(at) : format.substr(at, end + 1 - at));
    if (format[at + 1] == '%') ++at;
  }
  return found;
}

TEST_F(Localization, TheCatalogueContainsExactlyTheUsedSentences) {
  const std::optional<std::string> bytes = ResourceBundle(shippedFolder()).read("Localizable", "xcstrings");
  ASSERT_TRUE(bytes.has_value());
  const std::optional<nlohmann::json> catalogue = parseJSON(*bytes);
  ASSERT_TRUE(catalogue.has_value());
  std::vector<std::string> keys;
  for (const auto& [key, entry] : catalogue->at("strings").items()) keys.push_back(key);
  std::vector<std::string> sentences(kSentences.begin(), kSentences.end());
  std::sort(sentences.begin(), sentences.end());
  EXPECT_EQ(keys, sentences);
}

TEST_F(Localization, EveryShippedSentenceHasAGermanTextWithTheSamePlaceholders) {
  useLocalization("de_DE", ResourceBundle(shippedFolder()));
  for (const std::string sentence : kSentences) {
    const std::string german = localized(sentence);
    EXPECT_NE(german, sentence);
    EXPECT_FALSE(german.empty()) << sentence;
    EXPECT_EQ(conversions(german), conversions(sentence)) << sentence;
  }
}

TEST_F(Localization, TheShippedGermanReadsAsMeant) {
  useLocalization("de", ResourceBundle(shippedFolder()));
  EXPECT_EQ(localized("Cache data: rebuilt by the app and usually safe to remove."),
            "Cache-Daten: werden von der App neu angelegt und lassen sich meist gefahrlos entfernen.");
  EXPECT_EQ(localizedTexts("Installer receipt with %@ files. Examples: %@", "2", "/a, /b"),
            "Installationsbeleg über 2 Dateien. Beispiele: /a, /b");
  EXPECT_EQ(localizedCount("Found dangerous artifacts (%ld): always review manually.", 4),
            "Gefährliche Artefakte gefunden (4): immer von Hand prüfen.");
}

}  // namespace
}  // namespace quarn::localization_tests

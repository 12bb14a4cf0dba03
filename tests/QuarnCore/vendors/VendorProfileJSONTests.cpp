#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn::vendor_profile_json_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Index = VendorProfileIndex;

constexpr std::string_view kText = R"({
  "id": "example",
  "displayName": "Example Inc.",
  "match": {
    "bundleIDs": ["com.example.App", "com.example.Tool"],
    "bundleIDPrefixes": ["com.example.suite."],
    "nameContains": ["Example"]
  },
  "artifacts": [
    {
      "kind": "appBundle",
      "dataClass": "app",
      "scope": "system",
      "riskLevel": "caution",
      "confidence": 0.9,
      "title": "Example",
      "explanation": "The program.",
      "paths": ["/Applications/Example.app", "/Applications/Example *.app"]
    },
    {
      "kind": "cache",
      "dataClass": "rebuildable",
      "scope": "user",
      "riskLevel": "safe",
      "confidence": 1,
      "title": "Caches",
      "paths": []
    }
  ],
  "carveOuts": [
    { "title": "Shared", "paths": ["~/Library/Application Support/Example"], "reason": "Several products use it." }
  ]
})";

VendorProfile exampleProfile() {
  return {.id = "example",
          .displayName = "Example Inc.",
          .match = {.bundleIDs = {"com.example.App", "com.example.Tool"},
                    .bundleIDPrefixes = {"com.example.suite."},
                    .nameContains = {"Example"}},
          .artifacts = {{.kind = ArtifactKind::appBundle,
                         .dataClass = ArtifactDataClass::app,
                         .scope = ArtifactScope::system,
                         .riskLevel = RiskLevel::caution,
                         .confidence = 0.9,
                         .title = "Example",
                         .explanation = "The program.",
                         .paths = {"/Applications/Example.app", "/Applications/Example *.app"}},
                        {.kind = ArtifactKind::cache,
                         .dataClass = ArtifactDataClass::rebuildable,
                         .scope = ArtifactScope::user,
                         .riskLevel = RiskLevel::safe,
                         .confidence = 1,
                         .title = "Caches",
                         .explanation = std::nullopt,
                         .paths = {}}},
          .carveOuts = {{.title = "Shared",
                         .paths = {"~/Library/Application Support/Example"},
                         .reason = "Several products use it."}}};
}

std::string changed(std::string_view from, std::string_view to) {
  std::string text(kText);
  const std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::logic_error("not in the text: " + std::string(from));
  return text.replace(at, from.size(), to);
}

TEST(VendorProfileJSON, DecodesEveryField) { EXPECT_EQ(decodeVendorProfile(kText), exampleProfile()); }

TEST(VendorProfileJSON, AnExplanationMayBeMissingOrNull) {
  const auto withNull = decodeVendorProfile(changed(R"("explanation": "The program.")", R"("explanation": null)"));
  const auto without = decodeVendorProfile(changed(R"("explanation": "The program.",)", ""));
  ASSERT_TRUE(withNull && without);
  EXPECT_EQ(withNull->artifacts[0].explanation, std::nullopt);
  EXPECT_EQ(*withNull, *without);
  const auto empty = decodeVendorProfile(changed("The program.", ""));
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->artifacts[0].explanation, "");
}

TEST(VendorProfileJSON, ArtifactsCarveOutsAndRulesOfRecognitionMayBeEmpty) {
  const auto profile = decodeVendorProfile(
      R"({"id":"","displayName":"","match":{"bundleIDs":[],"bundleIDPrefixes":[],"nameContains":[]},
          "artifacts":[],"carveOuts":[]})");
  EXPECT_EQ(profile, VendorProfile{});
}

TEST(VendorProfileJSON, UnknownKeysAreIgnoredAtEveryLevel) {
  std::string text = changed(R"("id": "example")", R"("comment": [1, {"a": null}], "id": "example")");
  text.replace(text.find(R"("bundleIDs")"), 0, R"("teamIDs": 7, )");
  text.replace(text.find(R"("kind")"), 0, R"("Kind": "cache", )");
  text.replace(text.find(R"("title": "Shared")"), 0, R"("explanation": false, )");
  EXPECT_EQ(decodeVendorProfile(text), exampleProfile());
}

TEST(VendorProfileJSON, OfEqualKeysTheFirstWins) {
  EXPECT_EQ(decodeVendorProfile(changed(R"("id": "example")", R"("id": "example", "id": "other")")), exampleProfile());
  EXPECT_EQ(decodeVendorProfile(changed(R"("confidence": 0.9)", R"("confidence": 0.9, "confidence": "wrong")")),
            exampleProfile());
}

TEST(VendorProfileJSON, AConfidenceIsAnyNumber) {
  const std::vector<std::pair<std::string, double>> numbers{{"0.25", 0.25}, {"1", 1}, {"1.0", 1},   {"1e2", 100},
                                                            {"-0.5", -0.5}, {"0", 0}, {"5e-1", 0.5}};
  for (const auto& [text, number] : numbers) {
    const auto profile = decodeVendorProfile(changed("0.9", text));
    ASSERT_TRUE(profile) << text;
    EXPECT_EQ(profile->artifacts[0].confidence, number) << text;
  }
}

TEST(VendorProfileJSON, EveryRawStringDecodesToItsCase) {
  const std::vector<std::string> kinds{
      "appBundle",      "uninstaller", "cache",       "logs",         "preferences", "applicationSupport", "container",
      "groupContainer", "savedState",  "launchAgent", "launchDaemon", "receipt",     "kernelExtension",    "unknown"};
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const auto profile = decodeVendorProfile(changed("\"appBundle\"", '"' + kinds[i] + '"'));
    ASSERT_TRUE(profile) << kinds[i];
    EXPECT_EQ(static_cast<std::size_t>(profile->artifacts[0].kind), i) << kinds[i];
  }
  const std::vector<std::string> classes{"app",      "rebuildable", "syncRestorable", "configuration",
                                         "userData", "shared",      "unknown"};
  for (std::size_t i = 0; i < classes.size(); ++i) {
    const auto profile = decodeVendorProfile(changed("\"app\"", '"' + classes[i] + '"'));
    ASSERT_TRUE(profile) << classes[i];
    EXPECT_EQ(static_cast<std::size_t>(profile->artifacts[0].dataClass), i) << classes[i];
  }
}

struct Fault {
  std::string_view from;
  std::string_view to;
  std::string_view problem;  // how it begins
};

// clang-format off
constexpr std::array kFaults{
    Fault{R"("id": "example",)", "", "id: missing"},
    Fault{R"("id": "example")", R"("id": null)", "id: missing"},
    Fault{R"("id": "example")", R"("id": 7)", "id: not a string"},
    Fault{R"("id": "example")", R"("ID": "example")", "id: missing"},
    Fault{R"("displayName": "Example Inc.",)", "", "displayName: missing"},
    Fault{R"("displayName": "Example Inc.")", R"("displayName": ["Example"])", "displayName: not a string"},
    Fault{R"("match")", R"("matches")", "match: missing"},
    Fault{R"("artifacts")", R"("artefacts")", "artifacts: missing"},
    Fault{R"("carveOuts")", R"("carve-outs")", "carveOuts: missing"},
    Fault{R"(["com.example.App", "com.example.Tool"])", "null", "match.bundleIDs: missing"},
    Fault{R"(["com.example.App", "com.example.Tool"])", R"("com.example.App")", "match.bundleIDs: not an array"},
    Fault{R"("com.example.App")", "1", "match.bundleIDs[0]: not a string"},
    Fault{R"("com.example.App")", "null", "match.bundleIDs[0]: missing"},
    Fault{R"("bundleIDPrefixes": ["com.example.suite."],)", "", "match.bundleIDPrefixes: missing"},
    Fault{R"(["com.example.suite."])", "{}", "match.bundleIDPrefixes: not an array"},
    Fault{R"(["com.example.suite."],
    "nameContains": ["Example"])", R"(["com.example.suite."])", "match.nameContains: missing"},
    Fault{R"("kind": "appBundle",)", "", "artifacts[0].kind: missing"},
    Fault{R"("appBundle")", R"("appbundle")", "artifacts[0].kind: not one of appBundle, "},
    Fault{R"("appBundle")", R"("")", "artifacts[0].kind: not one of appBundle, "},
    Fault{R"("appBundle")", "0", "artifacts[0].kind: not a string"},
    Fault{R"("cache")", R"("caches")", "artifacts[1].kind: not one of appBundle, "},
    Fault{R"("dataClass": "app",)", "", "artifacts[0].dataClass: missing"},
    Fault{R"("dataClass": "app")", R"("dataClass": "application")", "artifacts[0].dataClass: not one of app, "},
    Fault{R"("scope": "system",)", "", "artifacts[0].scope: missing"},
    Fault{R"("scope": "system")", R"("scope": "global")", "artifacts[0].scope: not one of user, system"},
    Fault{R"("riskLevel": "caution",)", "", "artifacts[0].riskLevel: missing"},
    Fault{R"("riskLevel": "caution")", R"("riskLevel": "high")", "artifacts[0].riskLevel: not one of safe, caution, danger"},
    Fault{R"("confidence": 0.9,)", "", "artifacts[0].confidence: missing"},
    Fault{R"("confidence": 0.9)", R"("confidence": "0.9")", "artifacts[0].confidence: not a number"},
    Fault{R"("confidence": 0.9)", R"("confidence": true)", "artifacts[0].confidence: not a number"},
    Fault{R"("confidence": 0.9)", R"("confidence": null)", "artifacts[0].confidence: missing"},
    Fault{R"("title": "Example",)", "", "artifacts[0].title: missing"},
    Fault{R"("title": "Example")", R"("title": false)", "artifacts[0].title: not a string"},
    Fault{R"("explanation": "The program.")", R"("explanation": 1)", "artifacts[0].explanation: not a string"},
    Fault{R"("explanation": "The program.")", R"("explanation": [])", "artifacts[0].explanation: not a string"},
    Fault{R"(,
      "paths": [])", "", "artifacts[1].paths: missing"},
    Fault{R"("paths": [])", R"("paths": null)", "artifacts[1].paths: missing"},
    Fault{R"("paths": [])", R"("paths": "~")", "artifacts[1].paths: not an array"},
    Fault{R"("paths": [])", R"("paths": [["~"]])", "artifacts[1].paths[0]: not a string"},
    Fault{R"("title": "Shared", )", "", "carveOuts[0].title: missing"},
    Fault{R"("paths": ["~/Library/Application Support/Example"], )", "", "carveOuts[0].paths: missing"},
    Fault{R"(, "reason": "Several products use it.")", "", "carveOuts[0].reason: missing"},
    Fault{R"("reason": "Several products use it.")", R"("reason": null)", "carveOuts[0].reason: missing"},
};
// clang-format on

TEST(VendorProfileJSON, AnythingMissingOrWrongSpoilsTheFileAndIsNamed) {
  for (const Fault& fault : kFaults) {
    std::string problem;
    EXPECT_EQ(decodeVendorProfile(changed(fault.from, fault.to), &problem), std::nullopt) << fault.problem;
    EXPECT_THAT(problem, StartsWith(fault.problem));
  }
}

TEST(VendorProfileJSON, RecordsOfAnotherShapeSpoilTheFile) {
  constexpr std::array<std::string_view, 8> kTexts{
      "", " ", "[]", "null", "\"example\"", "7", R"({"id":"x"})", R"({"match":[],"artifacts":{},"carveOuts":"none"})"};
  for (const std::string_view text : kTexts) {
    std::string problem;
    EXPECT_EQ(decodeVendorProfile(text, &problem), std::nullopt) << text;
    EXPECT_NE(problem, "") << text;
  }
}

TEST(VendorProfileJSON, AFileThatIsNotStrictJSONIsRefused) {
  EXPECT_EQ(decodeVendorProfile(changed("\"Example\"]", "\"Example\",]")), std::nullopt);
  EXPECT_EQ(decodeVendorProfile(changed("{", "// a vendor\n{")), std::nullopt);
  EXPECT_EQ(decodeVendorProfile(changed("Example Inc.", "Example\tInc.")), std::nullopt);
  EXPECT_EQ(decodeVendorProfile(changed("Example Inc.", "\xFF")), std::nullopt);
  EXPECT_EQ(decodeVendorProfile(changed("0.9", "1e400")), std::nullopt);
  EXPECT_EQ(decodeVendorProfile(changed("0.9", ".9")), std::nullopt);
  EXPECT_EQ(decodeVendorProfile(std::string(kText) + "x"), std::nullopt);
  EXPECT_EQ(decodeVendorProfile(kText.substr(0, kText.size() - 1)), std::nullopt);
}

TEST(VendorProfileJSON, EncodesTheKeysInFieldOrderAndOmitsAnAbsentExplanation) {
  const std::string text = encodeVendorProfile(exampleProfile()).dump();
  EXPECT_EQ(
      text,
      R"({"id":"example","displayName":"Example Inc.","match":{"bundleIDs":["com.example.App","com.example.Tool"],)"
      R"("bundleIDPrefixes":["com.example.suite."],"nameContains":["Example"]},"artifacts":[{"kind":"appBundle",)"
      R"("dataClass":"app","scope":"system","riskLevel":"caution","confidence":0.9,"title":"Example",)"
      R"("explanation":"The program.","paths":["/Applications/Example.app","/Applications/Example *.app"]},)"
      R"({"kind":"cache","dataClass":"rebuildable","scope":"user","riskLevel":"safe","confidence":1.0,)"
      R"("title":"Caches","paths":[]}],"carveOuts":[{"title":"Shared",)"
      R"("paths":["~/Library/Application Support/Example"],"reason":"Several products use it."}]})");
  EXPECT_EQ(decodeVendorProfile(text), exampleProfile());
  EXPECT_THAT(encodeVendorProfile({}).dump(), HasSubstr(R"("artifacts":[],"carveOuts":[])"));
}

TEST(VendorIndexJSON, DecodesEveryField) {
  const Index expected{.version = 3, .vendors = {{.id = "a", .file = "a.json"}, {.id = "b", .file = "bee"}}};
  EXPECT_EQ(decodeVendorIndex(R"({"version": 3, "vendors": [{"id": "a", "file": "a.json"},
                                  {"file": "bee", "id": "b", "note": ""}], "comment": null})"),
            expected);
  EXPECT_EQ(encodeVendorIndex(expected).dump(),
            R"({"version":3,"vendors":[{"id":"a","file":"a.json"},{"id":"b","file":"bee"}]})");
}

TEST(VendorIndexJSON, AVersionIsAnIntegralNumberInAnyNotation) {
  const std::vector<std::pair<std::string, std::int64_t>> versions{
      {"1", 1}, {"1.0", 1}, {"1e2", 100}, {"10e-1", 1}, {"-7", -7}, {"0", 0}, {"9223372036854775807", INT64_MAX}};
  for (const auto& [text, version] : versions) {
    const auto index = decodeVendorIndex("{\"version\":" + text + ",\"vendors\":[]}");
    ASSERT_TRUE(index) << text;
    EXPECT_EQ(index->version, version) << text;
  }
  for (const std::string text : {"1.5", "\"1\"", "true", "null", "[1]", "9223372036854775808", "01"}) {
    EXPECT_EQ(decodeVendorIndex("{\"version\":" + text + ",\"vendors\":[]}"), std::nullopt) << text;
  }
}

TEST(VendorIndexJSON, AnythingMissingOrWrongSpoilsTheIndex) {
  constexpr std::array<std::string_view, 8> kTexts{
      R"({"vendors":[]})",
      R"({"version":1})",
      R"({"version":1,"vendors":null})",
      R"({"version":1,"vendors":{"id":"a","file":"a"}})",
      R"({"version":1,"vendors":["a"]})",
      R"({"version":1,"vendors":[{"id":"a"}]})",
      R"({"version":1,"vendors":[{"file":"a"}]})",
      R"({"version":1,"vendors":[{"id":"a","file":7}]})",
  };
  for (const std::string_view text : kTexts) EXPECT_EQ(decodeVendorIndex(text), std::nullopt) << text;
}

}  // namespace
}  // namespace quarn::vendor_profile_json_tests

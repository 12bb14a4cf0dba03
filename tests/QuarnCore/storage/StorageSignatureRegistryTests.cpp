#include <gmock/gmock.h>

#include "QuarnCore/storage/StorageSignatureJSON.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::storage_signature_registry_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::StartsWith;
using Category = StorageCategoryID;
using Signature = StorageSignatureRegistry::Signature;
using Kind = Signature::Kind;

constexpr std::string_view kText = R"({"version":2,"signatures":[
  {"category":"games","kind":"markerFile","pattern":"game.cfg","reason":"Why."},
  {"category":"apps","kind":"packageExtension","pattern":"APP"},
  {"category":"games","kind":"markerDirectory","pattern":"saves*","reason":null}
]})";

const Signature kGameFile{Category::games, Kind::markerFile, "game.cfg", "Why."};
const Signature kAppPackage{Category::apps, Kind::packageExtension, "APP", std::nullopt};
const Signature kSavesFolder{Category::games, Kind::markerDirectory, "saves*", std::nullopt};

std::string changed(std::string_view from, std::string_view to) {
  std::string text(kText);
  const std::size_t at = text.find(from);
  if (at == std::string::npos) throw std::logic_error("not in the text: " + std::string(from));
  return text.replace(at, from.size(), to);
}

TEST(StorageSignatureJSON, DecodesEveryFieldInFileOrder) {
  const auto table = decodeStorageSignatures(kText);
  ASSERT_TRUE(table);
  EXPECT_EQ(table->version, 2);
  EXPECT_THAT(table->signatures, ElementsAre(kGameFile, kAppPackage, kSavesFolder));
}

TEST(StorageSignatureJSON, CategoriesAndKindsHaveTheseNamesInThisOrder) {
  constexpr std::array<std::string_view, 9> kCategories{"apps",        "documents",  "photos", "communication", "games",
                                                        "development", "systemData", "other",  "free"};
  EXPECT_EQ(RawValues<Category>::kStrings, kCategories);
  constexpr std::array<std::string_view, 3> kKinds{"packageExtension", "markerFile", "markerDirectory"};
  EXPECT_EQ(RawValues<Kind>::kStrings, kKinds);
  for (std::size_t i = 0; i < kCategories.size(); ++i) {
    const auto table = decodeStorageSignatures(changed("\"apps\"", '"' + std::string(kCategories[i]) + '"'));
    ASSERT_TRUE(table) << kCategories[i];
    EXPECT_EQ(static_cast<std::size_t>(table->signatures[1].category), i);
  }
  EXPECT_EQ(fromRawValue<Kind>("markerFile"), Kind::markerFile);
  EXPECT_EQ(fromRawValue<Kind>("markerfile"), std::nullopt);
}

TEST(StorageSignatureJSON, AReasonMayBeMissingOrNullButNothingElse) {
  EXPECT_TRUE(decodeStorageSignatures(changed(R"(,"reason":"Why.")", "")));
  EXPECT_EQ(decodeStorageSignatures(changed(R"("reason":"Why.")", R"("reason":1)")), std::nullopt);
}

TEST(StorageSignatureJSON, AVersionIsAnIntegralNumber) {
  for (const std::string text : {"1", "1.0", "1e2", "-5"}) {
    EXPECT_TRUE(decodeStorageSignatures(changed("\"version\":2", "\"version\":" + text))) << text;
  }
  for (const std::string text : {"1.5", "\"1\"", "true", "null"}) {
    EXPECT_FALSE(decodeStorageSignatures(changed("\"version\":2", "\"version\":" + text))) << text;
  }
}

TEST(StorageSignatureJSON, UnknownKeysAreIgnoredAndOfEqualKeysTheFirstWins) {
  const auto table = decodeStorageSignatures(
      changed(R"("pattern":"APP")", R"("pattern":"APP","pattern":"other","note":[])").insert(1, R"("comment":{},)"));
  ASSERT_TRUE(table);
  EXPECT_EQ(table->signatures[1], kAppPackage);
}

struct Fault {
  std::string_view from;
  std::string_view to;
  std::string_view problem;
};

// clang-format off
constexpr std::array kFaults{
    Fault{R"("version":2,)", "", "version: missing"},
    Fault{R"("signatures")", R"("Signatures")", "signatures: missing"},
    Fault{R"({"category":"games","kind":"markerFile")", R"({"kind":"markerFile")", "signatures[0].category: missing"},
    Fault{R"("apps")", R"("Apps")", "signatures[1].category: not one of apps, "},
    Fault{R"("apps")", "0", "signatures[1].category: not a string"},
    Fault{R"("kind":"markerFile",)", "", "signatures[0].kind: missing"},
    Fault{R"("markerFile")", R"("MarkerFile")", "signatures[0].kind: not one of packageExtension, markerFile, markerDirectory"},
    Fault{R"(,"pattern":"APP")", "", "signatures[1].pattern: missing"},
    Fault{R"("pattern":"APP")", R"("pattern":null)", "signatures[1].pattern: missing"},
    Fault{R"("pattern":"APP")", R"("pattern":["APP"])", "signatures[1].pattern: not a string"},
};
// clang-format on

TEST(StorageSignatureJSON, AnythingMissingOrWrongSpoilsTheWholeFileAndIsNamed) {
  for (const Fault& fault : kFaults) {
    std::string problem;
    EXPECT_EQ(decodeStorageSignatures(changed(fault.from, fault.to), &problem), std::nullopt) << fault.problem;
    EXPECT_THAT(problem, StartsWith(fault.problem));
  }
}

TEST(StorageSignatureJSON, EncodingOmitsAbsentReasonsAndRestoresTheFile) {
  const auto table = decodeStorageSignatures(kText);
  ASSERT_TRUE(table);
  const std::string text = encodeStorageSignatures(*table).dump();
  EXPECT_EQ(text, R"({"version":2,"signatures":[)"
                  R"({"category":"games","kind":"markerFile","pattern":"game.cfg","reason":"Why."},)"
                  R"({"category":"apps","kind":"packageExtension","pattern":"APP"},)"
                  R"({"category":"games","kind":"markerDirectory","pattern":"saves*"}]})");
  EXPECT_EQ(decodeStorageSignatures(text)->signatures, table->signatures);
}

TEST(StorageSignatureRegistry, LoadsTheResourceOfTheBundle) {
  ResourceFolder folder;
  folder.file("storage-signatures.json", kText);
  const auto registry = StorageSignatureRegistry::loadDefault(folder.bundle());
  EXPECT_EQ(registry.version(), 2);
  EXPECT_EQ(registry.signatures().size(), 3u);
}

TEST(StorageSignatureRegistry, AMissingUnreadableOrMalformedFileYieldsTheEmptyFallback) {
  const std::vector<std::string> malformed{"",
                                           "garbage",
                                           "[]",
                                           changed("\"markerFile\"", "\"MARKERFILE\""),
                                           changed("\"pattern\":\"APP\"", "\"name\":\"APP\""),
                                           std::string(kText.substr(0, 100))};
  for (const std::string& text : malformed) {
    ResourceFolder folder;
    folder.file("storage-signatures.json", text);
    const auto registry = StorageSignatureRegistry::loadDefault(folder.bundle());
    EXPECT_EQ(registry.version(), 1) << text;
    EXPECT_THAT(registry.signatures(), IsEmpty()) << text;
  }
  ResourceFolder withFolder;
  withFolder.folder("storage-signatures.json");
  EXPECT_EQ(StorageSignatureRegistry::loadDefault(withFolder.bundle()).version(), 1);
  ResourceFolder nothing;
  nothing.file("vendors/storage-signatures.json", kText);
  EXPECT_THAT(StorageSignatureRegistry::loadDefault(nothing.bundle()).signatures(), IsEmpty());
}

TEST(StorageSignatureRegistry, AnEmptyRegistryAnswersNothing) {
  const StorageSignatureRegistry registry;
  EXPECT_EQ(registry.version(), 1);
  EXPECT_THAT(registry.markerSignatures(Category::games), IsEmpty());
  EXPECT_THAT(registry.packageCategoryByExtension(), IsEmpty());
}

TEST(StorageSignatureRegistry, MarkersOfACategoryAreInFileOrderWithDuplicatesAndWithoutExtensions) {
  const Signature otherMarker{Category::photos, Kind::markerFile, "x", std::nullopt};
  const Signature extension{Category::games, Kind::packageExtension, "x", std::nullopt};
  const StorageSignatureRegistry registry({1, {kSavesFolder, otherMarker, extension, kGameFile, kSavesFolder}});
  EXPECT_THAT(registry.markerSignatures(Category::games), ElementsAre(kSavesFolder, kGameFile, kSavesFolder));
  EXPECT_THAT(registry.markerSignatures(Category::photos), ElementsAre(otherMarker));
  EXPECT_THAT(registry.markerSignatures(Category::free), IsEmpty());
}

TEST(StorageSignatureRegistry, TheLastRuleForAnExtensionWinsIgnoringCase) {
  const StorageSignatureRegistry registry({1,
                                           {{Category::apps, Kind::packageExtension, "ABC", std::nullopt},
                                            {Category::games, Kind::packageExtension, "abc", std::nullopt},
                                            {Category::photos, Kind::packageExtension, "\u00C4x", std::nullopt},
                                            {Category::photos, Kind::markerFile, "marker", std::nullopt}}});
  EXPECT_THAT(registry.packageCategoryByExtension(),
              ElementsAre(Pair("abc", Category::games), Pair("\u00E4x", Category::photos)));
}

}  // namespace
}  // namespace quarn::storage_signature_registry_tests

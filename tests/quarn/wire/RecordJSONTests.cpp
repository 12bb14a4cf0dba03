#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <optional>
#include <variant>

#include <gmock/gmock.h>

#include "QuarnCore/storage/StorageSignatureJSON.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/wire/RecordFields.h"
#include "quarn/wire/RecordJSON.h"
#include "quarn/wire/UsualOptions.h"
#include "tests/QuarnCore/inspection/LeastOptions.h"
#include "tests/support/ParsedJSON.h"

namespace quarn::record_json_tests {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using Evidence = KernelExtensionAssociationService::Evidence;
using Association = KernelExtensionAssociationService::Association;
using FolderOrFolders = std::variant<FileURL, std::vector<FileURL>>;

template <class Value>
Value read(std::string_view text) {
  const JSONDocument document = *JSONDocument::parse(text);
  return fromJSON<Value>(JSONDecoder(document.root()));
}

/// The path at which a value is refused; "" if it is accepted.
template <class Value>
std::string refusedAt(const json& value) {
  try {
    (void)fromJSON<Value>(JSONDecoder(documentOf(value).root()));
  } catch (const DecodingError& error) {
    return error.path().empty() ? "<the value itself>" : error.path();
  }
  return "";
}

template <class Value>
std::string refusedTextAt(std::string_view text) {
  return refusedAt<Value>(json::parse(text));
}

const RecordDescription& descriptionOf(std::string_view name) {
  static const std::vector<RecordDescription> kAll = describeRecords();
  return *std::find_if(kAll.begin(), kAll.end(), [&](const auto& record) { return record.name == name; });
}

/// Checks that the record encodes to exactly this text and decodes from it. Also checks that the description lists
/// the members, and that decoding names a member that has a wrong type or is required and missing.
template <class Record>
void expectForm(const Record& record, const std::string& text) {
  EXPECT_EQ(toJSON(record).dump(), text);
  EXPECT_EQ(read<Record>(text), record);
  const ordered_json written = ordered_json::parse(text);
  const RecordDescription& description = descriptionOf(typeName<Record>());
  std::vector<std::string> names;
  for (const auto& [name, value] : written.items()) names.push_back(name);
  std::vector<std::string> described;
  for (const RecordDescription::Member& member : description.members) described.push_back(member.name);
  EXPECT_EQ(names, described);
  const json whole = json::parse(text);
  for (const RecordDescription::Member& member : description.members) {
    SCOPED_TRACE(member.name);
    json without = whole;
    without.erase(member.name);
    EXPECT_EQ(refusedAt<Record>(without), member.isRequired ? member.name : "");
    json null = whole;
    null[member.name] = nullptr;
    EXPECT_EQ(refusedAt<Record>(null), member.isRequired ? member.name : "");
    json wrong = whole;
    wrong[member.name] = json::array({json::array({json::array()})});  // no member is an array of arrays
    const std::string place = refusedAt<Record>(wrong);
    const bool isOnlyWritten = member.name == "summaryText" || member.name == "detailText";
    EXPECT_EQ(place.substr(0, member.name.size()), isOnlyWritten ? "" : member.name);
  }
  EXPECT_EQ(refusedAt<Record>(json::array()), "<the value itself>");
  EXPECT_EQ(refusedAt<Record>(json()), "<the value itself>");
}

const SizeInfo kSize{4096, 10};
const std::string kSizeText = R"({"allocatedBytes":4096,"logicalBytes":10})";

AppEntity example() {
  return {.name = "Example",
          .bundleIdentifier = "com.example.App",
          .bundleURL = FileURL("/Applications/Example.app/"),
          .id = "com.example.App",
          .version = "1.2"};
}
const std::string kAppText =
    R"({"name":"Example","bundleIdentifier":"com.example.App","bundleURL":"file:///Applications/Example.app/",)"
    R"("id":"com.example.App","version":"1.2"})";

Artifact cache() {
  Artifact artifact{.id = "",
                    .kind = ArtifactKind::cache,
                    .dataClass = ArtifactDataClass::rebuildable,
                    .scope = ArtifactScope::user,
                    .urls = {FileURL("/Users/ann/Library/Caches/a b/"), FileURL("/Users/ann/x")},
                    .size = kSize,
                    .riskLevel = RiskLevel::caution,
                    .confidence = 0.65,
                    .title = "Cache",
                    .explanation = "Rebuilt."};
  artifact.renewID();
  return artifact;
}
const std::string kArtifactText =
    R"({"id":"cache:user:/Users/ann/Library/Caches/a%20b:/Users/ann/x","kind":"cache","dataClass":"rebuildable",)"
    R"("scope":"user","urls":["file:///Users/ann/Library/Caches/a%20b/","file:///Users/ann/x"],"size":)" +
    kSizeText + R"(,"riskLevel":"caution","confidence":0.65,"title":"Cache","explanation":"Rebuilt."})";

const VolumeInfo kVolume{.name = "Macintosh HD", .url = FileURL(), .totalBytes = 1000, .freeBytes = 10};
const std::string kVolumeText = R"({"name":"Macintosh HD","url":"file:///","totalBytes":1000,"freeBytes":10})";

const Date kDate = std::chrono::sys_days(std::chrono::year(2026) / 11 / 20) + std::chrono::hours(21) +
                   std::chrono::minutes(23) + std::chrono::seconds(5);

// ---- records

TEST(RecordJSON, AppEntity) { expectForm(example(), kAppText); }
TEST(RecordJSON, SizeInfo) { expectForm(kSize, kSizeText); }
TEST(RecordJSON, Artifact) { expectForm(cache(), kArtifactText); }

TEST(RecordJSON, EntitlementsInfo) {
  expectForm(EntitlementsInfo{{"A.group", "B.group"}}, R"({"applicationGroups":["A.group","B.group"]})");
}

TEST(RecordJSON, UninstallerCandidate) {
  expectForm(UninstallerCandidate{FileURL("/A/Uninstall.app/"), "Uninstall.app", 0.8},
             R"({"url":"file:///A/Uninstall.app/","name":"Uninstall.app","confidence":0.8})");
}

TEST(RecordJSON, LaunchdEntry) {
  expectForm(LaunchdEntry{"com.example.job", "/bin/job", {"job", "-v"}, FileURL("/Library/LaunchAgents/a.plist")},
             R"({"label":"com.example.job","program":"/bin/job","programArguments":["job","-v"],)"
             R"("url":"file:///Library/LaunchAgents/a.plist"})");
}

TEST(RecordJSON, ReceiptInfo) {
  expectForm(ReceiptInfo{"com.example.pkg", {FileURL("/a"), FileURL("/b")}, "2.0", kDate},
             R"({"packageIdentifier":"com.example.pkg","files":["file:///a","file:///b"],"version":"2.0",)"
             R"("installDate":"2026-11-20T21:23:05Z"})");
}

TEST(RecordJSON, KernelExtensionInfo) {
  expectForm(KernelExtensionInfo{"Driver", "com.example.driver", FileURL("/Library/Extensions/D.kext/"), "3", kSize},
             R"({"name":"Driver","bundleIdentifier":"com.example.driver","url":"file:///Library/Extensions/D.kext/",)"
             R"("version":"3","size":)" +
                 kSizeText + "}");
}

TEST(RecordJSON, AppInspection) {
  expectForm(AppInspection{example(), {{FileURL("/u"), "u", 0.5}}, {cache()}, kDate},
             R"({"app":)" + kAppText + R"(,"uninstallers":[{"url":"file:///u","name":"u","confidence":0.5}],)" +
                 R"("artifacts":[)" + kArtifactText + R"(],"inspectedAt":"2026-11-20T21:23:05Z"})");
}

const RemovalOperationPreview kOperation{
    RemovalOperationPreview::Type::moveToTrash, {FileURL("/a")}, true, false, "Move to Trash."};
const std::string kOperationText =
    R"({"type":"moveToTrash","urls":["file:///a"],"reversible":true,"requiresAdmin":false,)"
    R"("explanation":"Move to Trash."})";

TEST(RecordJSON, RemovalOperationPreview) { expectForm(kOperation, kOperationText); }

TEST(RecordJSON, AppRemovalPlanPreview) {
  expectForm(AppRemovalPlanPreview{CleanupMode::removeApp,
                                   example(),
                                   FileURL("/u.app/"),
                                   {kOperation},
                                   {"One.", "Two."},
                                   4096,
                                   AppRemovalPlanPreview::Status::preview},
             R"({"mode":"removeApp","app":)" + kAppText +
                 R"(,"recommendedUninstaller":"file:///u.app/","operations":[)" + kOperationText +
                 R"(],"notes":["One.","Two."],"estimatedBytes":4096,"status":"preview"})");
}

TEST(RecordJSON, VolumeInfo) { expectForm(kVolume, kVolumeText); }

TEST(RecordJSON, StorageCategoryAndStorageOverview) {
  const StorageCategory category{StorageCategoryID::systemData, kSize};
  const std::string text = R"({"id":"systemData","size":)" + kSizeText + "}";
  expectForm(category, text);
  expectForm(StorageOverview{kVolume, {category}}, R"({"volume":)" + kVolumeText + R"(,"categories":[)" + text + "]}");
}

TEST(RecordJSON, VendorPathHint) {
  expectForm(VendorPathHint{"acme", "Acme", StorageCategoryID::games, ArtifactKind::applicationSupport,
                            ArtifactDataClass::userData, "Saves", "Yours.", RiskLevel::danger, "/Users/ann/Acme"},
             R"({"vendorID":"acme","vendorName":"Acme","category":"games","artifactKind":"applicationSupport",)"
             R"("artifactDataClass":"userData","artifactTitle":"Saves","explanation":"Yours.","riskLevel":"danger",)"
             R"("path":"/Users/ann/Acme"})");
}

TEST(RecordJSON, TopItem) {
  expectForm(TopItem{FileURL("/a/b"), "b", kSize}, R"({"url":"file:///a/b","name":"b","size":)" + kSizeText + "}");
}

TEST(RecordJSON, CloudStorageSummary) {
  expectForm(CloudStorageSummary{1, 2, 3, 4},
             R"({"localBytes":1,"cloudOnlyBytes":2,"allocatedBytes":3,"logicalBytes":4})");
}

TEST(RecordJSON, AssociationWithItsTexts) {
  expectForm(Association{"com.example.App", "Example", {Evidence::Kind::vendorProfile, "Acme"}},
             R"({"appID":"com.example.App","appName":"Example","evidence":{"vendorProfile":"Acme"},)"
             R"("summaryText":"Vendor-Profil","detailText":"Vendor-Profil: Acme"})");
  expectForm(Association{"com.example.App", "Example", {Evidence::Kind::receipt, "com.acme.pkg"}},
             R"({"appID":"com.example.App","appName":"Example","evidence":{"receipt":"com.acme.pkg"},)"
             R"("summaryText":"Receipt","detailText":"Receipt: com.acme.pkg"})");
}

TEST(RecordJSON, EvidenceWithoutAKindIsRefused) {
  EXPECT_EQ(refusedTextAt<Association>(R"({"appID":"a","appName":"A","evidence":{}})"), "evidence");
  EXPECT_EQ(refusedTextAt<Association>(R"({"appID":"a","appName":"A","evidence":{"receipt":1}})"), "evidence.receipt");
}

TEST(RecordJSON, OptionsOfAnInspection) {
  AppInspectionService::Options options = leastInspectionOptions();
  options.includeHeuristicSearch = true;
  options.heuristicMaxDepth = 1;
  options.heuristicMaxResults = 2;
  options.includeDocumentsHeuristicSearch = false;
  options.documentsHeuristicMaxDepth = 3;
  options.documentsHeuristicMaxResults = -4;
  options.includeVendorHeuristics = true;
  options.includeSystemArtifacts = false;
  options.includeSystemHeuristicSearch = true;
  options.includeGroupContainers = false;
  options.includeLaunchd = true;
  options.includeReceipts = false;
  options.includeKernelExtensions = true;
  options.computeArtifactSizes = false;
  const std::string text =
      R"({"includeHeuristicSearch":true,"heuristicMaxDepth":1,"heuristicMaxResults":2,)"
      R"("includeDocumentsHeuristicSearch":false,"documentsHeuristicMaxDepth":3,"documentsHeuristicMaxResults":-4,)"
      R"("includeVendorHeuristics":true,"includeSystemArtifacts":false,"includeSystemHeuristicSearch":true,)"
      R"("includeGroupContainers":false,"includeLaunchd":true,"includeReceipts":false,)"
      R"("includeKernelExtensions":true,"computeArtifactSizes":false})";
  EXPECT_EQ(toJSON(options).dump(), text);
  EXPECT_EQ(toJSON(read<AppInspectionService::Options>(text)).dump(), text);
}

TEST(RecordJSON, OptionsOfAScan) {
  const std::string text =
      R"({"includeHeuristicSearch":false,"heuristicMaxDepth":1,"heuristicMaxResults":2,)"
      R"("includeVendorHeuristics":true,"includeSystemArtifacts":false,"includeSystemHeuristicSearch":true,)"
      R"("computeSizes":false})";
  EXPECT_EQ(toJSON(read<ArtifactScanner::Options>(text)).dump(), text);
}

template <class Value>
constexpr bool kIsRequired = false;
template <class Value>
constexpr bool kIsRequired<Required<Value>> = true;

// True if the compiler requires every field of the record's table.
template <class Record>
constexpr bool demandsEveryField() {
  const auto isRequired = []<class Value>(const wire::Member<Record, Value>&) { return kIsRequired<Value>; };
  return std::apply([&](const auto&... members) { return (isRequired(members) && ...); },
                    wire::Fields<Record>::kMembers);
}

TEST(RecordJSON, OmittingAnOptionDoesNotCompile) {
  EXPECT_TRUE(demandsEveryField<AppInspectionService::Options>());
  EXPECT_TRUE(demandsEveryField<ArtifactScanner::Options>());
}

TEST(RecordJSON, AnOmittedOptionHasItsUsualValueAndUnknownOptionsAreRefused) {
  AppInspectionService::Options options = leastInspectionOptions();
  const json whole = json::parse(toJSON(options).dump());
  ASSERT_EQ(whole.size(), 14U);
  for (const auto& [name, value] : whole.items()) {
    json without = whole;
    without.erase(name);
    json usual = whole;
    usual[name] = json::parse(toJSON(usualInspectionOptions()).dump())[name];
    EXPECT_EQ(toJSON(read<AppInspectionService::Options>(without.dump())),
              toJSON(read<AppInspectionService::Options>(usual.dump())));
    json wrong = whole;
    wrong[name] = value.is_boolean() ? json(1) : json(true);
    EXPECT_EQ(refusedAt<AppInspectionService::Options>(wrong), name);
  }
  json more = whole;
  more["heuristicMaxDept"] = 1;
  EXPECT_EQ(refusedAt<AppInspectionService::Options>(more), "heuristicMaxDept");
  json scan = json::parse(toJSON(leastScanOptions()).dump());
  scan["includeLaunchd"] = true;
  EXPECT_EQ(refusedAt<ArtifactScanner::Options>(scan), "includeLaunchd");
}

TEST(RecordJSON, VendorProfilesHaveTheFormOfTheirFiles) {
  const std::string text =
      R"({"id":"acme","displayName":"Acme","match":{"bundleIDs":["com.acme.A"],"bundleIDPrefixes":["com.acme."],)"
      R"("nameContains":["acme"]},"artifacts":[{"kind":"cache","dataClass":"rebuildable","scope":"user",)"
      R"("riskLevel":"safe","confidence":0.9,"title":"Cache","paths":["~/Library/Caches/com.acme.*"]},)"
      R"({"kind":"logs","dataClass":"rebuildable","scope":"user","riskLevel":"safe","confidence":0.9,"title":"Logs",)"
      R"("explanation":"Logs.","paths":[]}],"carveOuts":[{"title":"Shared","paths":["/a"],"reason":"Shared."}]})";
  const std::optional<VendorProfile> profile = decodeVendorProfile(text);
  ASSERT_TRUE(profile);
  EXPECT_EQ(toJSON(*profile).dump(), text);
  const ordered_json written = ordered_json::parse(text);
  const auto expectMembers = [](std::string_view record, const ordered_json& object) {
    std::vector<std::string> names;
    for (const auto& [name, value] : object.items()) names.push_back(name);
    std::vector<std::string> described;
    for (const auto& member : descriptionOf(record).members) described.push_back(member.name);
    EXPECT_EQ(names, described) << record;
  };
  expectMembers("VendorProfile", written);
  expectMembers("VendorProfile.Match", written["match"]);
  expectMembers("VendorProfile.ArtifactDefinition", written["artifacts"][1]);
  expectMembers("VendorProfile.CarveOut", written["carveOuts"][0]);
}

TEST(RecordJSON, SignaturesHaveTheFormOfTheirFile) {
  using Signature = StorageSignatureRegistry::Signature;
  const StorageSignatureTable table{
      3,
      {{StorageCategoryID::games, Signature::Kind::markerFile, "a*", "Because."},
       {StorageCategoryID::photos, Signature::Kind::packageExtension, "x", std::nullopt}}};
  EXPECT_EQ(toJSON(table).dump(),
            R"({"version":3,"signatures":[{"category":"games","kind":"markerFile","pattern":"a*","reason":"Because."},)"
            R"({"category":"photos","kind":"packageExtension","pattern":"x"}]})");
  EXPECT_EQ(decodeStorageSignatures(toJSON(table).dump())->signatures, table.signatures);
}

TEST(RecordJSON, ProgressRecords) {
  EXPECT_EQ(toJSON(PhaseProgress{AppInspectionService::Phase::deepInspector}).dump(), R"({"phase":"deepInspector"})");
  EXPECT_EQ(toJSON(TotalsProgress{{{StorageCategoryID::other, kSize}, {StorageCategoryID::apps, {}}}}).dump(),
            R"({"totals":{"apps":{"allocatedBytes":0,"logicalBytes":0},"other":)" + kSizeText + "}}");
}

// ---- absent values

TEST(RecordJSON, AbsentValuesAreNullInResultsAndMayBeOmittedInRequests) {
  AppEntity app{.name = "A", .bundleURL = FileURL("/A.app/"), .id = "/A.app"};
  EXPECT_EQ(toJSON(app).dump(),
            R"({"name":"A","bundleIdentifier":null,"bundleURL":"file:///A.app/","id":"/A.app","version":null})");
  EXPECT_EQ(read<AppEntity>(toJSON(app).dump()), app);
  EXPECT_EQ(read<AppEntity>(R"({"name":"A","bundleURL":"/A.app"})"), app);
  Artifact artifact = cache();
  artifact.size.reset();
  artifact.explanation.reset();
  EXPECT_EQ(read<Artifact>(toJSON(artifact).dump()), artifact);
  EXPECT_EQ(toJSON(artifact)["size"], nullptr);
  EXPECT_EQ(toJSON(artifact)["explanation"], nullptr);
  const LaunchdEntry job{"a", std::nullopt, {}, FileURL("/a")};
  EXPECT_EQ(read<LaunchdEntry>(toJSON(job).dump()), job);
  const ReceiptInfo receipt{"a", {}, std::nullopt, std::nullopt};
  EXPECT_EQ(read<ReceiptInfo>(R"({"packageIdentifier":"a","files":[]})"), receipt);
  EXPECT_EQ(toJSON(receipt).dump(), R"({"packageIdentifier":"a","files":[],"version":null,"installDate":null})");
}

TEST(RecordJSON, AnOmittedAppIDIsComputed) {
  EXPECT_EQ(read<AppEntity>(R"({"name":"A","bundleURL":"/A.app","bundleIdentifier":"com.a"})").id, "com.a");
  EXPECT_EQ(read<AppEntity>(R"({"name":"A","bundleURL":"file:///A%20B.app/"})").id, "/A B.app");
  EXPECT_EQ(read<AppEntity>(R"({"name":"A","bundleURL":"/A.app","id":null})").id, "/A.app");
  EXPECT_EQ(read<AppEntity>(R"({"name":"A","bundleURL":"/A.app","id":"mine"})").id, "mine");
}

TEST(RecordJSON, AnOmittedArtifactIDIsComputed) {
  json value = json::parse(kArtifactText);
  value.erase("id");
  EXPECT_EQ(fromJSON<Artifact>(JSONDecoder(documentOf(value).root())), cache());
  value["id"] = "mine";
  EXPECT_EQ(fromJSON<Artifact>(JSONDecoder(documentOf(value).root())).id, "mine");
}

// ---- values

TEST(RecordJSON, UnknownMembersOfARecordAreIgnored) {
  json value = json::parse(kArtifactText);
  value["isSelected"] = true;
  EXPECT_EQ(fromJSON<Artifact>(JSONDecoder(documentOf(value).root())), cache());
}

TEST(RecordJSON, AnyFileNameSurvivesInAURL) {
  std::string name;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/') name += static_cast<char>(byte);
  }
  const FileURL url("/a/" + name);
  const std::string text = toJSON(url).get<std::string>();
  EXPECT_TRUE(std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 127; }));
  EXPECT_EQ(read<FileURL>(json(text).dump()), url);
  EXPECT_EQ(toJSON(FileURL("/a b/ä", URLKind::directory)).dump(), R"("file:///a%20b/%C3%A4/")");
}

TEST(RecordJSON, ARequestMayUseAPlainPathInsteadOfAURL) {
  EXPECT_EQ(read<FileURL>(R"("/a b%20/ä/")"), FileURL("/a b%20/ä"));
  for (const std::string_view text : {R"("a")", R"("")", R"("http://a/b")", R"("file://host/a")", R"("file:///a%2")",
                                      R"("file:///a%00b")", R"("/a\u0000b")", "1", "[]"}) {
    EXPECT_EQ(refusedTextAt<FileURL>(text), "<the value itself>") << text;
  }
}

TEST(RecordJSON, EveryInvalidByteBecomesAReplacementCharacter) {
  const TopItem item{FileURL("/a/\xFF\xFE"), "x\xFF\xFEy\xC3", {}};
  EXPECT_EQ(toJSON(item)["name"], "x\uFFFD\uFFFDy\uFFFD");
  EXPECT_EQ(toJSON(item)["url"], "file:///a/%FF%FE");
  EXPECT_NO_THROW((void)toJSON(item).dump());
  const Association association{"\xFF", "\xFF", {Evidence::Kind::receipt, "\xFF"}};
  EXPECT_EQ(toJSON(association)["detailText"], "Receipt: \uFFFD");
  EXPECT_EQ(toJSON(association)["evidence"]["receipt"], "\uFFFD");
}

TEST(RecordJSON, PathsThatDifferOnlyInInvalidBytesAreOneMember) {
  const std::map<std::string, Association> associations{
      {"/\xFE", {"first", "", {}}}, {"/\xFF", {"second", "", {}}}, {"/b", {"b", "", {}}}};
  const std::string text = toJSON(associations).dump();
  const ordered_json object = ordered_json::parse(text);
  ASSERT_EQ(object.size(), 2U);
  EXPECT_EQ(object["/\uFFFD"]["appID"], "first");
  EXPECT_EQ(object["/b"]["appID"], "b");
}

TEST(RecordJSON, ByteCountsAreIntegersAndNeverNegativeInARequest) {
  EXPECT_EQ(toJSON(SizeInfo{INT64_MAX, 0}).dump(), R"({"allocatedBytes":9223372036854775807,"logicalBytes":0})");
  EXPECT_EQ(read<SizeInfo>(R"({"allocatedBytes":9223372036854775807,"logicalBytes":0})"), (SizeInfo{INT64_MAX, 0}));
  EXPECT_EQ(refusedTextAt<SizeInfo>(R"({"allocatedBytes":-1,"logicalBytes":0})"), "allocatedBytes");
  EXPECT_EQ(refusedTextAt<SizeInfo>(R"({"allocatedBytes":1.5,"logicalBytes":0})"), "allocatedBytes");
  EXPECT_EQ(refusedTextAt<SizeInfo>(R"({"allocatedBytes":0,"logicalBytes":9223372036854775808})"), "logicalBytes");
}

TEST(RecordJSON, OnlyRawStringsAreAccepted) {
  const std::vector<EnumerationDescription> enumerations = describeEnumerations();
  ASSERT_EQ(enumerations.size(), 14U);
  EXPECT_EQ(read<ArtifactKind>(R"("groupContainer")"), ArtifactKind::groupContainer);
  EXPECT_EQ(read<ArtifactScope>(R"("system")"), ArtifactScope::system);
  EXPECT_EQ(read<RiskLevel>(R"("danger")"), RiskLevel::danger);
  EXPECT_EQ(read<RemovalOperationPreview::Type>(R"("deletePermanently")"),
            RemovalOperationPreview::Type::deletePermanently);
  EXPECT_EQ(read<StorageCategoryID>(R"("free")"), StorageCategoryID::free);
  for (const std::string_view text : {R"("Cache")", R"("")", R"("cache ")", "2", "null"}) {
    EXPECT_EQ(refusedTextAt<ArtifactKind>(text), "<the value itself>") << text;
  }
}

TEST(RecordJSON, DatesHaveOneForm) {
  EXPECT_EQ(toJSON(kDate).dump(), R"("2026-11-20T21:23:05Z")");
  EXPECT_EQ(read<Date>(R"("2026-11-20T21:23:05Z")"), kDate);
  for (const std::string_view text : {R"("2026-11-20 21:23:05Z")", R"("2026-13-20T21:23:05Z")", "1795209785"}) {
    EXPECT_EQ(refusedTextAt<Date>(text), "<the value itself>") << text;
  }
}

TEST(RecordJSON, AnErrorDeepInAListNamesItsPath) {
  json artifacts = json::array({json::parse(kArtifactText), json::parse(kArtifactText)});
  artifacts[1]["urls"].push_back("relative");
  EXPECT_EQ(refusedAt<std::vector<Artifact>>(artifacts), "[1].urls[2]");
  artifacts[1]["urls"] = json::array();
  artifacts[1]["size"]["logicalBytes"] = "10";
  EXPECT_EQ(refusedAt<std::vector<Artifact>>(artifacts), "[1].size.logicalBytes");
}

TEST(RecordJSON, FoldersAreOneURLOrAList) {
  EXPECT_EQ(read<FolderOrFolders>(R"("/a")"), FolderOrFolders(FileURL("/a")));
  EXPECT_EQ(read<FolderOrFolders>(R"(["/a","file:///b/"])"),
            FolderOrFolders(std::vector{FileURL("/a"), FileURL("/b")}));
  EXPECT_EQ(read<FolderOrFolders>("[]"), FolderOrFolders(std::vector<FileURL>()));
  EXPECT_EQ(refusedTextAt<FolderOrFolders>(R"(["/a",1])"), "[1]");
  EXPECT_EQ(refusedAt<FolderOrFolders>("{}"), "<the value itself>");
}

TEST(RecordJSON, MapsAreObjectsInOrder) {
  const std::map<std::string, StorageCategoryID, std::less<>> categories{{"zip", StorageCategoryID::other},
                                                                         {"app", StorageCategoryID::apps}};
  EXPECT_EQ(toJSON(categories).dump(), R"({"app":"apps","zip":"other"})");
  const StorageDashboardService::CategorySizes sizes{{StorageCategoryID::systemData, {}},
                                                     {StorageCategoryID::photos, {}}};
  EXPECT_EQ(toJSON(sizes).begin().key(), "photos");
  EXPECT_EQ(toJSON(StorageDashboardService::CategorySizes{}).dump(), "{}");
}

TEST(RecordJSON, AbsentResultsAreNullAndEmptyListsAreLists) {
  EXPECT_EQ(toJSON(std::optional<SizeInfo>()).dump(), "null");
  EXPECT_EQ(toJSON(std::vector<AppEntity>()).dump(), "[]");
}

}  // namespace
}  // namespace quarn::record_json_tests

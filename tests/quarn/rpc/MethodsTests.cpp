#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <map>
#include <set>

#include <gmock/gmock.h>

#include "QuarnBuilders/BomBuilder.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Server.h"
#include "tests/QuarnCore/inspection/LeastOptions.h"
#include "tests/quarn/rpc/RPCSession.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ParsedJSON.h"

namespace quarn::methods_tests {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

const json kApp = {
    {"name", "Example"}, {"bundleIdentifier", "com.example.App"}, {"bundleURL", "file:///Applications/Example.app/"}};

json inspectionOptions(bool all) {
  AppInspectionService::Options options = leastInspectionOptions();
  json value = json::parse(toJSON(options).dump());
  for (auto& [name, option] : value.items()) option = option.is_boolean() ? json(all) : json(3);
  return value;
}

const json kArtifact = {{"kind", "cache"},     {"dataClass", "rebuildable"},
                        {"scope", "user"},     {"urls", json::array({"/Users/ann/Library/Caches/com.example.App"})},
                        {"riskLevel", "safe"}, {"confidence", 0.9},
                        {"title", "Cache"}};

const json kInspection = {{"app", kApp},
                          {"uninstallers", json::array()},
                          {"artifacts", json::array({kArtifact})},
                          {"inspectedAt", "2026-11-20T21:23:05Z"}};

/// A value of the type of a param in the table.
json valueOf(std::string_view type) {
  static const std::map<std::string_view, json> kValues{
      {"AppEntity", kApp},
      {"[AppEntity]", json::array({kApp})},
      {"AppInspectionService.Options?", inspectionOptions(true)},
      {"ArtifactScanner.Options?", json::parse(toJSON(leastScanOptions()).dump())},
      {"OwnershipService.Options?",
       {{"readBundles", true},
        {"includeReceipts", true},
        {"includeLaunchd", true},
        {"includeProfiles", true},
        {"includeSystem", true}}},
      {"LeftoverOptions", {{"computeSizes", true}, {"includeSystem", true}}},
      {"EntitlementsInfo", {{"applicationGroups", json::array({"group.example"})}}},
      {"AppInspection", kInspection},
      {"[Artifact]", json::array({kArtifact})},
      {"[Artifact]?", json::array({kArtifact})},
      {"[LaunchdEntry]", json::array({{{"label", "a"}, {"programArguments", json::array({"b"})}, {"url", "/a"}}})},
      {"[ReceiptInfo]", json::array({{{"packageIdentifier", "a"}, {"files", json::array({"/a"})}}})},
      {"[KernelExtensionInfo]", json::array({{{"name", "a"}, {"url", "/Library/Extensions/a.kext"}}})},
      {"CleanupMode", "aggressive"},
      {"StorageCategoryID", "games"},
      {"URL", "/Applications/Example.app"},
      {"[URL]", json::array({"/Users/ann/Documents"})},
      {"[URL]?", json::array({"/Users/ann/Documents"})},
      {"URL or [URL]", "/Users/ann/Documents"},
      {"string", "com.example"},
      {"string?", "com.example"},
      {"[string]", json::array({"/Applications/*"})},
      {"integer", 5},
      {"integer?", 5},
      {"boolean", true},
      {"boolean?", false},
  };
  return kValues.at(type);
}

class Methods : public testing::Test {
 protected:
  Methods() {
    volume_.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App", .version = "1"})
        .file("~/Library/Caches/com.example.App/a", 3_KiB)
        .file("~/Documents/big", 20_KiB)
        .file("~/Documents/small", 1_KiB)
        .file("~/Downloads/other", 5_KiB);
    scans_.folder("/scans");
  }

  /// Params of the right types. Files of the host are a scan, which methods may replace.
  json paramsOf(const MethodRow& row) const {
    json params = json::object();
    for (const ParamRow& param : row.params()) params[std::string(param.name)] = valueOf(param.type());
    for (const char* file : {"file", "before", "after"}) {
      if (params.contains(file)) params[file] = scans_.host("/scans/scan");
    }
    return params;
  }

  ordered_json call(std::string_view method, const json& params) {
    const JSONDocument document = documentOf(params);
    const JSONValue value = document.root();
    return ordered_json::parse(binder_.call(std::string(method), &value, context_).text);
  }

  /// The path of the refused param; "" if the params are accepted.
  std::string refusedAt(std::string_view method, const json& params) {
    try {
      (void)call(method, params);
    } catch (const RPCError& error) {
      return error.code == RPCErrorCode::badParam ? std::get<std::string>(error.data.at(0).second) : error.message;
    }
    return "";
  }

  /// The names of the items of a result.
  static std::vector<std::string> names(const ordered_json& items) {
    std::vector<std::string> list;
    for (const ordered_json& item : items) list.push_back(item["name"]);
    return list;
  }

  MacVolume volume_;
  MacVolume scans_;
  Services services_{volume_.files(), ResourceBundle("/nonexistent")};
  Binder binder_{methodTable(), services_};
  std::vector<std::string> reported_;
  RequestContext context_{Cancellation(), [this](const ordered_json& value) { reported_.push_back(value.dump()); }};
};

// ---- params of every method

TEST_F(Methods, EveryMethodAcceptsParamsOfItsTypes) {
  (void)services_.scanStore().write(scans_.host("/scans/scan"), nullptr, Cancellation::never());
  for (const MethodRow& row : methodTable()) {
    const std::string refused = refusedAt(row.name, paramsOf(row));
    EXPECT_EQ(refused, "") << row.name;
  }
}

TEST_F(Methods, EveryMethodNamesMissingWrongAndUnknownParams) {
  (void)services_.scanStore().write(scans_.host("/scans/scan"), nullptr, Cancellation::never());
  const json wrong = json::array({json::array({json::array()})});  // of no param's type
  for (const MethodRow& row : methodTable()) {
    const json whole = paramsOf(row);
    for (const ParamRow& param : row.params()) {
      SCOPED_TRACE(std::string(row.name) + " " + std::string(param.name));
      const std::string name(param.name);
      const bool isOptional = param.type().ends_with('?');
      json without = whole;
      without.erase(name);
      EXPECT_EQ(refusedAt(row.name, without), isOptional ? "" : name);
      json faulty = whole;
      faulty[name] = wrong;
      EXPECT_THAT(refusedAt(row.name, faulty), StartsWith(name));
    }
    json more = whole;
    more["extra"] = 1;
    EXPECT_EQ(refusedAt(row.name, more), "extra") << row.name;
  }
}

// But for a number of bytes, which is not negative.
TEST_F(Methods, ExtremeIntegersAreValidParams) {
  (void)services_.scanStore().write(scans_.host("/scans/scan"), nullptr, Cancellation::never());
  for (const MethodRow& row : methodTable()) {
    for (const ParamRow& param : row.params()) {
      if (param.type() != "integer") continue;
      for (const std::int64_t extreme :
           {INT64_MIN, std::int64_t{-1}, std::int64_t{0}, std::int64_t{INT_MAX} + 1, INT64_MAX}) {
        json params = paramsOf(row);
        params[std::string(param.name)] = extreme;
        const bool isRefused = param.name == "minimumBytes" && extreme < 0;
        EXPECT_EQ(refusedAt(row.name, params), isRefused ? param.name : "") << row.name << " " << extreme;
      }
    }
  }
}

TEST_F(Methods, ErrorsInOptionsNameTheirPath) {
  json options = inspectionOptions(true);
  options["heuristicMaxDepth"] = "3";
  EXPECT_EQ(refusedAt("AppInspectionService.phaseSequence", {{"options", options}}), "options.heuristicMaxDepth");
  options["heuristicMaxDepth"] = 3;
  options["heuristicsMaxDepth"] = 3;
  EXPECT_EQ(refusedAt("AppInspectionService.phaseSequence", {{"options", options}}), "options.heuristicsMaxDepth");
}

TEST_F(Methods, OptionsMayBeOmittedOrGivenInPart) {
  const ordered_json usual = call("AppInspectionService.defaultOptions", json::object());
  EXPECT_EQ(usual.size(), inspectionOptions(true).size());
  const auto inspected = [&](json params, std::string_view method) {
    params["app"] = kApp;
    ordered_json result = call(method, params);
    if (result.is_object()) result.erase("inspectedAt");
    return result;
  };
  const json whole = json::parse(usual.dump());
  EXPECT_EQ(inspected(json::object(), "AppInspectionService.inspect"),
            inspected({{"options", whole}}, "AppInspectionService.inspect"));
  EXPECT_EQ(inspected({{"entitlements", {{"applicationGroups", json::array()}}}}, "ArtifactScanner.scan").size(), 2U);
  const ordered_json unsized =
      inspected({{"options", {{"computeArtifactSizes", false}}}}, "AppInspectionService.inspect");
  ASSERT_FALSE(unsized["artifacts"].empty());
  EXPECT_EQ(unsized["artifacts"][0]["size"], nullptr);
  EXPECT_EQ(call("AppInspectionService.phaseSequence", json::object()).size(), 9U);
  EXPECT_EQ(call("AppInspectionService.phaseSequence", {{"options", {{"includeLaunchd", false}}}}).size(), 8U);
}

// ---- inspection

TEST_F(Methods, AnInspectionHasTheCurrentDate) {
  const auto before = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const ordered_json inspection =
      call("AppInspectionService.inspect", {{"app", kApp}, {"options", inspectionOptions(false)}});
  const std::optional<Date> date = dateFromISO8601(inspection["inspectedAt"].get<std::string>());
  ASSERT_TRUE(date);
  EXPECT_GE(*date, before);
  EXPECT_LE(*date, std::chrono::system_clock::now());
}

TEST_F(Methods, AnInspectionCanBeSentBackForAPlan) {
  const ordered_json inspection =
      call("AppInspectionService.inspect", {{"app", kApp}, {"options", inspectionOptions(true)}});
  ASSERT_FALSE(inspection["artifacts"].empty());
  const json sentBack = json::parse(inspection.dump());
  const ordered_json plan = call("AppRemovalPlanner.buildPreview", {{"inspection", sentBack}, {"mode", "removeApp"}});
  EXPECT_EQ(plan["app"].dump(), inspection["app"].dump());
  EXPECT_EQ(plan["status"], "preview");
  const ordered_json selected =
      call("AppRemovalPlanner.defaultSelectedArtifacts", {{"inspection", sentBack}, {"mode", "cacheOnly"}});
  ASSERT_EQ(selected.size(), 1U);
  EXPECT_EQ(selected[0]["kind"], "cache");
}

// ---- planning

TEST_F(Methods, WithoutASelectionTheModeSelectsAndAnEmptySelectionIsEmpty) {
  json params = {{"inspection", kInspection}, {"mode", "cacheOnly"}};
  EXPECT_EQ(call("AppRemovalPlanner.buildPreview", params)["operations"].size(), 1U);
  params["selectedArtifacts"] = nullptr;
  EXPECT_EQ(call("AppRemovalPlanner.buildPreview", params)["operations"].size(), 1U);
  params["selectedArtifacts"] = json::array();
  EXPECT_EQ(call("AppRemovalPlanner.buildPreview", params)["operations"].size(), 0U);
}

TEST_F(Methods, AnOverflowingSumOfSizesIsRefusedAndTheProcessContinues) {
  json huge = kArtifact;
  huge["size"] = {{"allocatedBytes", INT64_MAX}, {"logicalBytes", INT64_MAX}};
  json one = kArtifact;
  one["size"] = {{"allocatedBytes", 1}, {"logicalBytes", 1}};
  json params = {{"inspection", kInspection}, {"mode", "cacheOnly"}, {"selectedArtifacts", json::array({huge})}};
  EXPECT_EQ(call("AppRemovalPlanner.buildPreview", params)["estimatedBytes"], INT64_MAX);
  params["selectedArtifacts"].push_back(one);
  EXPECT_EQ(refusedAt("AppRemovalPlanner.buildPreview", params), "selectedArtifacts");
  params["selectedArtifacts"] = nullptr;
  params["inspection"]["artifacts"] = json::array({huge, one});
  EXPECT_EQ(refusedAt("AppRemovalPlanner.buildPreview", params), "inspection.artifacts");
}

TEST_F(Methods, SizesThatAPlanDoesNotAddMayHaveAnyValue) {
  json huge = kArtifact;
  huge["size"] = {{"allocatedBytes", INT64_MAX}, {"logicalBytes", INT64_MAX}};
  json kept = huge;
  kept["dataClass"] = "userData";
  json params = {{"inspection", kInspection}, {"mode", "cacheOnly"}};
  params["inspection"]["artifacts"] = json::array({huge, kept});
  EXPECT_EQ(call("AppRemovalPlanner.buildPreview", params)["estimatedBytes"], INT64_MAX);
  params["selectedArtifacts"] = json::array();
  EXPECT_EQ(call("AppRemovalPlanner.buildPreview", params)["estimatedBytes"], 0);
}

// ---- folders

TEST_F(Methods, FoldersAreOneURLOrSeveral) {
  const json one = {{"in", "/Users/ann/Documents"}, {"allowSlow", true}, {"includeHidden", false}};
  EXPECT_THAT(names(call("TopItemsService.children", one)), ElementsAre("big", "small"));
  json several = one;
  several["in"] = json::array({"file:///Users/ann/Downloads/", "/Users/ann/Documents"});
  EXPECT_THAT(names(call("TopItemsService.children", several)), ElementsAre("other", "big", "small"));
  several["limit"] = 2;
  EXPECT_THAT(names(call("TopItemsService.topChildren", several)), ElementsAre("big", "other"));
  several.erase("allowSlow");
  EXPECT_THAT(names(call("TopItemsService.topFiles", several)), ElementsAre("big", "other"));
}

TEST_F(Methods, ACancelledOperationReturnsItsPartialResult) {
  context_.cancellation.cancel();
  const json params = {{"in", "/Users/ann/Documents"}, {"allowSlow", true}, {"includeHidden", false}};
  EXPECT_THAT(call("TopItemsService.children", params), IsEmpty());
  EXPECT_EQ(call("StorageDashboardService.calculatePartitionedCategorySizes", json::object()).size(), 8U);
}

TEST_F(Methods, AFailedOperationNamesPathAndError) {
  const auto errorOf = [&](std::string_view method, const json& params) {
    try {
      (void)call(method, params);
    } catch (const RPCError& error) {
      EXPECT_EQ(error.code, RPCErrorCode::operationFailed);
      return error.data;
    }
    return RPCError::Data();
  };
  const json file = {{"in", "/Users/ann/Documents/big"}, {"allowSlow", true}, {"includeHidden", false}};
  EXPECT_EQ(
      errorOf("TopItemsService.children", file),
      (RPCError::Data{{"path", "/Users/ann/Documents/big"}, {"errno", std::int64_t{ENOTDIR}}, {"name", "ENOTDIR"}}));
  const json missing = {{"at", "file:///a%20b"}, {"allowSlow", true}, {"includeHidden", false}};
  EXPECT_EQ(errorOf("FileSizeCalculator.itemSize", missing),
            (RPCError::Data{{"path", "/a b"}, {"errno", std::int64_t{ENOENT}}, {"name", "ENOENT"}}));
  const json slow = {{"at", "/Users/ann"}, {"allowSlow", false}, {"includeHidden", false}};
  EXPECT_EQ(errorOf("FileSizeCalculator.itemSize", slow),
            (RPCError::Data{{"path", "/Users/ann"}, {"errno", std::int64_t{ENOTSUP}}, {"name", "ENOTSUP"}}));
}

TEST_F(Methods, ExclusionsFromASizeAreOptional) {
  json params = {{"at", "/Users/ann/Documents"}, {"allowSlow", true}, {"includeHidden", true}};
  EXPECT_EQ(call("FileSizeCalculator.itemSize", params)["logicalBytes"], 21 * 1024);
  params["excluding"] = json::array({"/Users/ann/Documents/big"});
  EXPECT_EQ(call("FileSizeCalculator.itemSize", params)["logicalBytes"], 1024);
}

// ---- storage

TEST_F(Methods, ThePartitionedScanReportsTotalsOnlyOnRequest) {
  const std::string_view method = "StorageDashboardService.calculatePartitionedCategorySizes";
  const ordered_json quiet = call(method, json::object());
  EXPECT_THAT(reported_, IsEmpty());
  const ordered_json result = call(method, {{"progress", true}});
  ASSERT_FALSE(reported_.empty());
  EXPECT_EQ(reported_.back(), R"({"totals":)" + result.dump() + "}");
  EXPECT_EQ(result, quiet);
  std::vector<std::string> categories;
  for (const auto& [category, size] : result.items()) categories.push_back(category);
  EXPECT_THAT(categories, ElementsAre("apps", "documents", "photos", "communication", "games", "development",
                                      "systemData", "other"));
}

// ---- cancellation

// The cancellation of the running request, as a client's function receives it.
TEST_F(Methods, ACancelledRequestReachesTheSizingOfAnItem) {
  const json at = {{"at", "/Users/ann/Documents"}, {"allowSlow", true}, {"includeHidden", true}};
  const json ofFolder = {{"at", "/Users/ann/Documents"}, {"includeHidden", true}};
  EXPECT_EQ(call("FileSizeCalculator.itemSize", at)["logicalBytes"], 21 * 1024);
  EXPECT_EQ(call("AppsService.calculateAppSize", {{"app", kApp}})["logicalBytes"].get<int>() > 0, true);
  context_.cancellation.cancel();
  EXPECT_EQ(call("FileSizeCalculator.itemSize", at)["logicalBytes"], 0);
  EXPECT_EQ(call("FileSizeCalculator.enumeratingDirectorySize", ofFolder)["logicalBytes"], 0);
  EXPECT_EQ(call("AppsService.calculateAppSize", {{"app", kApp}})["logicalBytes"], 0);
}

TEST_F(Methods, ACancelledInspectionReturnsItsPartialResult) {
  const std::string_view method = "AppInspectionService.inspect";
  const json params = {{"app", kApp}, {"options", inspectionOptions(true)}, {"progress", true}};
  const ordered_json whole = call(method, params);
  EXPECT_FALSE(whole["artifacts"].empty());
  const std::size_t phases = reported_.size();
  context_.report = [this](const ordered_json& value) {
    reported_.push_back(value.dump());
    if (value == ordered_json{{"phase", "documents"}}) context_.cancellation.cancel();
  };
  reported_.clear();
  const ordered_json part = call(method, params);
  EXPECT_LT(reported_.size(), phases);
  EXPECT_FALSE(part["artifacts"].empty());
}

TEST_F(Methods, CancelledSearchesReturnTheirPartialResults) {
  volume_.folder("~/Library/Application Support/Example Data").folder("/Library/Logs/com.example.App.logs");
  volume_.folder("~/Documents/Example");
  const json params = {{"app", kApp}, {"maxDepth", 3}, {"maxResults", 9}};
  const json roots = {{"category", "documents"}, {"includeDiscovered", true}};
  const auto search = [&](const char* name) { return call(std::string("ArtifactScanner.") + name, params).size(); };
  for (const char* name : {"userHeuristicSearch", "systemHeuristicSearch", "documentsHeuristicSearch"}) {
    EXPECT_GE(search(name), 1U) << name;
  }
  volume_.folder("~/Library/CloudStorage/Drive");
  const std::size_t whole = call("StorageDashboardService.categoryRoots", roots).size();
  const json patterns = {{"patterns", json::array({"/Applications/*"})}};
  EXPECT_EQ(call("VendorPathResolver.resolve", patterns).size(), 1U);
  context_.cancellation.cancel();
  for (const char* name : {"userHeuristicSearch", "systemHeuristicSearch", "documentsHeuristicSearch"}) {
    EXPECT_EQ(search(name), 0U) << name;
  }
  EXPECT_LT(call("StorageDashboardService.categoryRoots", roots).size(), whole);
  EXPECT_EQ(call("VendorPathResolver.resolve", patterns).size(), 0U);
}

// A request that is cancelled before its method begins finds nothing, whatever the method walks.
TEST_F(Methods, EveryMethodThatListsTheVolumeStopsWhenItsRequestIsCancelled) {
  volume_.plist("/Library/LaunchDaemons/com.example.App.plist", {{"Label", "com.example.App"}})
      .plist("/private/var/db/receipts/com.example.App.plist", {{"PackageIdentifier", "com.example.App"}})
      .plist("/Library/Extensions/a.kext/Contents/Info.plist", {{"CFBundleIdentifier", "com.example.App.kext"}});
  const std::vector<std::pair<std::string, json>> calls{
      {"AppsService.discoverApps", json::object()},
      {"LaunchdScanner.scan", json::object()},
      {"ReceiptScanner.allReceipts", json::object()},
      {"ReceiptScanner.receiptsMatching", {{"app", kApp}}},
      {"KernelExtensionService.installedKernelExtensions", {{"includeMacOS", true}}},
      {"OwnershipService.map", {{"apps", json::array({kApp})}}},
      {"AppInspectionService.inspectAll", {{"apps", json::array({kApp})}}},
      {"UninstallerDiscoveryService.findUninstallers", {{"app", kApp}}},
  };
  volume_.folder("/Applications/Example.app/Contents/Resources/Uninstall Example.app");
  for (const auto& [method, params] : calls) EXPECT_FALSE(call(method, params).empty()) << method;
  context_.cancellation.cancel();
  for (const auto& [method, params] : calls) EXPECT_TRUE(call(method, params).empty()) << method;
}

// ---- receipts

TEST_F(Methods, AllReceiptsAreListedWithTheirFiles) {
  volume_.plist("/private/var/db/receipts/com.example.pkg.plist",
                {{"PackageIdentifier", "com.example.pkg"}, {"PackageVersion", "7"}});
  const ordered_json receipts = call("ReceiptScanner.allReceipts", json::object());
  ASSERT_EQ(receipts.size(), 1U);
  EXPECT_EQ(receipts[0]["packageIdentifier"], "com.example.pkg");
  EXPECT_EQ(receipts[0]["version"], "7");
}

TEST_F(Methods, AReceiptPathMayBeAFileURL) {
  const std::string receipts = "/private/var/db/receipts/com.example.pkg";
  volume_.plist(receipts + ".plist", {{"PackageIdentifier", "com.example.pkg"}, {"InstallPrefixPath", "/"}})
      .text(receipts + ".bom", sample::BomBuilder().file("./a b%20").file("./a \xFF").bytes());
  const auto packages = [&](const char* path) {
    return call("ReceiptScanner.packageIDs", {{"forFileAtPath", path}}).size();
  };
  EXPECT_EQ(packages("/a b%20"), 1U) << "a path is not decoded";
  EXPECT_EQ(packages("file:///a%20%FF"), 1U);
  EXPECT_EQ(packages("file:///a%20b"), 0U);
  EXPECT_EQ(packages("relative"), 0U);
}

// ---- the whole

TEST_F(Methods, AServerRespondsThroughPipes) {
  RPCSession session([this](int input, int output) { return runRPC(services_, input, output); });
  EXPECT_EQ(session.ask(R"({"jsonrpc":"2.0","id":1,"method":"QuarantineManager.baseURL"})"),
            R"({"jsonrpc":"2.0","id":1,"result":)"
            R"("file:///Users/ann/Library/Application%20Support/Quarn/Quarantine/"})");
  EXPECT_EQ(
      session.ask(R"({"jsonrpc":"2.0","id":2,"method":"No.such"})"),
      R"({"jsonrpc":"2.0","id":2,"error":{"code":-32601,"message":"no such method","data":{"method":"No.such"}}})");
  EXPECT_EQ(session.ask(R"({"jsonrpc":"2.0","id":3,"method":"AppsService.calculateAppSize","params":{"app":{}}})"),
            R"({"jsonrpc":"2.0","id":3,"error":{"code":-32602,"message":"app.name: missing",)"
            R"("data":{"param":"app.name"}}})");
  EXPECT_THAT(session.finish(), IsEmpty());
  EXPECT_EQ(session.status(), 0);
}

// ---- the description

TEST(DescribeInterface, HoldsEveryMethodRecordEnumerationAndError) {
  const ordered_json interface = ordered_json::parse(describeInterface());
  EXPECT_EQ(interface["methods"].size(), methodTable().size());
  EXPECT_EQ(interface["methods"][4].dump(),
            R"({"name":"AppInspectionService.inspect","params":[{"name":"app","type":"AppEntity","required":true},)"
            R"({"name":"options","type":"AppInspectionService.Options","required":false},)"
            R"({"name":"progress","type":"boolean","required":false}],"result":"AppInspection",)"
            R"("progress":"PhaseProgress"})");
  std::vector<int> codes;
  for (const ordered_json& error : interface["errors"]) codes.push_back(error["code"]);
  EXPECT_THAT(codes, ElementsAre(-32700, -32600, -32601, -32602, -32000, -32001, -32800, -32603));
  EXPECT_EQ(interface["errors"][4]["data"].dump(), R"(["path","errno","name"])");
  EXPECT_EQ(interface["enumerations"][2].dump(), R"({"name":"ArtifactScope","values":["user","system"]})");
}

/// The names in a type: "[URL]?" names URL, "{string: SizeInfo}" string and SizeInfo.
std::vector<std::string> namesIn(const std::string& type) {
  std::vector<std::string> found(1);
  for (const char c : type) {
    const bool isPart = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.';
    if (isPart) found.back() += c;
    if (!isPart && !found.back().empty()) found.emplace_back();
  }
  if (found.back().empty()) found.pop_back();
  return found;
}

TEST(DescribeInterface, DescribesEveryTypeThatItNames) {
  const ordered_json interface = ordered_json::parse(describeInterface());
  std::set<std::string> known{"boolean", "integer", "number", "string", "URL", "date", "or"};
  for (const ordered_json& record : interface["records"]) known.insert(record["name"]);
  for (const ordered_json& enumeration : interface["enumerations"]) known.insert(enumeration["name"]);
  const auto expectKnown = [&](const ordered_json& type) {
    for (const std::string& name : namesIn(type.get<std::string>())) EXPECT_TRUE(known.contains(name)) << type;
  };
  for (const ordered_json& method : interface["methods"]) {
    expectKnown(method["result"]);
    if (method.contains("progress")) expectKnown(method["progress"]);
    for (const ordered_json& param : method["params"]) expectKnown(param["type"]);
  }
  for (const ordered_json& record : interface["records"]) {
    EXPECT_FALSE(record["members"].empty()) << record["name"];
    for (const ordered_json& member : record["members"]) expectKnown(member["type"]);
  }
}

}  // namespace
}  // namespace quarn::methods_tests

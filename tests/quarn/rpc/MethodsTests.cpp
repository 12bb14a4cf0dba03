#include <cctype>
#include <cerrno>
#include <chrono>
#include <climits>
#include <map>
#include <set>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Server.h"
#include "tests/QuarnCore/inspection/LeastOptions.h"
#include "tests/quarn/rpc/RPCSession.h"
#include "tests/support/MacVolume.h"

namespace quarn {
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
      {"AppInspectionService.Options", inspectionOptions(true)},
      {"ArtifactScanner.Options", json::parse(toJSON(leastScanOptions()).dump())},
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

json paramsOf(const MethodRow& row) {
  json params = json::object();
  for (const ParamRow& param : row.params()) params[std::string(param.name)] = valueOf(param.type());
  return params;
}

class Methods : public testing::Test {
 protected:
  Methods() {
    volume_.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App", .version = "1"})
        .file("~/Library/Caches/com.example.App/a", 3_KiB)
        .file("~/Documents/big", 20_KiB)
        .file("~/Documents/small", 1_KiB)
        .file("~/Downloads/other", 5_KiB);
  }

  ordered_json call(std::string_view method, const json& params) {
    return binder_.call(std::string(method), &params, context_);
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
  Services services_{volume_.files(), ResourceBundle("/nonexistent")};
  Binder binder_{methodTable(), services_};
  std::vector<std::string> reported_;
  RequestContext context_{Cancellation(), [this](const ordered_json& value) { reported_.push_back(value.dump()); }};
};

// ---- params of every method

TEST_F(Methods, EveryMethodAcceptsParamsOfItsTypes) {
  for (const MethodRow& row : methodTable()) {
    const std::string refused = refusedAt(row.name, paramsOf(row));
    EXPECT_EQ(refused, "") << row.name;
  }
}

TEST_F(Methods, EveryMethodNamesMissingWrongAndUnknownParams) {
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

TEST_F(Methods, ExtremeIntegersAreValidParams) {
  for (const MethodRow& row : methodTable()) {
    for (const ParamRow& param : row.params()) {
      if (param.type() != "integer") continue;
      for (const std::int64_t extreme :
           {INT64_MIN, std::int64_t{-1}, std::int64_t{0}, std::int64_t{INT_MAX} + 1, INT64_MAX}) {
        json params = paramsOf(row);
        params[std::string(param.name)] = extreme;
        EXPECT_EQ(refusedAt(row.name, params), "") << row.name << " " << param.name << " " << extreme;
      }
    }
  }
}

TEST_F(Methods, ErrorsInOptionsNameTheirPath) {
  json options = inspectionOptions(true);
  options["heuristicMaxDepth"] = "3";
  EXPECT_EQ(refusedAt("AppInspectionService.phaseSequence", {{"options", options}}), "options.heuristicMaxDepth");
  options.erase("heuristicMaxDepth");
  EXPECT_EQ(refusedAt("AppInspectionService.phaseSequence", {{"options", options}}), "options.heuristicMaxDepth");
  options["heuristicMaxDepth"] = 3;
  options["heuristicsMaxDepth"] = 3;
  EXPECT_EQ(refusedAt("AppInspectionService.phaseSequence", {{"options", options}}), "options.heuristicsMaxDepth");
}

// ---- inspection

TEST_F(Methods, AnInspectionReportsPhasesOnlyOnRequest) {
  json params = {{"app", kApp}, {"options", inspectionOptions(true)}};
  ordered_json quiet = call("AppInspectionService.inspect", params);
  EXPECT_THAT(reported_, IsEmpty());
  params["progress"] = false;
  (void)call("AppInspectionService.inspect", params);
  EXPECT_THAT(reported_, IsEmpty());
  params["progress"] = true;
  ordered_json reporting = call("AppInspectionService.inspect", params);
  EXPECT_THAT(reported_, ElementsAre(R"({"phase":"uninstallers"})", R"({"phase":"entitlements"})",
                                     R"({"phase":"artifacts"})", R"({"phase":"documents"})", R"({"phase":"launchd"})",
                                     R"({"phase":"receipts"})", R"({"phase":"deepInspector"})",
                                     R"({"phase":"kernelExtensions"})", R"({"phase":"finalize"})"));
  quiet.erase("inspectedAt");
  reporting.erase("inspectedAt");
  EXPECT_EQ(quiet, reporting);
}

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
    if (value["phase"] == "documents") context_.cancellation.cancel();
  };
  reported_.clear();
  const ordered_json part = call(method, params);
  EXPECT_EQ(reported_.back(), R"({"phase":"documents"})");
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
  std::vector<std::string> asked;
  services_.receiptScanner = ReceiptScanner::answering({.allReceipts = {},
                                                        .receiptsMatching = {},
                                                        .packageIDs =
                                                            [&](const std::string& path) {
                                                              asked.push_back(path);
                                                              return std::vector<std::string>{"com.example.pkg"};
                                                            },
                                                        .matches = {}});
  EXPECT_EQ(call("ReceiptScanner.packageIDs", {{"forFileAtPath", "/a b%20"}}),
            ordered_json::array({"com.example.pkg"}));
  (void)call("ReceiptScanner.packageIDs", {{"forFileAtPath", "file:///a%20%FF"}});
  (void)call("ReceiptScanner.packageIDs", {{"forFileAtPath", "relative"}});
  EXPECT_THAT(asked, ElementsAre("/a b%20", "/a \xFF", "relative"));
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
  EXPECT_EQ(interface["methods"][3].dump(),
            R"({"name":"AppInspectionService.inspect","params":[{"name":"app","type":"AppEntity","required":true},)"
            R"({"name":"options","type":"AppInspectionService.Options","required":true},)"
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
}  // namespace quarn

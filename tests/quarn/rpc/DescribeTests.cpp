#include <set>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Server.h"
#include "tests/quarn/commands/CommandRun.h"

namespace quarn::describe_tests {
namespace {

using nlohmann::ordered_json;

const ordered_json& interface() {
  static const ordered_json parsed = ordered_json::parse(describeInterface());
  return parsed;
}

TEST(Describe, TheCommandPrintsTheDescriptionWithoutReadingInput) {
  const CommandRun run = runQuarn({"rpc", "--describe"}, "garbage\n");
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(ordered_json::parse(run.out), openRPCDocument());
}

TEST(Describe, EveryMethodIsListedInTableOrder) {
  std::vector<std::string> described;
  std::vector<std::string> known;
  for (const ordered_json& method : interface()["methods"]) described.push_back(method["name"]);
  for (const MethodRow& row : methodTable()) known.emplace_back(row.name);
  EXPECT_EQ(described, known);
}

TEST(Describe, AMethodListsItsParamsWithTypesAndOptionality) {
  const auto method = [](std::string_view name) {
    for (const ordered_json& row : interface()["methods"]) {
      if (row["name"] == name) return row.dump();
    }
    return std::string("none");
  };
  EXPECT_EQ(
      method("AppRemovalPlanner.buildPreview"),
      R"({"name":"AppRemovalPlanner.buildPreview","params":[{"name":"inspection","type":"AppInspection","required":true},)"
      R"({"name":"mode","type":"CleanupMode","required":true},)"
      R"({"name":"selectedArtifacts","type":"[Artifact]","required":false}],"result":"AppRemovalPlanPreview"})");
  EXPECT_EQ(
      method("StorageDashboardService.calculatePartitionedCategorySizes"),
      R"({"name":"StorageDashboardService.calculatePartitionedCategorySizes","params":[{"name":"progress","type":"boolean",)"
      R"("required":false}],"result":"{StorageCategoryID: SizeInfo}","progress":"TotalsProgress"})");
}

TEST(Describe, TheNotificationsMatchTheTransport) {
  EXPECT_EQ(
      interface()["notifications"].dump(),
      R"([{"name":"$/progress","sender":"process","params":[{"name":"id","type":"string or number or null","required":true},)"
      R"({"name":"value","type":"PhaseProgress or InspectionProgress or ItemsProgress or SizeProgress or TotalsProgress",)"
      R"("required":true}],"meaning":"progress of the request with that id; only if its params hold \"progress\": true"},)"
      R"({"name":"$/unread","sender":"process","params":[{"name":"id","type":"string or number or null","required":true},)"
      R"({"name":"value","type":"Unread","required":true}],"meaning":)"
      R"("what the request with that id could not read; only if its params hold \"reportUnread\": true"},)"
      R"({"name":"$/cancelRequest","sender":"client","params":[{"name":"id","type":"string or number or null","required":true}],)"
      R"("meaning":"cancels the request with that id"}])");
}

TEST(Describe, TheParamOfEveryMethodIsListedOnce) {
  EXPECT_EQ(interface()["commonParams"].dump(), R"([{"name":"reportUnread","type":"boolean","required":false}])");
}

TEST(Describe, TheErrorsListCodesAndData) {
  std::set<int> codes;
  for (const ordered_json& error : interface()["errors"]) codes.insert(error["code"].get<int>());
  EXPECT_EQ(codes, (std::set<int>{-32800, -32700, -32603, -32602, -32601, -32600, -32001, -32000}));
  EXPECT_EQ(interface()["errors"].size(), codes.size());
}

// The names in a type: "[Artifact]", "{string: SizeInfo}", "URL or [URL]", "string?".
std::set<std::string> namesIn(const std::string& type) {
  std::set<std::string> names;
  std::string name;
  for (const char character : type + " ") {
    const bool isPart = std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '.';
    if (isPart) name += character;
    if (isPart || name.empty()) continue;
    if (name != "or") names.insert(name);
    name.clear();
  }
  return names;
}

TEST(Describe, EveryUsedTypeIsDescribedAndEveryDescribedTypeIsUsed) {
  const std::set<std::string> plain{"string", "integer", "number", "boolean", "URL", "date", "null"};
  std::set<std::string> known;
  std::set<std::string> used;
  const auto use = [&](const ordered_json& type) { used.merge(namesIn(type.get<std::string>())); };
  for (const ordered_json& record : interface()["records"]) {
    known.insert(record["name"].get<std::string>());
    for (const ordered_json& member : record["members"]) use(member["type"]);
  }
  for (const ordered_json& enumeration : interface()["enumerations"])
    known.insert(enumeration["name"].get<std::string>());
  for (const ordered_json& method : interface()["methods"]) {
    use(method["result"]);
    for (const ordered_json& param : method["params"]) use(param["type"]);
    if (method.contains("progress")) use(method["progress"]);
  }
  for (const ordered_json& notification : interface()["notifications"]) {
    for (const ordered_json& param : notification["params"]) use(param["type"]);
  }
  for (const std::string& name : plain) used.erase(name);
  EXPECT_EQ(used, known);
}

}  // namespace
}  // namespace quarn::describe_tests

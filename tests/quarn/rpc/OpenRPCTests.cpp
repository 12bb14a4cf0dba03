#include <set>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/Server.h"
#include "tests/quarn/commands/CommandRun.h"

namespace quarn::open_rpc_tests {
namespace {

using nlohmann::ordered_json;
using testing::HasSubstr;

const ordered_json& document() {
  static const ordered_json made = openRPCDocument();
  return made;
}

const ordered_json& methodOf(std::string_view name) {
  static const ordered_json kNone;
  for (const ordered_json& method : document()["methods"]) {
    if (method["name"] == name) return method;
  }
  return kNone;
}

// Calls `visit` with every "$ref" below a value.
void eachReference(const ordered_json& value, const std::function<void(const std::string&)>& visit) {
  for (const auto& [key, part] : value.items()) {
    if (key == "$ref") {
      visit(part.get<std::string>());
    } else if (part.is_structured()) {
      eachReference(part, visit);
    }
  }
}

TEST(OpenRPC, EveryReferenceLeadsToAComponentAndEveryComponentIsUsed) {
  std::set<std::string> used;
  eachReference(document(), [&](const std::string& reference) {
    ASSERT_TRUE(reference.starts_with("#/components/")) << reference;
    used.insert(reference);
  });
  std::set<std::string> known;
  for (const char* kind : {"contentDescriptors", "schemas", "errors"}) {
    for (const auto& [name, component] : document()["components"][kind].items()) {
      known.insert("#/components/" + std::string(kind) + "/" + name);
    }
  }
  EXPECT_EQ(used, known);
}

TEST(OpenRPC, EveryMethodHasASummaryOfOneSentence) {
  std::set<std::string_view> summaries;
  for (const MethodRow& row : methodTable()) {
    const std::string_view summary = summaryOfMethod(row.name);
    EXPECT_FALSE(summary.empty()) << row.name;
    EXPECT_FALSE(summary.ends_with('.')) << row.name;
    EXPECT_EQ(methodOf(row.name)["summary"], summary);
  }
  EXPECT_EQ(summaryOfMethod("nothing"), "");
}

TEST(OpenRPC, TypesBecomeSchemas) {
  const auto schemaOf = [](std::string_view method) { return methodOf(method)["result"]["schema"].dump(); };
  EXPECT_EQ(schemaOf("VolumeLocationChecker.isExternal"), R"({"type":"boolean"})");
  EXPECT_EQ(schemaOf("QuarantineManager.baseURL"), R"({"type":"string","format":"uri"})");
  EXPECT_EQ(schemaOf("AppsService.discoverApps"),
            R"({"type":"array","items":{"$ref":"#/components/schemas/AppEntity"}})");
  EXPECT_EQ(schemaOf("FileSizeCalculator.resourceSize"),
            R"({"anyOf":[{"$ref":"#/components/schemas/SizeInfo"},{"type":"null"}]})");
  EXPECT_EQ(schemaOf("StorageDashboardService.calculatePartitionedCategorySizes"),
            R"({"type":"object","propertyNames":{"$ref":"#/components/schemas/StorageCategoryID"},)"
            R"("additionalProperties":{"$ref":"#/components/schemas/SizeInfo"}})");
  EXPECT_EQ(methodOf("TopItemsService.children")["params"][0].dump(),
            R"({"name":"in","required":true,"schema":{"anyOf":[{"type":"string","format":"uri"},)"
            R"({"type":"array","items":{"type":"string","format":"uri"}}]}})");
  EXPECT_EQ(document()["components"]["schemas"]["TopItem"]["required"].dump(), R"(["url","name","size"])");
}

TEST(OpenRPC, OnlyMethodsThatWalkFoldersAreMarked) {
  EXPECT_TRUE(methodOf("AppInspectionService.inspect").contains("x-walksFolders"));
  EXPECT_TRUE(isQuickMethod("VolumeInfoClient.systemVolume"));
  EXPECT_FALSE(methodOf("VolumeInfoClient.systemVolume").contains("x-walksFolders"));
  EXPECT_TRUE(isQuickMethod("nothing")) << "it is refused at once";
}

TEST(OpenRPC, AClientDiscoversTheDocumentAndTheProgram) {
  const CommandRun run = runOnSample({"rpc", "--serial"}, R"({"jsonrpc":"2.0","id":1,"method":"rpc.discover"})"
                                                          "\n\n \t\r\n"
                                                          R"({"jsonrpc":"2.0","id":2,"method":"version"})"
                                                          "\n"
                                                          R"({"jsonrpc":"2.0","id":3,"method":"initialize","params":)"
                                                          R"({"client":"shell 1.0","protocolVersion":1}})"
                                                          "\n");
  std::istringstream lines(run.out);
  std::vector<ordered_json> answers;
  for (std::string line; std::getline(lines, line);) answers.push_back(ordered_json::parse(line));
  ASSERT_EQ(answers.size(), 3u) << "blank lines have no answer";
  EXPECT_EQ(answers[0]["result"], document());
  EXPECT_EQ(answers[1]["result"], answers[2]["result"]["version"]);
  EXPECT_EQ(answers[2]["result"]["protocolVersion"], kProtocolVersion);
  EXPECT_THAT(answers[2]["result"]["capabilities"].dump(), HasSubstr("\"concurrent\""));
  EXPECT_TRUE(answers[2]["result"]["volume"].is_object());
}

}  // namespace
}  // namespace quarn::open_rpc_tests

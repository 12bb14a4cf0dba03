#include <algorithm>
#include <chrono>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/rpc/Growth.h"
#include "quarn/rpc/Methods.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ParsedJSON.h"

// What a client makes of the progress values by the rules of docs/rpc.md must be the result.

namespace quarn::growth_tests {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;

// ---- the client's side of the rules

/// The uninstallers and artifacts that a client holds.
struct HeldInspection {
  ordered_json uninstallers = ordered_json::array();
  ordered_json artifacts = ordered_json::array();

  void apply(const ordered_json& value) {
    if (value.contains("uninstallers")) uninstallers = value["uninstallers"];
    for (const ordered_json& id : value.value("removed", ordered_json::array())) {
      const auto place = find(id);
      ASSERT_NE(place, artifacts.end()) << "a client holds what it is told to remove";
      artifacts.erase(place);
    }
    for (const ordered_json& artifact : value.value("artifacts", ordered_json::array())) {
      const auto place = find(artifact["id"]);
      if (place == artifacts.end()) {
        artifacts.push_back(artifact);
      } else {
        *place = artifact;
      }
    }
  }

  ordered_json::iterator find(const ordered_json& id) {
    return std::find_if(artifacts.begin(), artifacts.end(), [&](const auto& held) { return held["id"] == id; });
  }
};

ordered_json heldItems(const std::vector<ordered_json>& values) {
  ordered_json items = ordered_json::array();
  for (const ordered_json& value : values) {
    const auto kept = value["kept"].get<std::size_t>();
    EXPECT_LE(kept, items.size());
    items.erase(items.begin() + static_cast<std::ptrdiff_t>(kept), items.end());
    for (const ordered_json& item : value["items"]) items.push_back(item);
  }
  return items;
}

// ---- small lists, with every kind of change

class ArtifactGrowth : public testing::Test {
 protected:
  static Artifact artifact(std::string id, double confidence = 1) {
    return {.id = id, .confidence = confidence, .title = id};
  }

  /// Sends the inspection so far, as an inspection does after each phase.
  void grow(std::vector<Artifact> artifacts) {
    inspection_.artifacts = std::move(artifacts);
    const std::size_t before = sent_.size();
    growth_.onGrowth()(AppInspectionService::Phase::artifacts, inspection_);
    if (sent_.size() > before) held_.apply(sent_.back());
    EXPECT_EQ(held_.artifacts, toJSON(inspection_.artifacts));
    EXPECT_EQ(held_.uninstallers, toJSON(inspection_.uninstallers));
  }

  std::vector<ordered_json> sent_;
  AppInspection inspection_;
  HeldInspection held_;
  RequestContext request_{Cancellation(), [this](const ordered_json& value) { sent_.push_back(value); }};
  InspectionGrowth growth_{request_};
};

TEST_F(ArtifactGrowth, NewArtifactsAreAppendedAndOnlyTheyAreSent) {
  grow({artifact("a"), artifact("b")});
  grow({artifact("a"), artifact("b"), artifact("c")});
  ASSERT_EQ(sent_.size(), 2U);
  EXPECT_EQ(sent_[1]["artifacts"].size(), 1U);
  EXPECT_FALSE(sent_[1].contains("removed"));
  EXPECT_FALSE(sent_[1].contains("uninstallers"));
}

TEST_F(ArtifactGrowth, ABetterArtifactReplacesTheOneWithItsID) {
  grow({artifact("a"), artifact("b"), artifact("c")});
  grow({artifact("a"), artifact("b", 2), artifact("c")});
  EXPECT_EQ(sent_.back()["artifacts"].size(), 1U);
}

TEST_F(ArtifactGrowth, AnArtifactThatIsGoneOrMovedIsRemoved) {
  grow({artifact("a"), artifact("b"), artifact("c"), artifact("d")});
  grow({artifact("a"), artifact("c"), artifact("d"), artifact("b", 3)});
  grow({artifact("d"), artifact("c")});
  grow({artifact("x"), artifact("d"), artifact("c")});
  grow({});
}

TEST_F(ArtifactGrowth, WithoutAChangeNothingIsSent) {
  grow({artifact("a")});
  grow({artifact("a")});
  EXPECT_EQ(sent_.size(), 1U);
}

TEST_F(ArtifactGrowth, UninstallersAreSentOnce) {
  inspection_.uninstallers = {{.url = FileURL("/u.app"), .name = "u", .confidence = 1}};
  grow({});
  grow({artifact("a")});
  EXPECT_TRUE(sent_[0].contains("uninstallers"));
  EXPECT_FALSE(sent_[1].contains("uninstallers"));
}

// ---- real operations on the sample volume

class Growth : public testing::Test {
 protected:
  ordered_json call(const std::string& method, json params, bool withProgress = true) {
    values_.clear();
    if (withProgress) params["progress"] = true;
    const JSONDocument document = documentOf(params);
    const JSONValue value = document.root();
    return ordered_json::parse(binder_.call(method, &value, request_).text);
  }

  /// Every app of the sample volume, as a client sends it.
  json apps() { return json::parse(call("AppsService.discoverApps", json::object(), false).dump()); }

  Services services_{FileManager::mounted(sampleFolder(), FileURL("/Users/ann")), ResourceBundle::shipped()};
  Binder binder_{methodTable(), services_};
  std::vector<ordered_json> values_;
  RequestContext request_{Cancellation(), [this](const ordered_json& value) { values_.push_back(value); }};
};

TEST_F(Growth, AnInspectionsProgressGivesItsResult) {
  std::size_t changes = 0;
  for (const json& app : apps()) {
    const ordered_json result = call("AppInspectionService.inspect", {{"app", app}});
    HeldInspection held;
    for (const ordered_json& value : values_) {
      held.apply(value);
      changes += value.size() > 1 ? 1U : 0U;
    }
    EXPECT_EQ(held.artifacts, result["artifacts"]) << app;
    EXPECT_EQ(held.uninstallers, result["uninstallers"]) << app;
  }
  EXPECT_GT(changes, 50U);
}

TEST_F(Growth, AnInspectionTellsEachPhaseAndThenWhatItFound) {
  const json app = {{"name", "Example"}, {"bundleURL", "/nowhere/Example.app"}};
  (void)call("AppInspectionService.inspect", {{"app", app}, {"options", {{"includeReceipts", false}}}});
  std::vector<std::string> begun;
  std::string last;
  for (const ordered_json& value : values_) {
    if (value.size() == 1) begun.push_back(value["phase"]);
    if (value.size() > 1) {
      EXPECT_EQ(value["phase"], begun.back()) << "finds follow the begin of their phase";
    }
  }
  EXPECT_THAT(begun, ElementsAre("uninstallers", "entitlements", "artifacts", "documents", "launchd", "deepInspector",
                                 "kernelExtensions", "finalize"));
}

TEST_F(Growth, ACancelledInspectionsProgressGivesItsPartialResult) {
  const json app = apps().at(0);
  const auto keep = request_.report;
  for (const char* phase : {"uninstallers", "artifacts", "deepInspector", "finalize"}) {
    request_.cancellation = Cancellation();
    request_.report = [&](const ordered_json& value) {
      keep(value);
      if (value["phase"] == phase) request_.cancellation.cancel();
    };
    const ordered_json result = call("AppInspectionService.inspect", {{"app", app}});
    HeldInspection held;
    for (const ordered_json& value : values_) held.apply(value);
    EXPECT_EQ(held.artifacts, result["artifacts"]) << phase;
  }
}

TEST_F(Growth, TheInspectionOfManyAppsSendsEachOne) {
  const json all = apps();
  const ordered_json result = call("AppInspectionService.inspectAll", {{"apps", all}});
  ordered_json held = ordered_json::array();
  for (const ordered_json& value : values_) held.push_back(value["inspection"]);
  EXPECT_EQ(held, result);
  EXPECT_EQ(held.size(), all.size());
}

TEST_F(Growth, WithoutTheParamNothingIsSent) {
  const json params = {{"in", "/Users/ann"}, {"allowSlow", true}, {"includeHidden", true}, {"limit", 3}};
  const ordered_json quiet = call("TopItemsService.topChildren", params, false);
  EXPECT_THAT(values_, IsEmpty());
  EXPECT_EQ(call("TopItemsService.topChildren", params), quiet);
  EXPECT_EQ(heldItems(values_), quiet);
}

TEST_F(Growth, ListsAndSizesSendTheirResult) {
  const json folder = {{"in", "/Users/ann/Documents"}, {"allowSlow", true}, {"includeHidden", true}};
  json top = folder;
  top["limit"] = 4;
  json files = {{"in", "/Users/ann/Downloads"}, {"limit", 2}, {"includeHidden", true}};
  const json urls = {{"urls", json::array({"/Users/ann", "/Applications"})},
                     {"limit", 5},
                     {"allowSlow", true},
                     {"includeHidden", true}};
  const json search = {{"in", json::array({"/Users/ann"})},
                       {"limit", 7},
                       {"maxDepth", 9},
                       {"maxVisited", 100'000},
                       {"allowSlowForPackages", true},
                       {"includeHidden", true},
                       {"preferAllocatedSize", true}};
  const std::vector<std::pair<std::string, json>> lists{{"children", folder},
                                                        {"topChildren", top},
                                                        {"topFiles", files},
                                                        {"sizedItems", urls},
                                                        {"topFilesRecursively", search}};
  for (const auto& [name, params] : lists) {
    const ordered_json result = call("TopItemsService." + name, params);
    EXPECT_FALSE(result.empty()) << name;
    EXPECT_EQ(heldItems(values_), result) << name;
  }
  const std::vector<std::pair<std::string, json>> sizes{
      {"FileSizeCalculator.itemSize", {{"at", "/Users/ann"}, {"allowSlow", true}, {"includeHidden", true}}},
      {"FileSizeCalculator.enumeratingDirectorySize", {{"at", "/Users/ann"}, {"includeHidden", true}}},
      {"AppsService.calculateAppSize", {{"app", apps().at(0)}}},
      {"StorageDashboardService.calculatePreciseSize", {{"category", "documents"}}}};
  for (const auto& [name, params] : sizes) {
    const ordered_json result = call(name, params);
    ASSERT_FALSE(values_.empty()) << name;
    EXPECT_EQ(values_.back()["size"], result) << name;
  }
}

// ---- lists that grow while they are watched

TopItem item(const std::string& name, std::int64_t bytes) {
  return {.url = FileURL("/" + name), .name = name, .size = {.allocatedBytes = bytes, .logicalBytes = bytes}};
}

TEST(ItemsGrowth, SendsOnlyWhatFollowsTheFirstDifference) {
  std::vector<ordered_json> sent;
  const RequestContext request{Cancellation(), [&](const ordered_json& value) { sent.push_back(value); }};
  ItemsGrowth growth(request);
  std::vector<TopItem> list;
  for (const auto& next : std::vector<std::vector<TopItem>>{{item("a", 1)},
                                                            {item("a", 1), item("b", 1)},
                                                            {item("c", 9), item("a", 1)},
                                                            {item("c", 9)},
                                                            {item("c", 9)}}) {
    list = growth.finish(next);
    EXPECT_EQ(heldItems(sent), toJSON(list));
  }
  EXPECT_EQ(sent.size(), 4U) << "an unchanged list is not sent";
  EXPECT_EQ(sent[1]["items"].size(), 1U);
}

// The observer of the service sees a growing list more than once, and every state is what the service would return.
TEST(ItemsGrowth, AListIsSeenWhileItGrows) {
  MacVolume volume;
  for (int i = 0; i < 40; ++i) volume.file("~/Documents/" + std::to_string(100 + i), 100 - i);
  FileSizeCalculator slow = FileSizeCalculator::live(volume.files());
  slow.itemSizeExcluding = [live = slow](const FileURL& at, const auto&...) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return *live.resourceSize(at);
  };
  std::vector<std::vector<TopItem>> seen;
  const TopItemsService service =
      TopItemsService(slow, volume.files()).growing([&](const std::vector<TopItem>& soFar) { seen.push_back(soFar); });
  const FileURL folder = volume.url("~/Documents/");
  const std::vector<TopItem> all = service.children(folder, true, true, Cancellation::never());
  ASSERT_GE(seen.size(), 2U);
  EXPECT_LE(seen.size(), 5U) << "at most one in 100 ms";
  for (const std::vector<TopItem>& state : seen) {
    ASSERT_LE(state.size(), all.size());
    EXPECT_TRUE(std::equal(state.begin(), state.end(), all.begin()));
  }
  seen.clear();
  (void)service.topFiles(folder, 3, true, Cancellation::never());
  ASSERT_FALSE(seen.empty());
  EXPECT_EQ(seen.back().size(), 3U) << "no more items than the limit";
  EXPECT_EQ(seen.back(), std::vector<TopItem>(all.begin(), all.begin() + 3));
}

}  // namespace
}  // namespace quarn::growth_tests

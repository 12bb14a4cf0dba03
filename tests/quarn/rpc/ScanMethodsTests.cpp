#include <cerrno>
#include <filesystem>
#include <functional>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/RPCError.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ParsedJSON.h"

namespace quarn::scan_methods_tests {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::IsEmpty;

/// The code of an error and a member of its data.
using Problem = std::pair<RPCErrorCode, std::string>;

class ScanMethods : public testing::Test {
 protected:
  ScanMethods() {
    volume_.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App", .version = "1"})
        .file("~/Documents/a", 20'000)
        .file("~/Library/Caches/com.example.App/a", 3'000);
    scans_.folder("/scans");
  }

  ordered_json call(std::string_view method, const json& params) {
    const JSONDocument document = documentOf(params);
    const JSONValue value = document.root();
    return ordered_json::parse(binder_.call(std::string(method), &value, context_).text);
  }
  Problem errorOf(std::string_view method, const json& params, std::string_view member) {
    try {
      (void)call(method, params);
    } catch (const RPCError& error) {
      for (const auto& [name, value] : error.data) {
        if (name == member) return {error.code, std::get<std::string>(value)};
      }
      return {error.code, error.message};
    }
    return {};
  }
  [[nodiscard]] std::string at(const std::string& name) const { return scans_.host("/scans/" + name); }
  [[nodiscard]] bool isEmpty() const { return std::filesystem::is_empty(at("")); }

  MacVolume volume_;
  MacVolume scans_;
  Services services_{volume_.files(), ResourceBundle("/nonexistent")};
  Binder binder_{methodTable(), services_};
  std::vector<ordered_json> reported_;
  std::function<void(const ordered_json&)> onReport_ = [](const ordered_json&) {};
  Cancellation cancellation_;
  RequestContext context_{cancellation_, [this](const ordered_json& value) {
                            reported_.push_back(value);
                            onReport_(value);
                          }};
};

TEST_F(ScanMethods, AScanIsWrittenOpenedAndCompared) {
  const ordered_json written = call("ScanStore.write", {{"file", at("old")}});
  EXPECT_EQ(written["isComplete"], true);
  EXPECT_EQ(written["bytes"], std::filesystem::file_size(at("old")));
  const ordered_json summary = call("ScanStore.open", {{"file", at("old")}});
  EXPECT_EQ(summary["facts"]["files"], written["files"]);
  EXPECT_EQ(summary["apps"][0]["bundleIdentifier"], "com.example.App");
  EXPECT_EQ(summary["categories"].size(), allCases<StorageCategoryID>().size() - 1);  // without free space
  EXPECT_EQ(summary["unreadable"], 0);

  volume_.file("~/Documents/b", 3'000'000).app("/Applications/New.app", {.name = "New"});
  (void)call("ScanStore.write", {{"file", at("new")}});
  const json files{{"before", at("old")}, {"after", at("new")}, {"minimumBytes", 1'000'000}};
  const ordered_json difference = call("ScanStore.diff", files);
  ASSERT_EQ(difference["folders"].size(), 1U) << difference;
  EXPECT_EQ(difference["folders"][0]["url"], "file:///Users/ann/Documents/");
  EXPECT_EQ(difference["newApps"][0]["name"], "New");
}

TEST_F(ScanMethods, WritingReportsItsStepsOnlyOnRequest) {
  (void)call("ScanStore.write", {{"file", at("scan")}});
  EXPECT_THAT(reported_, IsEmpty());
  (void)call("ScanStore.write", {{"file", at("scan")}, {"progress", true}});
  std::vector<std::string> steps;
  for (const ordered_json& value : reported_) {
    const std::string step = value["step"];
    if (steps.empty() || steps.back() != step) steps.push_back(step);
  }
  EXPECT_THAT(steps, ElementsAre("folders", "storage", "apps", "ownership", "system", "writing"));
}

TEST_F(ScanMethods, ACancelledScanLeavesNoFile) {
  onReport_ = [&](const ordered_json& value) {
    if (value["step"] == "ownership") cancellation_.cancel();
  };
  EXPECT_EQ(call("ScanStore.write", {{"file", at("scan")}, {"progress", true}})["isComplete"], false);
  EXPECT_TRUE(isEmpty());
}

TEST_F(ScanMethods, ACancelledComparisonIsEmpty) {
  (void)call("ScanStore.write", {{"file", at("old")}});
  volume_.file("~/Documents/b", 3'000'000);
  (void)call("ScanStore.write", {{"file", at("new")}});
  cancellation_.cancel();
  const json files{{"before", at("old")}, {"after", at("new")}, {"minimumBytes", 1}};
  EXPECT_THAT(call("ScanStore.diff", files)["folders"], IsEmpty());
}

TEST_F(ScanMethods, AFileOnTheInspectedVolumeIsRefused) {
  const std::string inside = volume_.host("~/scan");
  EXPECT_EQ(errorOf("ScanStore.write", {{"file", inside}}, "name"), Problem(RPCErrorCode::operationFailed, "EROFS"));
  EXPECT_FALSE(std::filesystem::exists(inside));
}

TEST_F(ScanMethods, APathThatIsNotAbsoluteIsABadParam) {
  for (const std::string& path : {std::string(), std::string("scan"), at("scan") + std::string("\0x", 2)}) {
    const json files{{"before", path}, {"after", path}, {"minimumBytes", 1}};
    EXPECT_EQ(errorOf("ScanStore.write", {{"file", path}}, "param"), Problem(RPCErrorCode::badParam, "file"));
    EXPECT_EQ(errorOf("ScanStore.open", {{"file", path}}, "param"), Problem(RPCErrorCode::badParam, "file"));
    EXPECT_EQ(errorOf("ScanStore.diff", files, "param"), Problem(RPCErrorCode::badParam, "before"));
  }
  EXPECT_TRUE(isEmpty());
}

// Params are judged before a file is opened: these two do not exist.
TEST_F(ScanMethods, ANegativeNumberOfBytesIsABadParam) {
  json params{{"before", at("old")}, {"after", at("new")}, {"minimumBytes", -1}};
  EXPECT_EQ(errorOf("ScanStore.diff", params, "param"), Problem(RPCErrorCode::badParam, "minimumBytes"));
  EXPECT_THAT(errorOf("ScanStore.diff", params, "message").second, testing::HasSubstr("minimumBytes: negative"));
  params["after"] = "new";
  EXPECT_EQ(errorOf("ScanStore.diff", params, "param"), Problem(RPCErrorCode::badParam, "after"));
  params = {{"before", at("old")}, {"after", at("new")}, {"minimumBytes", 0}};
  EXPECT_EQ(errorOf("ScanStore.diff", params, "name"), Problem(RPCErrorCode::operationFailed, "ENOENT"));
}

TEST_F(ScanMethods, AFileThatIsNotAScanIsAnErrorOfTheOperation) {
  scans_.text("/scans/text", "not a scan");
  EXPECT_EQ(errorOf("ScanStore.open", {{"file", at("text")}}, "path"),
            Problem(RPCErrorCode::operationFailed, at("text")));
  EXPECT_EQ(errorOf("ScanStore.open", {{"file", at("missing")}}, "name"),
            Problem(RPCErrorCode::operationFailed, "ENOENT"));
}

// Other requests may have met items that this scan can read.
TEST_F(ScanMethods, AScanHasOnlyWhatItCouldNotReadItself) {
  const auto report = std::make_shared<ReadReport>();
  report->add("/of/another/request", EIO);
  const Services services(volume_.files().reportingTo(report), ResourceBundle("/nonexistent"));
  const Binder binder(methodTable(), services);
  const JSONDocument document = documentOf({{"file", at("scan")}});
  const JSONValue params = document.root();
  (void)binder.call("ScanStore.write", &params, context_);
  EXPECT_THAT(Scan::open(at("scan")).unreadable(), IsEmpty());
}

TEST_F(ScanMethods, ScansThatAreWrittenAtTheSameTimeAreWhole) {
  constexpr int kRounds = 5;
  const auto write = [&](const std::string& name) {
    const Binder binder(methodTable(), services_);
    const RequestContext context{Cancellation(), [](const ordered_json&) {}};
    const JSONDocument document = documentOf({{"file", at(name)}});
    const JSONValue params = document.root();
    for (int i = 0; i < kRounds; ++i) (void)binder.call("ScanStore.write", &params, context);
  };
  std::thread other(write, "one");
  write("two");
  other.join();
  for (const char* name : {"one", "two"}) EXPECT_NO_THROW(Scan::open(at(name)).readAll());
  const std::filesystem::directory_iterator entries(at(""));
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 2) << "a temporary file is left";
}

}  // namespace
}  // namespace quarn::scan_methods_tests

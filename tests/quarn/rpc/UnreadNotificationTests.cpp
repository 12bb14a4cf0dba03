#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Binder.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/RPCError.h"
#include "quarn/rpc/Server.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/quarn/rpc/RPCSession.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ParsedJSON.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::unread_notification_tests {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;
using testing::HasSubstr;
using testing::IsEmpty;

class UnreadNotification : public testing::Test {
 protected:
  UnreadNotification() {
    volume_.file("~/Documents/open/a", 3_KiB).file("~/Documents/closed/b", 5_KiB).mode("~/Documents/closed", 0000);
  }
  ~UnreadNotification() override { volume_.mode("~/Documents/closed", 0755); }

  /// Runs a method with the param, as a user who may not read everything.
  ordered_json call(const std::string& method, json params) {
    params["reportUnread"] = true;
    const UnprivilegedUser user;
    return callAsRoot(method, params);
  }
  ordered_json callAsRoot(const std::string& method, const json& params) {
    const JSONDocument document = documentOf(params);
    const JSONValue value = document.root();
    return ordered_json::parse(binder_.call(method, &value, request_).text);
  }

  static json folder(const std::string& path) { return {{"at", path}, {"allowSlow", true}, {"includeHidden", true}}; }

  MacVolume volume_;
  Services services_{volume_.files(), ResourceBundle("/nonexistent")};
  Binder binder_{methodTable(), services_};
  std::vector<ordered_json> unread_;
  RequestContext request_{Cancellation(), {}, [this](const ordered_json& value) { unread_.push_back(value); }};
};

TEST_F(UnreadNotification, NamesWhatTheAnswerLacks) {
  EXPECT_EQ(call("FileSizeCalculator.itemSize", folder("/Users/ann/Documents"))["logicalBytes"], 3 * 1024);
  ASSERT_EQ(unread_.size(), 1U);
  EXPECT_EQ(unread_[0].dump(),
            R"({"isComplete":false,"count":1,"causes":{"permission":1,"vanished":0,"otherDevice":0,"loop":0,"limit":0,)"
            R"("other":0,"privacy":0,"onlyInCloud":0},"items":[{"path":"/Users/ann/Documents/closed",)"
            R"("cause":"permission","errno":13,"name":"EACCES"}]})");
}

TEST_F(UnreadNotification, OfARequestHasNothingOfAnotherRequest) {
  (void)call("FileSizeCalculator.itemSize", folder("/Users/ann/Documents"));
  (void)call("FileSizeCalculator.itemSize", folder("/Users/ann/Documents/open"));
  ASSERT_EQ(unread_.size(), 2U);
  EXPECT_EQ(unread_[1]["isComplete"], true);
  EXPECT_EQ(unread_[1]["count"], 0);
}

TEST_F(UnreadNotification, ComesOnlyOnRequest) {
  json params = folder("/Users/ann/Documents");
  (void)callAsRoot("FileSizeCalculator.itemSize", params);
  params["reportUnread"] = false;
  (void)callAsRoot("FileSizeCalculator.itemSize", params);
  EXPECT_THAT(unread_, IsEmpty());
}

TEST_F(UnreadNotification, ComesWithAnErrorOfTheOperationToo) {
  EXPECT_THROW((void)call("FileSizeCalculator.itemSize", folder("/Users/ann/Documents/closed/b")), RPCError);
  ASSERT_EQ(unread_.size(), 1U);
  EXPECT_EQ(unread_[0]["items"][0]["path"], "/Users/ann/Documents/closed");
  EXPECT_THROW((void)call("FileSizeCalculator.itemSize", {{"at", 1}}), RPCError);
  EXPECT_EQ(unread_.size(), 1U) << "a refused request does not run";
}

TEST_F(UnreadNotification, SaysThatACancelledAnswerIsNotComplete) {
  request_.cancellation.cancel();
  EXPECT_THAT(call("AppsService.discoverApps", json::object()), IsEmpty());
  ASSERT_EQ(unread_.size(), 1U);
  EXPECT_EQ(unread_[0]["isComplete"], false);
  EXPECT_EQ(unread_[0]["count"], 0) << "what was not looked at is not unreadable";
}

TEST_F(UnreadNotification, NamesAMissingFolderWhoseListIsEmpty) {
  json params = {
      {"in", json::array({"/nowhere", "/Users/ann/Documents/open"})}, {"allowSlow", true}, {"includeHidden", true}};
  EXPECT_EQ(call("TopItemsService.children", params).size(), 1U);
  ASSERT_EQ(unread_.size(), 1U);
  EXPECT_EQ(unread_[0]["items"][0].dump(), R"({"path":"/nowhere","cause":"vanished","errno":2,"name":"ENOENT"})");
  EXPECT_EQ(unread_[0]["items"].size(), 1U);
  EXPECT_EQ(unread_[0]["isComplete"], true) << "nothing that is on the volume is missing";
}

TEST_F(UnreadNotification, MayBeAskedOfEveryMethod) {
  for (const std::string method : {"version", "VolumeInfoClient.systemVolume", "LaunchdScanner.scan"}) {
    (void)call(method, json::object());
    ASSERT_FALSE(unread_.empty()) << method;
    EXPECT_EQ(unread_.back()["isComplete"], true) << method;
  }
  EXPECT_EQ(unread_.size(), 3U);
}

TEST_F(UnreadNotification, PrecedesItsAnswerAndCarriesItsID) {
  RPCSession session([this](int input, int output) { return runRPC(services_, input, output); });
  session.send(R"({"jsonrpc":"2.0","id":"u","method":"TopItemsService.children","params":)"
               R"({"in":"/nowhere","allowSlow":true,"includeHidden":true,"reportUnread":true}})");
  const std::vector<std::string> lines = session.finish();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_TRUE(lines[0].starts_with(
      R"({"jsonrpc":"2.0","method":"$/unread","params":{"id":"u","value":{"isComplete":true,"count":1,)"))
      << lines[0];
  EXPECT_EQ(lines[1], R"({"jsonrpc":"2.0","id":"u","result":[]})");
}

// The record is the one of the documents of --json.
TEST_F(UnreadNotification, IsTheRecordOfTheCommand) {
  (void)call("FileSizeCalculator.itemSize", folder("/Users/ann/Documents"));
  ordered_json record = unread_.at(0);
  record.erase("isComplete");
  CommandRun run;
  {
    const UnprivilegedUser user;
    run = runQuarn({"--volume", volume_.root(), "--home", "/Users/ann", "top", "~/Documents", "--json"});
  }
  EXPECT_EQ(ordered_json::parse(run.out)["unreadable"], record);
}

}  // namespace
}  // namespace quarn::unread_notification_tests

#include <filesystem>
#include <memory>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/sample/SampleVolume.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Remedies.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::unread_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// An unreadable folder or file, and the commands that meet it.
struct Case {
  std::string closed;
  std::vector<std::string> words;
};

const std::vector<Case>& cases() {
  static const std::vector<Case> all{
      {"/Applications", {"apps"}},
      {"/Applications/Fathom", {"apps"}},
      {"/Applications/Lumen Notes.app/Contents", {"apps"}},
      {"/Applications/Lumen Notes.app/Contents/Info.plist", {"apps"}},
      {"/Applications/Kestrel.app", {"apps", "--sizes"}},
      {"/Applications/Kestrel.app/Contents/MacOS", {"apps", "--sizes"}},
      {"/Users/ann/Library/Caches", {"inspect", "Lumen Notes"}},
      {"/Users/ann/Library/Caches/com.lumenworks.notes", {"inspect", "Lumen Notes"}},
      {"/Users/ann/Library/Containers/com.lumenworks.notes", {"inspect", "Lumen Notes"}},
      {"/Users/ann/Library/Saved Application State", {"inspect", "Lumen Notes"}},
      {"/Users/ann/Documents", {"inspect", "Lumen Notes"}},
      {"/Library/LaunchDaemons", {"inspect", "Lumen Notes"}},
      {"/Users/ann/Library/Caches/com.lumenworks.notes", {"plan", "Lumen Notes"}},
      {"/Users/ann/Library/Developer", {"storage"}},
      {"/Users/ann/Library/Developer/Xcode", {"storage"}},
      {"/Users/ann/Library/Developer", {"storage", "development"}},
      {"/Users/ann/Library/Developer/Xcode", {"storage", "development"}},
      {"/Users/ann/Library/Caches", {"storage", "development"}},
      {"/Users/ann/Documents", {"top"}},
      {"/Users/ann/Documents", {"top", "~/Documents"}},
      {"/Users/ann/Documents", {"top", "~", "--children"}},
      {"/Users/ann/Documents/Thesis", {"top", "--category", "documents"}},
      {"/Users/ann/Movies/Trips.imovielibrary", {"top", "~/Movies", "--files"}},
      {"/Users/ann/Library/CloudStorage", {"cloud"}},
      {"/Users/ann/Library/CloudStorage/Dropbox", {"cloud"}},
      {"/Users/ann/Documents", {"report", "-o", "/dev/null"}},
      {"/Users/ann/Library/Caches/com.lumenworks.notes", {"report", "Lumen Notes", "-o", "/dev/null"}},
      {"/Users/ann/Library/LaunchAgents", {"jobs"}},
      {"/Users/ann/Library/LaunchAgents/com.lumenworks.notes.agent.plist", {"jobs"}},
      {"/private/var/db/receipts", {"receipts"}},
      {"/Library/Extensions", {"kexts"}},
      {"/Applications/Fathom", {"vendors", "--match", "Slack"}},
  };
  return all;
}

/// All tests share one sample volume and do not change it.
class Unread : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    holder_ = std::make_unique<MacVolume>();
    writeSampleVolume(holder_->root() + "/sample");
  }
  static void TearDownTestSuite() { holder_.reset(); }

  CommandRun run(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--volume", sample_, "--home", "/Users/ann"});
    return runQuarn(words);
  }

  CommandRun runClosed(const std::string& closed, std::vector<std::string> words) {
    const std::string path = "/sample" + closed;
    const bool isFolder = std::filesystem::is_directory(sample_ + closed);
    volume_.mode(path, 0000);
    CommandRun result;
    {
      const UnprivilegedUser user;
      result = run(std::move(words));
    }
    volume_.mode(path, isFolder ? 0755 : 0644);
    return result;
  }

  static std::unique_ptr<MacVolume> holder_;
  MacVolume& volume_ = *holder_;
  std::string sample_ = volume_.root() + "/sample";
};

std::unique_ptr<MacVolume> Unread::holder_;

std::string joined(const Case& any) {
  std::string text = any.closed + ":";
  for (const std::string& word : any.words) text += " " + word;
  return text;
}

TEST_F(Unread, AReadableVolumeCausesNoWarnings) {
  for (const Case& any : cases()) {
    const CommandRun result = run(any.words);
    EXPECT_EQ(result.exitCode, 0) << joined(any);
    EXPECT_EQ(result.err, "") << joined(any);
  }
}

TEST_F(Unread, EveryCommandThatWalksCountsDeniedItemsAndExitsIncomplete) {
  for (const Case& any : cases()) {
    const CommandRun result = runClosed(any.closed, any.words);
    EXPECT_EQ(result.exitCode, 4) << joined(any);
    EXPECT_EQ(result.err, "quarn: 1 item: permission denied: " + any.closed + " " + permissionRemedy() + "\n")
        << joined(any);
  }
}

TEST_F(Unread, VerboseListsEachItem) {
  for (const Case& any : cases()) {
    std::vector<std::string> words = any.words;
    words.emplace_back("--verbose");
    EXPECT_EQ(runClosed(any.closed, words).err,
              "quarn: 1 item: permission denied " + permissionRemedy() + "\nquarn: permission: " + any.closed + "\n")
        << joined(any);
  }
}

TEST_F(Unread, ADocumentHasTheCountsAndTheItems) {
  for (const Case& any : cases()) {
    std::vector<std::string> words = any.words;
    words.emplace_back("--json");
    const CommandRun result = runClosed(any.closed, words);
    EXPECT_EQ(result.exitCode, 4) << joined(any);
    const auto unreadable = nlohmann::json::parse(result.out)["unreadable"];
    EXPECT_EQ(unreadable["count"], 1) << joined(any);
    EXPECT_EQ(unreadable["causes"]["permission"], 1) << joined(any);
    EXPECT_EQ(unreadable["items"][0]["path"], any.closed) << joined(any);
    EXPECT_EQ(unreadable["items"][0]["cause"], "permission") << joined(any);
    EXPECT_EQ(unreadable["items"][0]["name"], "EACCES") << joined(any);
  }
}

TEST_F(Unread, QuietPrintsNothingAndStillExitsIncomplete) {
  const CommandRun result = runClosed("/Users/ann/Documents", {"top", "--quiet"});
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.err, "");
}

TEST_F(Unread, AFailingCommandReportsUnreadItemsToo) {
  const CommandRun result = runClosed("/Applications", {"inspect", "Lumen Notes", "--json"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_THAT(result.err,
              testing::StartsWith("quarn: 1 item: permission denied: /Applications " + permissionRemedy() + "\n"));
  const auto document = nlohmann::json::parse(result.out);
  EXPECT_EQ(document["unreadable"]["items"][0]["path"], "/Applications");
  EXPECT_THAT(document["error"]["message"].get<std::string>(), HasSubstr("no app \"Lumen Notes\""));
  EXPECT_FALSE(nlohmann::json::parse(run({"inspect", "Nobody's", "--json"}).out).contains("unreadable"));
}

TEST_F(Unread, OnASharedOutputTheDataPrecedesTheWarnings) {
  volume_.mode("/sample/Users/ann/Documents", 0000);
  CommandRun result;
  {
    const UnprivilegedUser user;  // which a shell without -p would not leave us
    result = runProgram(
        "/bin/sh", {"-pc", "exec \"$0\" --volume \"$1\" --home /Users/ann top --json 2>&1", quarnProgram(), sample_});
  }
  volume_.mode("/sample/Users/ann/Documents", 0755);
  const std::size_t end = result.out.rfind("quarn: 1 item: permission denied");
  ASSERT_NE(end, std::string::npos);
  EXPECT_EQ(nlohmann::json::parse(result.out.substr(0, end))["unreadable"]["count"], 1);
}

TEST_F(Unread, AFolderWithoutSearchPermissionCountsOnce) {
  const CommandRun result = runClosed("/Users/ann/Library", {"inspect", "Lumen Notes", "--json"});
  EXPECT_EQ(result.exitCode, 4);
  const auto items = nlohmann::json::parse(result.out)["unreadable"]["items"];
  for (const auto& item : items)
    EXPECT_THAT(item["path"].get<std::string>(), testing::StartsWith("/Users/ann/Library"));
  EXPECT_EQ(
      std::count_if(items.begin(), items.end(), [](const auto& item) { return item["path"] == "/Users/ann/Library"; }),
      1);
}

TEST(UnreadFolders, ALinkThatLoopsIsReportedAsALoop) {
  MacVolume volume;
  volume.link("~/Library/LaunchAgents", "LaunchAgents");
  const std::vector<std::string> words{"--volume", volume.root(), "--home", "/Users/ann", "jobs"};
  const CommandRun result = runQuarn(words);
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(result.err, "quarn: 1 item: symbolic link loop: /Users/ann/Library/LaunchAgents\n");
  EXPECT_EQ(nlohmann::json::parse(runQuarn({words[0], words[1], "jobs", "--json"}).out)["unreadable"]["causes"]["loop"],
            1);
}

TEST(UnreadOfTheHost, AnotherDeviceIsNotEnteredAndIsReported) {
  const CommandRun result = runQuarn({"--volume", "/", "--home", "/", "top", "/dev", "--json"});
  EXPECT_EQ(result.exitCode, 0) << "what lies on another device is not asked for";
  const auto unreadable = nlohmann::json::parse(result.out)["unreadable"];
  EXPECT_GE(unreadable["causes"]["otherDevice"], 1);
  EXPECT_THAT(unreadable["items"].dump(), HasSubstr(R"("path":"/dev/pts")"));
}

TEST_F(Unread, NamesAreEscaped) {
  const std::string name = "/Users/ann/Documents/\x1B[31m\xFF";
  volume_.folder("/sample" + name);
  const CommandRun result = runClosed(name, {"top", "--verbose"});
  volume_.remove("/sample" + name);
  EXPECT_THAT(result.err, AllOf(HasSubstr("\\x1B[31m\\xFF"), Not(HasSubstr("\x1B"))));
}

}  // namespace
}  // namespace quarn::unread_tests

#include <algorithm>
#include <array>
#include <random>
#include <regex>
#include <set>

#include <gmock/gmock.h>

#include "tests/quarn/commands/CommandDocument.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::scan_equality_tests {
namespace {

using nlohmann::json;

// clang-format off
constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kApps{{
    {"Example", "com.example.App"}, {"Sketcher", "com.gone.Sketcher"}, {"Slack", "com.tinyspeck.slackmacgap"},
    {"Notes Pro", "org.notes.pro"}, {"Tool", "com.example.Tool"}, {"Editor", "net.editor"}, {"Mixer", "com.mix.Mixer"},
    {"Zebra", "com.zebra"},
}};
constexpr std::array<std::string_view, 9> kPlaces{
    "~/Library/Caches", "~/Library/Application Support", "~/Library/Preferences", "~/Library/Containers",
    "~/Library/Logs", "/Library/Application Support", "~/Library/HTTPStorages", "~/Library/Saved Application State",
    "/Library/LaunchDaemons",
};
constexpr std::array<std::string_view, 7> kFolders{
    "~/Documents", "~/Pictures", "~/Movies", "~/Downloads", "~/Library/Mail", "/Elsewhere", "~/Developer",
};
// clang-format on

/// A volume with random apps, of which some are not installed, their data, and other files.
class RandomMac {
 public:
  explicit RandomMac(unsigned seed, std::vector<std::string> homes = {"/Users/ann"})
      : random_(seed), homes_(std::move(homes)) {
    for (const std::string& home : homes_) volume_.folder(home);
    for (const auto& [name, identifier] : kApps) {
      const bool isInstalled = number(3) != 0;
      if (isInstalled) {
        volume_.app("/Applications/" + std::string(name) + ".app", {.bundleIdentifier = std::string(identifier),
                                                                    .name = std::string(name),
                                                                    .version = "1." + std::to_string(number(9))});
      }
      for (unsigned i = number(6); i > 0; --i) addData(name, identifier);
    }
    for (int i = 0; i < 60; ++i) {
      volume_.file(inAHome(kFolders[number(kFolders.size())]) + "/d" + std::to_string(number(4)) + "/f" +
                       std::to_string(i) + (number(5) == 0 ? ".app" : ".txt"),
                   number(9) * 4'096);
    }
  }

  [[nodiscard]] MacVolume& volume() { return volume_; }
  [[nodiscard]] const MacVolume& volume() const { return volume_; }
  [[nodiscard]] const std::vector<std::string>& data() const { return data_; }

 private:
  unsigned number(std::size_t end) { return static_cast<unsigned>(random_() % end); }

  std::string inAHome(std::string_view place) {
    if (!place.starts_with('~')) return std::string(place);
    return homes_[number(homes_.size())] + std::string(place.substr(1));
  }

  void addData(std::string_view name, std::string_view identifier) {
    const std::string place = inAHome(kPlaces[number(kPlaces.size())]);
    const std::string entry = place + "/" + std::string(number(2) == 0 ? name : identifier);
    if (std::find(data_.begin(), data_.end(), entry) != data_.end()) return;
    data_.push_back(entry);
    volume_.file(entry + "/a", number(5) * 4'096).file(entry + "/.b", number(3) * 4'096);
  }

  std::mt19937 random_;
  std::vector<std::string> homes_;
  MacVolume volume_;
  std::vector<std::string> data_;
};

// What differs although the answers are the same: times of the runs, the free bytes of the disk, what a list left out
// (a scan holds only the largest files), and the other names of files, which a scan does not know.
void dropMoments(json& value) {
  if (value.is_object()) {
    for (const char* name :
         {"inspectedAt", "freeBytes", "unattributedBytes", "ownership", "leftOut", "heldFiles", "heldBytes"})
      value.erase(name);
  }
  if (value.is_structured()) {
    for (json& part : value) dropMoments(part);
  }
}

class ScanEquality : public testing::Test {
 protected:
  [[nodiscard]] std::string scan() const { return folder_.host("/scans/scan"); }

  void expectEqual(const RandomMac& mac, std::vector<std::string> words, bool ofAllUsers = false) const {
    std::vector<std::string> live{"--volume", mac.volume().root()};
    if (!ofAllUsers) live.insert(live.end(), {"--home", "/Users/ann"});
    words.emplace_back("--json");
    live.insert(live.end(), words.begin(), words.end());
    if (ofAllUsers) live.emplace_back("--all-users");
    words.insert(words.end(), {"--scan", scan()});
    const CommandRun run = runQuarn(words);
    json expected = document(runQuarn(live));
    json kept = document(run);
    dropMoments(expected);
    dropMoments(kept);
    EXPECT_EQ(kept, expected) << testing::PrintToString(words) << run.err;
  }

  void expectEqualReports(const RandomMac& mac,
                          const std::vector<std::string>& users = {"--home", "/Users/ann"}) const {
    const auto withoutTime = [](const std::string& page) {
      return std::regex_replace(page, std::regex("<time>[^<]*</time>"), "");
    };
    std::vector<std::string> words{"report", "--volume", mac.volume().root(), "-o", "-"};
    words.insert(words.end(), users.begin(), users.end());
    const CommandRun live = runQuarn(words);
    const CommandRun kept = runQuarn({"report", "--scan", scan(), "-o", "-"});
    EXPECT_EQ(withoutTime(kept.out), withoutTime(live.out)) << kept.err;
    EXPECT_EQ(kept.exitCode, live.exitCode);
  }

  void expectEqualForAllUsers(const RandomMac& mac) const {
    ASSERT_EQ(runQuarn({"--volume", mac.volume().root(), "scan", "--all-users", "-o", scan()}).exitCode,
              runQuarn({"--volume", mac.volume().root(), "storage", "--all-users"}).exitCode);
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{{"storage"},
                                                                                       {"storage", "documents"},
                                                                                       {"storage", "systemData"},
                                                                                       {"top"},
                                                                                       {"top", "/"},
                                                                                       {"top", "--children"},
                                                                                       {"top", "--category", "photos"},
                                                                                       {"leftovers"},
                                                                                       {"leftovers", "--size"}}) {
      expectEqual(mac, words, /*ofAllUsers=*/true);
    }
    expectEqualReports(mac, {"--all-users"});
  }

  MacVolume folder_;
  MacVolume& made_ = folder_.folder("/scans").mode("/scans", 0777);  // for an unprivileged user too
};

TEST_F(ScanEquality, EveryAnswerFromAScanIsThatOfTheVolume) {
  for (unsigned seed = 1; seed <= 5; ++seed) {
    SCOPED_TRACE(seed);
    const RandomMac mac(seed);
    ASSERT_EQ(runQuarn({"--volume", mac.volume().root(), "--home", "/Users/ann", "scan", "-o", scan()}).exitCode, 0);
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"apps", "--sizes"},
             {"storage"},
             {"storage", "documents"},
             {"storage", "systemData"},
             {"top", "/"},
             {"top", "--children"},
             {"top", "--category", "photos"},
             {"tree", "/", "--depth", "5", "--top", "50"},
             {"leftovers", "--size"},
             {"inspect", "--all"},
         }) {
      expectEqual(mac, words);
    }
    expectEqualReports(mac);
    ASSERT_FALSE(mac.data().empty());
    std::vector<std::string> owner{"owner"};
    owner.insert(owner.end(), mac.data().begin(), mac.data().end());
    expectEqual(mac, owner);
  }
}

TEST_F(ScanEquality, EveryAnswerFromAScanOfAllUsersIsThatOfTheVolume) {
  const std::vector<std::string> homes{"/Users/ann", "/Users/bob", "/Users/eve"};
  for (unsigned seed = 1; seed <= homes.size(); ++seed) {
    SCOPED_TRACE(seed);
    expectEqualForAllUsers(RandomMac(seed, {homes.begin(), homes.begin() + seed}));
  }
}

// iCloud Drive is a folder of the documents, and so are some folders inside it.
TEST_F(ScanEquality, AnItemInTwoFoldersOfItsCategoryIsListedOnce) {
  RandomMac mac(1, {"/Users/ann", "/Users/bob"});
  for (const std::string home : {"/Users/ann", "/Users/bob"}) {
    mac.volume().file(home + "/Library/Mobile Documents/com~apple~CloudDocs/Documents/in cloud", 70'000);
    mac.volume().file(home + "/Documents/on disk", 60'000);
  }
  for (const bool ofAllUsers : {false, true}) {
    SCOPED_TRACE(ofAllUsers);
    std::vector<std::string> words{"--volume", mac.volume().root(), "scan", "-o", scan()};
    if (ofAllUsers) words.emplace_back("--all-users");
    if (!ofAllUsers) words.insert(words.end(), {"--home", "/Users/ann"});
    ASSERT_EQ(runQuarn(words).exitCode, 0);
    for (const std::string way : {"--limit=500", "--children", "--files"}) {
      expectEqual(mac, {"top", "--category", "documents", way}, ofAllUsers);
      const json items =
          document(runQuarn({"top", "--category", "documents", way, "--scan", scan(), "--json"}))["items"];
      std::set<std::string> urls;
      for (const json& item : items) EXPECT_TRUE(urls.insert(item["url"]).second) << item["url"];
      EXPECT_FALSE(urls.empty());
      const auto inCloud = std::count_if(urls.begin(), urls.end(), [](const std::string& url) {
        return url.find("com~apple~CloudDocs/Documents") != std::string::npos;
      });
      // The folder "Documents" is a child of the drive, and has a child itself.
      const int perUser = way == "--children" ? 2 : 1;
      EXPECT_EQ(inCloud, ofAllUsers ? 2 * perUser : perUser) << way;
    }
  }
}

TEST_F(ScanEquality, TheAnswersForAllUsersAreThoseOfTheVolumeAlsoForUnreadableHomesAndLinks) {
  RandomMac mac(4, {"/Users/ann", "/Users/bob", "/Users/eve"});
  mac.volume().link("/Users/me", "ann").link("/Users/out", "/../..").mode("/Users/eve", 0000);
  const UnprivilegedUser user;
  expectEqualForAllUsers(mac);
}

}  // namespace
}  // namespace quarn::scan_equality_tests

#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/ConfigurationFile.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

// What the configuration file, the environment and the command line settle together.

namespace quarn::settings_tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

using Words = std::vector<std::string>;

/// A folder of this machine with a configuration file.
class Settings : public testing::Test {
 protected:
  void write(const std::string& content) { folder_.text("/config.toml", content); }
  [[nodiscard]] std::string file() const { return folder_.root() + "/config.toml"; }
  [[nodiscard]] CommandRun run(const Words& words, Words environment = {}) const {
    environment.push_back("QUARN_CONFIG=" + file());
    return runQuarn(words, "", environment);
  }
  [[nodiscard]] std::string sampleVolume() const {
    return "volume = \"" + sampleFolder() + "\"\nhome = \"/Users/ann\"\n";
  }
  /// The setting of that name in the document of `quarn config`.
  [[nodiscard]] nlohmann::ordered_json setting(const std::string& name, Words words,
                                               const Words& environment = {}) const {
    words.insert(words.end(), {"config", "--json"});
    const auto document = nlohmann::ordered_json::parse(run(words, environment).out);
    for (const auto& row : document.at("settings")) {
      if (row.at("name") == name) return row;
    }
    return {};
  }

  MacVolume folder_;
};

TEST_F(Settings, TheFileNamesTheVolumeAndTheHome) {
  write(sampleVolume());
  EXPECT_EQ(run({"apps"}).out, runOnSample({"apps"}).out);
  EXPECT_EQ(run({"apps"}).exitCode, 0);
}

TEST_F(Settings, TheEnvironmentWinsOverTheFileAndTheCommandLineOverBoth) {
  write("volume = \"/nowhere\"\nunits = \"iec\"\ncolor = \"always\"\n");
  const Words sample{"QUARN_VOLUME=" + sampleFolder(), "QUARN_HOME=/Users/ann"};
  EXPECT_THAT(run({"storage", "-q"}, sample).out, HasSubstr("KiB"));
  EXPECT_THAT(run({"storage", "-q", "--units", "decimal"}, sample).out, Not(HasSubstr("KiB")));
  EXPECT_EQ(run({"storage", "-q", "--bytes"}, sample).out,
            runOnSample({"storage", "-q", "--bytes", "--color", "always"}).out);
  EXPECT_EQ(setting("volume", {}, sample)["source"], "environment");
  EXPECT_EQ(setting("volume", {"--volume", "/other"}, sample)["value"], "/other");
  EXPECT_EQ(setting("color", {}, {"NO_COLOR=1"})["value"], "never");
  EXPECT_EQ(setting("color", {"--color", "auto"}, {"NO_COLOR=1"})["value"], "auto");
}

TEST_F(Settings, AHomeIsNotLookedForOnAnotherVolume) {
  MacVolume other;
  other.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"});
  write(sampleVolume());
  EXPECT_EQ(run({"--volume", other.root(), "apps"}).exitCode, 0);
  EXPECT_EQ(run({"apps"}, {"QUARN_VOLUME=" + other.root()}).exitCode, 0);
  EXPECT_EQ(setting("home", {"--volume", other.root()})["value"], nullptr);
  EXPECT_EQ(setting("home", {}, {"QUARN_HOME=/Users/bob"})["value"], "/Users/bob");
}

TEST_F(Settings, ConfigShowsEachValueAndWhereItComesFrom) {
  write("\nunits = \"iec\"\n");
  const CommandRun shown = run({"--home", "/Users/ann", "config"}, {"QUARN_VOLUME=/mnt/mac"});
  EXPECT_EQ(shown.exitCode, 0);
  EXPECT_THAT(shown.out, AllOf(HasSubstr("Configuration file: " + file() + "\n"), HasSubstr("QUARN_VOLUME"),
                               HasSubstr(file() + ":2"), HasSubstr("--home"), HasSubstr("built in")));
  EXPECT_EQ(setting("units", {})["place"], file() + ":2");
  EXPECT_EQ(setting("units", {})["source"], "file");
  EXPECT_EQ(setting("units", {"--bytes"})["value"], "bytes");
  EXPECT_EQ(setting("units", {"--bytes"})["source"], "commandLine");
  EXPECT_EQ(setting("color", {})["source"], "builtIn");
  EXPECT_EQ(setting("knowledge", {})["value"], nlohmann::ordered_json::array());
}

TEST_F(Settings, ErrorsNameTheFileTheLineAndTheKey) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"units = \"iec\"\nvolum = \"/mnt\"\n", ":2: volum: unknown key; did you mean volume?"},
      {"units = \"kib\"\n", ":1: units: expected decimal|iec|bytes, got \"kib\""},
      {"\n\nunits = 3\n", ":3: units: expected a text in quotes"},
      {"units = [\"iec\"]\n", ":1: units: expected one text, not a list"},
      {"knowledge = [\"/a\",\n 1]\n", ":2: knowledge: expected a text in quotes"},
      {"volume = \"mac\"\n", ":1: volume: expected an absolute path or one below ~/, got \"mac\""},
      {"[storage]\nunits = \"iec\"\n", ":1: storage: expected a text in quotes"},
      {"units = \"iec\"\nunits = \"bytes\"\n", ":2: "},
      {"units = \"iec\n", ":1: "},
  };
  for (const auto& [content, problem] : rows) {
    write(content);
    const CommandRun refused = run({"vendors"});
    EXPECT_EQ(refused.exitCode, 2) << content;
    EXPECT_THAT(refused.err, HasSubstr("quarn: " + file() + problem)) << content;
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(run({"--no-config", "vendors"}).exitCode, 0) << content;
    EXPECT_EQ(run({"help"}).exitCode, 0) << "the way out must not depend on the file";
  }
}

TEST_F(Settings, AHostileFileIsRefusedAndItsTextIsEscaped) {
  write("\"\\u001B[31m\" = \"x\"\n");
  EXPECT_THAT(run({"config"}).err, Not(HasSubstr("\x1B")));
  write(std::string(kMostConfigurationBytes + 1, '#'));
  EXPECT_THAT(run({"config"}).err, HasSubstr("read " + file() + ": File too large"));
  write("units = " + std::string(20'000, '[') + "\n");
  EXPECT_EQ(run({"config"}).exitCode, 2);
  std::filesystem::remove(file());
  ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
  EXPECT_THAT(run({"config"}).err, HasSubstr("read " + file() + ": Invalid argument"));
}

TEST_F(Settings, AMissingFileIsAnErrorOnlyIfItIsNamed) {
  EXPECT_EQ(run({"config"}).exitCode, 3);
  EXPECT_THAT(run({"config"}).err, HasSubstr(file()));
}

TEST_F(Settings, TheUsualFileIsInTheUsersOrTheStandardsFolder) {
  folder_.text("/.config/quarn/config.toml", "units = \"iec\"\n").text("/xdg/quarn/config.toml", "units = \"bytes\"\n");
  // The first of two variables of one name counts, so QUARN_CONFIG is unset with env.
  const auto units = [&](Words variables) {
    Words words{"-u", "QUARN_CONFIG", "HOME=" + folder_.root()};
    words.insert(words.end(), variables.begin(), variables.end());
    words.insert(words.end(), {quarnProgram(), "config", "--json"});
    return nlohmann::ordered_json::parse(runProgram("/usr/bin/env", words).out)["settings"][2]["value"];
  };
  EXPECT_EQ(units({}), "iec");
  EXPECT_EQ(units({"XDG_CONFIG_HOME=" + folder_.root() + "/xdg"}), "bytes");
  EXPECT_EQ(units({"XDG_CONFIG_HOME=xdg"}), "iec") << "the standard ignores relative folders";
  EXPECT_EQ(units({"QUARN_CONFIG="}), "decimal");
  EXPECT_EQ(units({"XDG_CONFIG_HOME=/nowhere"}), "decimal") << "the usual file may be missing";
}

/// A folder with one profile that names its vendor.
void addProfile(MacVolume& folder, const std::string& path, const std::string& id, const std::string& name) {
  folder.text(path + "/vendors/index.json", R"({"version": 1, "vendors": [{"id": ")" + id + R"(", "file": "one"}]})");
  folder.text(path + "/vendors/one.json", R"({"id": ")" + id + R"(", "displayName": ")" + name +
                                              R"(", "match": {"bundleIDs": ["com.example.one"], "bundleIDPrefixes": [],
      "nameContains": []}, "artifacts": [], "carveOuts": []})");
}

TEST_F(Settings, KnowledgeFoldersAddToTheBuiltInProfilesAlsoWhenConfined) {
  addProfile(folder_, "/more", "example.one", "One Example");
  write("knowledge = [\"" + folder_.root() + "/more\"]\n");
  const std::string builtIn = runQuarn({"vendors"}).out;
  const std::string added = run({"vendors"}).out;
  EXPECT_THAT(builtIn, Not(HasSubstr("One Example")));
  EXPECT_THAT(added, HasSubstr("One Example"));
  EXPECT_EQ(std::count(added.begin(), added.end(), '\n'), std::count(builtIn.begin(), builtIn.end(), '\n') + 1);
  write("");
  EXPECT_EQ(run({"--knowledge", folder_.root() + "/more", "vendors"}).out, added);
}

TEST_F(Settings, SeveralFoldersAddTheirProfiles) {
  addProfile(folder_, "/more", "example.one", "One Example");
  addProfile(folder_, "/again", "example.one", "Other Example");
  const CommandRun shown =
      runQuarn({"--knowledge", folder_.root() + "/more", "--knowledge", folder_.root() + "/again", "vendors"});
  EXPECT_THAT(shown.out, AllOf(HasSubstr("Other Example"), HasSubstr("One Example")));
}

TEST_F(Settings, AddedSignaturesChangeTheCategoryOfAnExtension) {
  folder_.text("/more/storage-signatures.json", R"({"version": 1, "signatures": [{"category": "games", "kind":
      "packageExtension", "pattern": "workbench", "reason": "a test"}]})");
  MacVolume volume;
  volume.file("/Users/ann/Work/one.workbench/data", 1 << 20).folder("/Users/ann");
  const Words words{"--volume", volume.root(), "--home", "/Users/ann", "storage", "--json"};
  Words added = words;
  added.insert(added.begin(), {"--knowledge", folder_.root() + "/more"});
  const auto games = [](const CommandRun& shown) {
    return nlohmann::ordered_json::parse(shown.out)["categories"]["games"]["logicalBytes"];
  };
  EXPECT_EQ(games(runQuarn(words)), 0);
  EXPECT_GE(games(runQuarn(added)), 1 << 20);
}

TEST_F(Settings, AKnowledgeFolderThatIsMissingOrEmptyIsRefused) {
  folder_.folder("/empty");
  EXPECT_THAT(runQuarn({"--knowledge", folder_.root() + "/empty", "vendors"}).err, HasSubstr("has no vendor profiles"));
  EXPECT_EQ(runQuarn({"--knowledge", folder_.root() + "/empty", "vendors"}).exitCode, 3);
  EXPECT_EQ(runQuarn({"--knowledge", folder_.root() + "/none", "vendors"}).exitCode, 3);
}

}  // namespace
}  // namespace quarn::settings_tests

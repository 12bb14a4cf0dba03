#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"

namespace quarn::launchd_artifacts_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Kind = ArtifactKind;
using Scope = ArtifactScope;

AppEntity app(const std::optional<std::string>& bundleID) {
  return {.name = "Example", .bundleIdentifier = bundleID, .bundleURL = FileURL("/Applications/X.app"), .id = "x"};
}

const AppEntity kExample = app("com.example.App");

LaunchdEntry job(const std::string& label, const std::optional<std::string>& program = std::nullopt,
                 const std::vector<std::string>& arguments = {},
                 const std::string& path = "/Library/LaunchAgents/j.plist") {
  return {.label = label, .program = program, .programArguments = arguments, .url = FileURL(path)};
}

std::vector<Artifact> artifacts(const AppEntity& of, const std::vector<LaunchdEntry>& entries) {
  const MacVolume volume;
  const ArtifactScanner scanner(FileSizeCalculator::live(volume.files()), volume.files());
  return scanner.launchdArtifacts(of, entries);
}

TEST(LaunchdArtifacts, AJobIsACompleteRecord) {
  const std::string label = "com.example.App.Helper";
  EXPECT_THAT(lines(artifacts(kExample, {job(label)})),
              ElementsAre(line(identified(
                  {.kind = Kind::launchAgent,
                   .dataClass = ArtifactDataClass::configuration,
                   .scope = Scope::system,
                   .urls = {FileURL("/Library/LaunchAgents/j.plist")},
                   .riskLevel = RiskLevel::caution,
                   .confidence = 0.65,
                   .title = "launchd: com.example.App.Helper",
                   .explanation = "launchd job belongs to the app (label/program matches the bundle ID)."}))));
}

TEST(LaunchdArtifacts, AJobBelongsByItsLabelProgramOrOneOfItsArguments) {
  const std::vector<std::pair<LaunchdEntry, bool>> rows{
      {job("com.example.App"), true},
      {job("COM.EXAMPLE.APP.helper"), true},
      {job("x.com.example.application"), true},
      {job("com.example"), false},
      {job("com-example-App"), false},
      {job("x", "/Applications/X.app/com.Example.App"), true},
      {job("x", "/usr/bin/other"), false},
      {job("x", "/usr/bin/other", {"a", "--id=com.EXAMPLE.app", "b"}), true},
      {job("x", std::nullopt, {"com.example.App"}), true},
      {job("x", std::nullopt, {"com.example", ".App"}), false},
      {job("x", std::nullopt, {}), false},
      {job("", "", {""}), false},
  };
  for (const auto& [entry, belongs] : rows) {
    EXPECT_EQ(artifacts(kExample, {entry}).size(), belongs ? 1U : 0U)
        << entry.label << " " << entry.program.value_or("none") << " " << entry.programArguments.size();
  }
}

TEST(LaunchdArtifacts, TheIdentifierIsComparedInLowerCase) {
  EXPECT_EQ(artifacts(app("COM.Example.APP"), {job("com.example.app")}).size(), 1U);
  EXPECT_EQ(artifacts(app("com.ÄXAMPLE"), {job("com.äxample.helper")}).size(), 1U);
}

TEST(LaunchdArtifacts, AnAppWithoutBundleIdentifierMatchesNoJob) {
  EXPECT_THAT(artifacts(app(std::nullopt), {job("Example", "Example", {"Example"})}), IsEmpty());
  EXPECT_THAT(artifacts(app(""), {job("Example", "Example", {"Example"}), job("")}), IsEmpty());
}

TEST(LaunchdArtifacts, KindAndScopeAreThoseOfThePlace) {
  struct Row {
    std::string path;
    Kind kind;
    Scope scope;
  };
  const std::vector<Row> rows{
      {"/Users/ann/Library/LaunchAgents/a.plist", Kind::launchAgent, Scope::user},
      {"/Users/ann/Library/LaunchDaemons/a.plist", Kind::launchDaemon, Scope::user},
      {"/Library/LaunchAgents/a.plist", Kind::launchAgent, Scope::system},
      {"/Library/LaunchDaemons/a.plist", Kind::launchDaemon, Scope::system},
      {"/System/Library/LaunchAgents/a.plist", Kind::launchAgent, Scope::user},
      {"/System/Library/LaunchDaemons/a.plist", Kind::launchDaemon, Scope::user},
      {"/Library2/LaunchAgents/a.plist", Kind::launchAgent, Scope::system},
      {"/Library/LaunchDaemons", Kind::launchAgent, Scope::system},
      {"/Library/MyLaunchDaemons/a.plist", Kind::launchAgent, Scope::system},
      {"/Library/launchdaemons/a.plist", Kind::launchAgent, Scope::system},
      {"/Library/LaunchAgents/LaunchDaemons/a.plist", Kind::launchDaemon, Scope::system},
      {"/library/LaunchAgents/a.plist", Kind::launchAgent, Scope::user},
  };
  for (const Row& row : rows) {
    const std::vector<Artifact> found = artifacts(kExample, {job("com.example.App", std::nullopt, {}, row.path)});
    ASSERT_EQ(found.size(), 1U) << row.path;
    EXPECT_EQ(found[0].kind, row.kind) << row.path;
    EXPECT_EQ(found[0].scope, row.scope) << row.path;
    EXPECT_EQ(found[0].urls[0].path(), row.path);
    EXPECT_EQ(found[0].id, Artifact::makeID(row.kind, row.scope, {FileURL(row.path)}));
  }
}

TEST(LaunchdArtifacts, EachJobIsOneArtifactInTheListedOrder) {
  EXPECT_THAT(titles(artifacts(kExample, {job("z com.example.App"), job("other"), job("a com.example.App"),
                                          job("z com.example.App")})),
              ElementsAre("launchd: z com.example.App", "launchd: a com.example.App", "launchd: z com.example.App"));
}

}  // namespace
}  // namespace quarn::launchd_artifacts_tests

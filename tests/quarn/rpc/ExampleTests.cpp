#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::example_tests {
namespace {

using testing::HasSubstr;

struct Output {
  int status;
  std::string text;
};

std::string quoted(const std::string& word) { return "'" + word + "'"; }

/// Runs the example with the types that the command writes, and returns its output, including errors.
Output run(const std::vector<std::string>& words) {
  const MacVolume folder;
  std::ofstream(folder.root() + "/quarn_rpc.py") << runQuarn({"rpc", "--types", "python"}).out;
  std::string command = "PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=" + quoted(folder.root()) + " python3 " +
                        quoted((projectFolder() / "examples/python/quarn_client.py").string());
  for (const std::string& word : words) command += " " + quoted(word);
  std::FILE* const pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("popen");
  Output output{};
  std::array<char, 4096> bytes{};
  for (std::size_t count = 1; count > 0;) {
    count = std::fread(bytes.data(), 1, bytes.size(), pipe);
    output.text.append(bytes.data(), count);
  }
  const int status = ::pclose(pipe);
  output.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return output;
}

TEST(PythonExample, ListsAppsInspectsOnePlansStopsAScanAndHandlesAnError) {
  const Output output = run({"Lumen Notes", quarnProgram(), "--volume", sampleFolder(), "--home", "/Users/ann"});
  EXPECT_EQ(output.status, 0);
  const FileManager files = FileManager::mounted(sampleFolder(), FileURL("/Users/ann"));
  const std::size_t apps = AppDiscoveryClient::live(files).discoverApplications().size();
  EXPECT_TRUE(output.text.starts_with(std::to_string(apps) + " apps\n  uninstallers\n")) << output.text;
  EXPECT_THAT(output.text, testing::ContainsRegex("\n  artifacts\n  artifacts: [0-9]+ new\n  documents\n"));
  EXPECT_THAT(output.text, testing::ContainsRegex("\n[0-9]+ artifacts; [0-9]+ bytes of caches could go\n"));
  EXPECT_THAT(output.text, testing::ContainsRegex("\nscan stopped after [0-9]+ bytes\n"));
  EXPECT_THAT(output.text, HasSubstr("\nrefused: at: not a file URL or an absolute path (code -32602, param at)\n"));
}

TEST(PythonExample, ReportsACommandThatCannotBeStarted) {
  const Output output = run({"Lumen Notes", "/nonexistent/quarn"});
  EXPECT_EQ(output.status, 1);
  EXPECT_TRUE(output.text.starts_with("quarn: ")) << output.text;
  EXPECT_THAT(output.text, HasSubstr("/nonexistent/quarn"));
}

TEST(PythonExample, ReportsACommandThatExitsEarly) {
  const Output output = run({"Lumen Notes", "/bin/true"});
  EXPECT_EQ(output.status, 1);
  EXPECT_TRUE(output.text.starts_with("quarn: ")) << output.text;
}

TEST(PythonExample, ReportsACommandThatClosesItsOutputBeforeItExits) {
  const MacVolume folder;
  const std::filesystem::path command = folder.root() + "/silent-quarn";
  std::ofstream(command) << "#!/bin/sh\nexec >&-\nexec sleep 1\n";
  std::filesystem::permissions(command, std::filesystem::perms::owner_all);
  const Output output = run({"Lumen Notes", command.string()});
  EXPECT_EQ(output.status, 1);
  EXPECT_EQ(output.text, "quarn: quarn has ended\n");
}

TEST(Examples, AreShort) {
  for (const char* file : {"examples/python/quarn_client.py", "examples/typescript/quarn-client.ts"}) {
    std::ifstream text(projectFolder() / file);
    const auto lines = std::count(std::istreambuf_iterator<char>(text), {}, '\n');
    EXPECT_GT(lines, 40) << file;
    EXPECT_LT(lines, 80) << file;
  }
}

}  // namespace
}  // namespace quarn::example_tests

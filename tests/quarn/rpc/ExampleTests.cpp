#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ProjectFolder.h"

namespace quarn {
namespace {

using testing::AllOf;
using testing::HasSubstr;

struct Example {
  std::string name;
  std::string interpreter;
  std::string file;  ///< in examples/
};

/// The name in the output of tests.
void PrintTo(const Example& example, std::ostream* out) { *out << example.name; }

struct Output {
  int status;
  std::string text;
};

std::string quoted(const std::string& word) { return "'" + word + "'"; }

/// Runs the example and returns its output, including errors.
Output run(const Example& example, const std::vector<std::string>& words) {
  std::string command = example.interpreter + " " + quoted((projectFolder() / "examples" / example.file).string());
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

class Examples : public testing::TestWithParam<Example> {};

TEST_P(Examples, ListsAppsInspectsOneStopsAScanAndHandlesAnError) {
  const Output output = run(GetParam(), {"--quarn", quarnProgram(), "--volume", sampleFolder(), "--home", "/Users/ann",
                                         "--app", "Lumen Notes"});
  EXPECT_EQ(output.status, 0);
  const FileManager files = FileManager::mounted(sampleFolder(), FileURL("/Users/ann"));
  const std::size_t apps = AppDiscoveryClient::live(files).discoverApplications().size();
  EXPECT_TRUE(output.text.starts_with(std::to_string(apps) + " apps\n"
                                                             "  looking for uninstallers\n"
                                                             "  looking for entitlements\n"
                                                             "  looking for artifacts\n"
                                                             "  looking for documents\n"
                                                             "  looking for launchd\n"
                                                             "  looking for receipts\n"
                                                             "  looking for deepInspector\n"
                                                             "  looking for kernelExtensions\n"
                                                             "  looking for finalize\n"
                                                             "Lumen Notes: "))
      << output.text;
  EXPECT_THAT(
      output.text,
      AllOf(HasSubstr("  danger   Group Container (9KXQ2T7WBA.shared-store)\n"), HasSubstr("\nscan stopped with "),
            HasSubstr("\nrefused: at: not a file URL or an absolute path (code -32602, param at)\n")));
}

TEST_P(Examples, ReportsACommandThatCannotBeStarted) {
  const Output output = run(GetParam(), {"--quarn", "/nonexistent/quarn"});
  EXPECT_EQ(output.status, 1);
  EXPECT_TRUE(output.text.starts_with("quarn: ")) << output.text;
  EXPECT_THAT(output.text, HasSubstr("/nonexistent/quarn"));
}

TEST_P(Examples, ReportsACommandThatExitsEarly) {
  const Output output = run(GetParam(), {"--quarn", "/bin/true"});
  EXPECT_EQ(output.status, 1);
  EXPECT_TRUE(output.text.starts_with("quarn: ")) << output.text;
}

TEST_P(Examples, ReportsACommandThatClosesItsOutputBeforeItExits) {
  const MacVolume folder;
  const std::filesystem::path command = folder.root() + "/silent-quarn";
  std::ofstream(command) << "#!/bin/sh\nexec >&-\nexec sleep 1\n";
  std::filesystem::permissions(command, std::filesystem::perms::owner_all);
  const Output output = run(GetParam(), {"--quarn", command.string()});
  EXPECT_EQ(output.status, 1);
  EXPECT_EQ(output.text, "quarn: quarn has ended\n");
}

std::string testName(const testing::TestParamInfo<Example>& example) { return example.param.name; }

INSTANTIATE_TEST_SUITE_P(RPC, Examples,
                         testing::Values(Example{"Python", "python3", "python/quarn_client.py"},
                                         Example{"Node", "node", "node/quarn-client.mjs"}),
                         testName);

}  // namespace
}  // namespace quarn

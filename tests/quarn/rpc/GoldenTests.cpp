#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <set>

#include <gmock/gmock.h>

#include "QuarnModels/Date.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"
#include "quarn/rpc/Server.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/quarn/rpc/RPCSession.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/ProjectFolder.h"

// One file per method: a request, and all output for it on the sample volume with small test resources. Write
// requests by hand; QUARN_UPDATE_GOLDEN=1 in the environment writes the responses.

namespace quarn::golden_tests {
namespace {

using nlohmann::ordered_json;

const std::filesystem::path kHere = projectFolder() / "tests/quarn/rpc";

// ---- what differs from run to run or from disk to disk

bool isDate(const ordered_json& value) {
  return value.is_string() && dateFromISO8601(value.get<std::string>()).has_value();
}
bool isByteCount(const ordered_json& value) { return value.is_number_integer() && value.get<std::int64_t>() >= 0; }

struct Placeholder {
  std::string_view member;
  bool (*stands)(const ordered_json& value);  ///< the form that the value must have
  std::string_view text;
};

// clang-format off
constexpr std::array kPlaceholders{
    Placeholder{"inspectedAt", &isDate,      "<the date of the inspection>"},
    Placeholder{"modified",    &isDate,      "<the date of the last change>"},
    Placeholder{"totalBytes",  &isByteCount, "<bytes of the disk>"},
    Placeholder{"freeBytes",   &isByteCount, "<bytes of the disk>"},
};
// Counts that come from the blocks of the disk: a file in many pieces takes further blocks to list them.
constexpr std::array<std::string_view, 3> kBlockCounts{"allocatedBytes", "localBytes", "cloudOnlyBytes"};
constexpr std::int64_t kBlockTolerance = 16;  // one part in that many
// clang-format on

void putPlaceholders(ordered_json& value) {
  if (value.is_object()) {
    for (const Placeholder& placeholder : kPlaceholders) {
      const auto found = value.find(placeholder.member);
      if (found != value.end() && placeholder.stands(*found)) *found = std::string(placeholder.text);
    }
  }
  if (value.is_structured()) {
    for (ordered_json& part : value) putPlaceholders(part);
  }
}

// Counts of blocks that are nearly what the file says become what it says.
void forgiveBlocks(ordered_json& value, const ordered_json& golden) {
  if (value.is_array() && golden.is_array() && value.size() == golden.size()) {
    for (std::size_t i = 0; i < value.size(); ++i) forgiveBlocks(value[i], golden[i]);
  }
  if (!value.is_object() || !golden.is_object()) return;
  for (auto& [member, part] : value.items()) {
    const auto other = golden.find(member);
    if (other == golden.end()) continue;
    forgiveBlocks(part, *other);
    const bool isBlockCount = std::find(kBlockCounts.begin(), kBlockCounts.end(), member) != kBlockCounts.end();
    if (!isBlockCount || !isByteCount(part) || !isByteCount(*other)) continue;
    const auto difference = part.get<std::int64_t>() - other->get<std::int64_t>();
    if (std::abs(difference) <= other->get<std::int64_t>() / kBlockTolerance) part = *other;
  }
}

// ---- the run

class Golden : public testing::TestWithParam<std::string> {
 protected:
  static void SetUpTestSuite() {
    services_ = std::make_unique<Services>(FileManager::mounted(sampleFolder(), FileURL("/Users/ann")),
                                           ResourceBundle((kHere / "resources").string()));
  }
  static void TearDownTestSuite() { services_.reset(); }

  static ordered_json answersTo(const ordered_json& request) {
    RPCSession session([](int input, int output) { return runRPC(*services_, input, output); });
    session.send(request.dump());
    ordered_json answers = ordered_json::array();
    for (const std::string& line : session.finish()) answers.push_back(ordered_json::parse(line));
    putPlaceholders(answers);
    return answers;
  }

  static std::unique_ptr<Services> services_;
};

std::unique_ptr<Services> Golden::services_;

TEST_P(Golden, RespondsAsInTheFile) {
  const std::filesystem::path path = kHere / "golden" / (GetParam() + ".json");
  const std::string text = contentOf(path);
  ASSERT_FALSE(text.empty()) << "there is no " << path;
  ordered_json golden = ordered_json::parse(text);
  ASSERT_EQ(golden["request"]["method"], GetParam());
  ordered_json answers = answersTo(golden["request"]);
  forgiveBlocks(answers, golden["answers"]);
  golden["answers"] = std::move(answers);
  EXPECT_TRUE(isGolden(path, golden.dump(2) + "\n"));
}

std::vector<std::string> methodNames() {
  std::vector<std::string> names;
  for (const MethodRow& row : methodTable()) names.emplace_back(row.name);
  return names;
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(RPC, Golden, testing::ValuesIn(methodNames()), testName);

TEST(GoldenFiles, ExistForEveryMethod) {
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(kHere / "golden")) {
    files.insert(entry.path().stem().string());
  }
  const std::vector<std::string> names = methodNames();
  EXPECT_EQ(files, std::set<std::string>(names.begin(), names.end()));
}

}  // namespace
}  // namespace quarn::golden_tests

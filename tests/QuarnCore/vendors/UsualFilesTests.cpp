#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "QuarnCore/storage/StorageSignatureFields.h"
#include "QuarnCore/vendors/VendorProfileFields.h"
#include "QuarnModels/RecordFile.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::usual_files_tests {
namespace {

constexpr std::string_view kText = R"({ "id": "a", "displayName": "A", "note": [1, {"b": null}],
 "match": {"bundleIDs": ["com.a", "b"], "bundleIDPrefixes": [], "nameContains": ["\u00e4"]},
 "artifacts": [{"kind": "cache", "dataClass": "app", "scope": "user", "riskLevel": "safe", "confidence": 0.9,
   "title": "T", "explanation": "E", "paths": ["~/x", "/y"]},
  {"kind": "logs", "dataClass": "shared", "scope": "system", "riskLevel": "danger", "confidence": 1, "title": "T",
   "explanation": null, "paths": []}],
 "carveOuts": [{"title": "T", "paths": ["~/z"], "reason": "R"}]})";

std::string content(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// True if a file is read in one pass. Whatever is read so must be what the document says, and the error must be the
/// document's.
template <class Record>
bool isUsual(const std::string& text) {
  const std::optional<Record> read = wire::readUsualFile<Record>(text);
  std::string problem;
  const std::optional<Record> judged = wire::decodeByDocument<Record>(text, problem);
  if (read) {
    EXPECT_EQ(read, judged) << text;
  }
  std::string given;
  EXPECT_EQ(wire::decodeFile<Record>(text, &given), judged) << text;
  EXPECT_EQ(given, problem) << text;
  return read.has_value();
}

std::string with(std::string_view from, std::string_view to) {
  std::string text(kText);
  return text.replace(text.find(from), from.size(), to);
}

TEST(UsualFiles, EveryShippedFileIsReadInOnePass) {
  std::size_t count = 0;
  for (const auto& file :
       std::filesystem::directory_iterator(projectFolder() / "QuarnCore/vendors/resources/vendors")) {
    EXPECT_TRUE(isUsual<VendorProfile>(content(file.path()))) << file.path();
    ++count;
  }
  EXPECT_GT(count, 160U);
  EXPECT_TRUE(
      isUsual<StorageSignatureTable>(content(projectFolder() / "QuarnCore/storage/resources/storage-signatures.json")));
}

TEST(UsualFiles, UnknownMembersAndAbsentExplanationsAreUsual) {
  EXPECT_TRUE(isUsual<VendorProfile>(std::string(kText)));
  EXPECT_TRUE(isUsual<VendorProfile>(with(R"("explanation": "E", )", "")));
  EXPECT_TRUE(isUsual<VendorProfile>(with("0.9", "1e2")));
  EXPECT_TRUE(isUsual<VendorProfile>("\n\t" + std::string(kText) + "\r\n "));
}

TEST(UsualFiles, TheCodecJudgesTheRest) {
  EXPECT_FALSE(isUsual<VendorProfile>(with(R"("id": "a")", R"("id": "a", "id": "b")")))
      << "of equal keys the first counts";
  EXPECT_FALSE(isUsual<VendorProfile>(with(R"("id": "a")", R"("id": null)")));
  EXPECT_FALSE(isUsual<VendorProfile>(with(R"("id": "a",)", "")));
  EXPECT_FALSE(isUsual<VendorProfile>(with(R"("reason": "R")", R"("reasons": "R")")));
  EXPECT_FALSE(isUsual<VendorProfile>(with(R"("id": "a")", R"("id": 1)")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("0.9", "\"0.9\"")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("0.9", "null")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("0.9", "-1")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("0.9", "1e400")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("\"cache\"", "\"Cache\"")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("[1, ", "[1e400, ")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("\"E\"", "nul")));
  EXPECT_FALSE(isUsual<VendorProfile>(with("[1, ", "[" + std::string(600, '[') + std::string(600, ']') + ", ")));
  EXPECT_FALSE(isUsual<VendorProfile>("\xEF\xBB\xBF" + std::string(kText)));
  EXPECT_FALSE(isUsual<VendorProfile>(std::string(kText) + "x"));
  EXPECT_FALSE(isUsual<VendorProfile>(std::string(kText) + '\0'));
  EXPECT_FALSE(isUsual<VendorProfile>("[]"));
  for (const char* version : {"9223372036854775808", "1.0", "-7", "1.5", "\"1\"", "null"}) {
    EXPECT_FALSE(isUsual<VendorProfileIndex>("{\"version\":" + std::string(version) + ",\"vendors\":[]}")) << version;
  }
  EXPECT_TRUE(isUsual<VendorProfileIndex>(R"({"version":9223372036854775807,"vendors":[{"id":"a","file":"b"}]})"));
}

TEST(UsualFiles, OnePassAndTheDocumentAgreeOnEveryDamagedFile) {
  for (std::size_t at = 0; at <= kText.size(); ++at) {
    const std::string before(kText.substr(0, at));
    EXPECT_FALSE(isUsual<VendorProfile>(before) && at < kText.size()) << at;
    if (at == kText.size()) break;
    for (const std::string_view other :
         {"", "\"", "\\", "{", "}", "[", "]", ",", ":", "0", "-", ".", "e", "n", " ", "\n", "a", "\xC3", "\x01"}) {
      isUsual<VendorProfile>(before + std::string(other) + std::string(kText.substr(at + 1)));
      isUsual<VendorProfile>(before + std::string(other) + std::string(kText.substr(at)));
    }
    isUsual<VendorProfile>(before + '\0' + std::string(kText.substr(at + 1)));
  }
}

}  // namespace
}  // namespace quarn::usual_files_tests

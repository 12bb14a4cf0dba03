#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnCore/scans/ScanExport.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ChangedDatabase.h"

namespace quarn::scan_export_tests {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string contentOf(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ScanExport, EveryTableIsWrittenAsCSVAndNDJSON) {
  ScannedVolume volume;
  volume.fill();
  volume.file("~/Pictures/with,comma/and \"quote\"", 5).file("~/Pictures/two\nlines/file", 5);
  ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  std::filesystem::create_directory(folder.at("out"));
  const Scan scan = Scan::open(folder.at("scan"));
  EXPECT_EQ(exportScan(scan, folder.at("out"), Cancellation::never()),
            2 * static_cast<std::int64_t>(scanTables().size()));
  for (const ScanTable& table : scanTables()) {
    std::size_t rows = 0;
    scan.rows(table, [&](const std::vector<ScanValue>& row) {
      EXPECT_EQ(row.size(), columnNames(table).size());
      ++rows;
      return true;
    });
    const std::string base = folder.at("out/" + std::string(table.name));
    const std::string csv = contentOf(base + ".csv");
    const std::size_t linesInNames = table.name == "folders" ? 1 : 0;
    EXPECT_EQ(static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n')), rows + 1 + linesInNames)
        << table.name;
    const std::string json = contentOf(base + ".ndjson");
    EXPECT_EQ(static_cast<std::size_t>(std::count(json.begin(), json.end(), '\n')), rows) << table.name;
  }
  EXPECT_THAT(contentOf(folder.at("out/folders.csv")),
              StartsWith("id,parent,descendants,name,allocated,logical,files,newest,marks\r\n0,0,"));
  EXPECT_THAT(contentOf(folder.at("out/folders.csv")), HasSubstr(",\"with,comma\","));
  EXPECT_THAT(contentOf(folder.at("out/folders.csv")), HasSubstr(",\"two\nlines\","));
  EXPECT_THAT(contentOf(folder.at("out/folders.csv")), HasSubstr(",X'FE80',"));
  EXPECT_THAT(contentOf(folder.at("out/large_files.csv")), HasSubstr(",\"and \"\"quote\"\"\","));
  EXPECT_THAT(contentOf(folder.at("out/large_files.csv")), HasSubstr(",X'FF',"));
  EXPECT_THAT(contentOf(folder.at("out/large_files.ndjson")), HasSubstr("\"name\":{\"hex\":\"FF\"}"));
  EXPECT_THAT(contentOf(folder.at("out/jobs.ndjson")), HasSubstr("{\"id\":1,\"label\":\"com.example.job\""));
}

TEST(ScanExport, AnEmptyTextIsQuotedAndAMissingValueIsNot) {
  ScannedVolume volume;
  ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  changeDatabase(
      folder.at("scan"),
      "DELETE FROM unreadable; INSERT INTO unreadable VALUES(NULL,'',NULL), ('\r',-1,1.5), ('b',NULL,X'0A')");
  std::filesystem::create_directory(folder.at("out"));
  (void)exportScan(Scan::open(folder.at("scan")), folder.at("out"), Cancellation::never());
  EXPECT_EQ(contentOf(folder.at("out/unreadable.csv")),
            "path,error,error_name\r\n,\"\",\r\n\"\r\",-1,1.5\r\nb,,X'0A'\r\n");
  EXPECT_EQ(contentOf(folder.at("out/unreadable.ndjson")),
            "{\"path\":null,\"error\":\"\",\"error_name\":null}\n"
            "{\"path\":\"\\r\",\"error\":-1,\"error_name\":1.5}\n"
            "{\"path\":\"b\",\"error\":null,\"error_name\":{\"hex\":\"0A\"}}\n");
}

// Cancels when the file of the folders appears. Their rows take seconds, and the export asks every 1,024 rows.
TEST(ScanExport, AnExportThatIsCancelledInATableLeavesNoPartOfIt) {
  ScannedVolume volume;
  ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  changeDatabase(
      folder.at("scan"),
      "DELETE FROM folders WHERE id>0; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n WHERE i<400000)"
      "INSERT INTO folders SELECT i, 0, 0, 'f', 0, 0, 0, NULL, 0 FROM n");
  std::filesystem::create_directory(folder.at("out"));
  const Cancellation cancellation;
  std::thread waiting([&] {
    const auto isFolders = [](const std::filesystem::directory_entry& entry) {
      return entry.path().filename().string().starts_with("folders.csv");
    };
    const auto hasBegun = [&] {
      const std::filesystem::directory_iterator entries(folder.at("out"));
      return std::any_of(begin(entries), end(entries), isFolders);
    };
    while (!hasBegun()) std::this_thread::yield();
    cancellation.cancel();
  });
  const std::int64_t files = exportScan(Scan::open(folder.at("scan")), folder.at("out"), cancellation);
  waiting.join();
  EXPECT_GT(files, 0);
  EXPECT_FALSE(std::filesystem::exists(folder.at("out/folders.csv")));
  const std::filesystem::directory_iterator entries(folder.at("out"));
  EXPECT_EQ(std::distance(begin(entries), end(entries)), files);
}

TEST(ScanExport, ACancelledExportWritesNoPartOfATable) {
  ScannedVolume volume;
  ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  std::filesystem::create_directory(folder.at("out"));
  const Cancellation cancellation;
  cancellation.cancel();
  EXPECT_EQ(exportScan(Scan::open(folder.at("scan")), folder.at("out"), cancellation), 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.at("out")));
}

}  // namespace
}  // namespace quarn::scan_export_tests

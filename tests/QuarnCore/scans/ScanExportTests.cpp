#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "QuarnCore/scans/ScanExport.h"
#include "QuarnCore/scans/ScanSchema.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"

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
  volume.file("~/Pictures/with,comma/and \"quote\"", 5);
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
    EXPECT_EQ(static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n')), rows + 1) << table.name;
    const std::string json = contentOf(base + ".ndjson");
    EXPECT_EQ(static_cast<std::size_t>(std::count(json.begin(), json.end(), '\n')), rows) << table.name;
  }
  EXPECT_THAT(contentOf(folder.at("out/folders.csv")),
              StartsWith("id,parent,descendants,name,allocated,logical,files,newest,marks\r\n0,0,"));
  EXPECT_THAT(contentOf(folder.at("out/folders.csv")), HasSubstr(",\"with,comma\","));
  EXPECT_THAT(contentOf(folder.at("out/large_files.csv")), HasSubstr(",\"and \"\"quote\"\"\","));
  EXPECT_THAT(contentOf(folder.at("out/large_files.csv")), HasSubstr(",X'FF',"));
  EXPECT_THAT(contentOf(folder.at("out/large_files.ndjson")), HasSubstr("\"name\":{\"hex\":\"FF\"}"));
  EXPECT_THAT(contentOf(folder.at("out/jobs.ndjson")), HasSubstr("{\"id\":1,\"label\":\"com.example.job\""));
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

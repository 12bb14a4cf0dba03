#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnCore/scans/ScannedItems.h"
#include "QuarnCore/scans/ScannedOwners.h"
#include "QuarnPlatform/base/ByteCounts.h"

namespace {

constexpr std::size_t kPageSizeAt = 16;
constexpr std::size_t kPageCountAt = 28;

// A header that states another length is refused at once. With the right length, changes of the content are read.
std::string withTrueLength(std::string file) {
  if (file.size() < 100) return file;
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(file[at]); };
  const std::size_t page = static_cast<std::size_t>(byte(kPageSizeAt)) << 8U | byte(kPageSizeAt + 1);
  if (page < 512) return file;
  file.resize(file.size() / page * page);
  const std::size_t pages = file.size() / page;
  for (std::size_t i = 0; i < 4; ++i) {
    if (file.size() >= 100) file[kPageCountAt + i] = static_cast<char>(pages >> (8 * (3 - i)));
  }
  return file;
}

void readEverything(const std::string& path) {
  const quarn::Scan scan = quarn::Scan::open(path);
  scan.readAll();
  const quarn::ScannedOwners owners(scan);
  (void)owners.of(quarn::FileURL("/Users/ann"));
  const quarn::ScannedItems items(scan);
  const auto found = items.topFilesRecursively(
      {quarn::FileURL("/")},
      {.limit = 50, .maxDepth = 1'000, .maxVisited = 1'000, .allowSlowForPackages = true, .includeHidden = true});
  if (found.items.size() > 50) std::abort();
  (void)items.topChildren({quarn::FileURL("/Users")}, 10, true, true);
  const quarn::ScanDifference difference = quarn::compareScans(scan, scan, 1);
  if (!difference.folders.empty() || !difference.categories.empty()) std::abort();
}

}  // namespace

/// A file is a scan or an error, never a crash; a scan has no difference to itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::string path =
      (std::filesystem::temp_directory_path() / ("scan_fuzz." + std::to_string(::getpid()))).string();
  const std::string file = withTrueLength({reinterpret_cast<const char*>(data), size});
  std::ofstream(path, std::ios::binary | std::ios::trunc) << file;
  try {
    readEverything(path);
  } catch (const quarn::FileError&) {
  } catch (const quarn::SizeOverflow&) {
  }
  std::filesystem::remove(path);
  return 0;
}

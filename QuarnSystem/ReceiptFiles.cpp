#include "QuarnSystem/ReceiptFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <iterator>
#include <string_view>
#include <utility>

#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/base/Parallel.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/PropertyListFiles.h"
#include "QuarnSystem/formats/BillOfMaterials.h"

namespace quarn {
namespace {

constexpr std::array<std::string_view, 3> kFolders{"/private/var/db/receipts", "/Library/Apple/System/Library/Receipts",
                                                   "/Library/Receipts"};

// The keys of one kind of receipt. Of two keys the first that has a string counts; "" stands for no key.
struct Keys {
  std::string_view identifier;
  std::array<std::string_view, 2> version;
  std::array<std::string_view, 2> installLocation;
};

// clang-format off
constexpr Keys kRecordKeys{
    .identifier = "PackageIdentifier", .version = {"PackageVersion"}, .installLocation = {"InstallPrefixPath"}};
// Before Mac OS X 10.6 a receipt was the package itself without its payload.
constexpr Keys kPackageKeys{
    .identifier = "CFBundleIdentifier", .version = {"CFBundleShortVersionString", "CFBundleVersion"},
    .installLocation = {"IFPkgRelocatedPath", "IFPkgFlagDefaultLocation"}};
// clang-format on

std::optional<std::string> firstString(const PropertyList& list, const std::array<std::string_view, 2>& keys) {
  for (const std::string_view key : keys) {
    std::optional<std::string> text = key.empty() ? std::nullopt : list.string(key);
    if (text) return text;
  }
  return std::nullopt;
}

bool isEndless(const std::string& text, std::size_t most) { return text.size() > most; }

// Absent also for a moment that no calendar with four-digit years shows: damaged lists hold such.
std::optional<Date> installDateOf(const PropertyList& list) {
  using std::chrono::sys_days;
  using std::chrono::year;
  constexpr std::chrono::sys_seconds kEpoch = sys_days(year(2001) / 1 / 1);
  constexpr std::chrono::sys_seconds kFirst = sys_days(year(1) / 1 / 1);
  constexpr std::chrono::sys_seconds kEnd = sys_days(year(10000) / 1 / 1);
  const std::optional<PropertyList::Date> date = list.date("InstallDate");
  if (!date) return std::nullopt;
  const double seconds = std::floor(date->seconds);
  const auto reached = [&](Date limit) { return seconds >= static_cast<double>((limit - kEpoch).count()); };
  if (!reached(kFirst) || reached(kEnd) || std::isnan(seconds)) return std::nullopt;
  return kEpoch + std::chrono::seconds(static_cast<std::int64_t>(seconds));
}

std::optional<ReceiptFile> receiptOf(const FileManager& files, const FileURL& file, const Keys& keys, FileURL bill) {
  const std::optional<PropertyList> list = readPropertyList(files, file);
  std::optional<std::string> identifier = list ? list->string(keys.identifier) : std::nullopt;
  if (!identifier || identifier->empty()) return std::nullopt;
  const std::string location = firstString(*list, keys.installLocation).value_or("/");
  std::optional<std::string> version = firstString(*list, keys.version);
  if (isEndless(*identifier, limits::kNameBytes) || isEndless(location, limits::kRecordPathBytes)) {
    files.note(file, EFBIG);
    return std::nullopt;
  }
  if (version && isEndless(*version, limits::kNameBytes)) version.reset();
  return ReceiptFile{
      .identifier = std::move(*identifier),
      .version = std::move(version),
      .installDate = installDateOf(*list),
      // Written with and without a slash before it, as "." and as nothing; always below the volume's root.
      .installLocation = path::withoutDots(location),
      .bill = std::move(bill)};
}

std::optional<ReceiptFile> receiptAt(const FileManager& files, const DirectoryEntry& entry) {
  const FileURL& url = entry.url;
  const std::string extension = Text::lowercased(url.pathExtension());
  if (entry.type == FileType::directory) {
    if (extension != "pkg") return std::nullopt;
    const FileURL contents = url.appending("Contents");
    return receiptOf(files, contents.appending("Info.plist"), kPackageKeys, contents.appending("Archive.bom"));
  }
  if (extension != "plist") return std::nullopt;
  const FileURL bill = url.deletingLastPathComponent().appending(std::string(path::stem(url.path())) + ".bom");
  return receiptOf(files, url, kRecordKeys, bill);
}

}  // namespace

std::vector<ReceiptFile> readReceiptFiles(const FileManager& files) {
  std::vector<DirectoryEntry> entries;
  for (const std::string_view folder : kFolders) {
    std::vector<DirectoryEntry> listed = files.contentsOrNone(FileURL(folder), HiddenItems::include);
    std::move(listed.begin(), listed.end(), std::back_inserter(entries));
  }
  if (entries.size() > limits::kRecords) {
    files.note(entries[limits::kRecords].url, EFBIG);
    entries.resize(limits::kRecords);
  }
  std::vector<ReceiptFile> receipts =
      collectInParallel<ReceiptFile>(entries.size(), [&](std::size_t i) { return receiptAt(files, entries[i]); });
  std::stable_sort(receipts.begin(), receipts.end(), [](const ReceiptFile& left, const ReceiptFile& right) {
    return left.identifier < right.identifier;
  });
  return receipts;
}

std::optional<PackedPaths> readBillPaths(const FileManager& files, const FileURL& bill) {
  const std::optional<std::string> bytes = files.readFileIfPossible(bill, kMaxBillBytes);
  const std::optional<std::vector<BillEntry>> listed = bytes ? readBillOfMaterials(*bytes) : std::nullopt;
  if (!listed) return std::nullopt;
  std::vector<PackedPaths::Entry> entries;
  entries.reserve(listed->size());
  for (const BillEntry& entry : *listed) {
    const bool isFile = entry.type == BillEntryType::file || entry.type == BillEntryType::link;
    entries.push_back({.path = entry.path, .isMarked = isFile});
  }
  return PackedPaths(std::move(entries));
}

}  // namespace quarn

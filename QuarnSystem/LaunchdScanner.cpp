#include "QuarnSystem/LaunchdScanner.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "QuarnPlatform/base/Budget.h"
#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/base/Parallel.h"
#include "QuarnSystem/PropertyListFiles.h"

namespace quarn {
namespace {

constexpr std::string_view kHomeFolder = "Library/LaunchAgents";
constexpr std::array<std::string_view, 4> kSystemFolders{
    "/Library/LaunchAgents", "/Library/LaunchDaemons", "/System/Library/LaunchAgents", "/System/Library/LaunchDaemons"};

std::size_t keptBytes(const LaunchdEntry& job) {
  std::size_t bytes = 4 * limits::kBytesPerText + job.label.size() + job.program.value_or("").size();
  for (const std::string& argument : job.programArguments) bytes += limits::kBytesPerText + argument.size();
  return bytes;
}

std::optional<LaunchdEntry> jobAt(const FileManager& files, const FileURL& file) {
  const std::optional<PropertyList> job = readPropertyList(files, file);
  std::optional<std::string> label = job ? job->string("Label") : std::nullopt;
  if (!label) return std::nullopt;
  std::optional<std::string> program = job->string("Program");
  if (label->size() > limits::kNameBytes || (program && program->size() > limits::kRecordPathBytes)) {
    files.note(file, EFBIG);
    return std::nullopt;
  }
  return LaunchdEntry{.label = std::move(*label),
                      .program = std::move(program),
                      .programArguments = job->stringArray("ProgramArguments").value_or(std::vector<std::string>()),
                      .url = file};
}

std::optional<LaunchdEntry> jobWithin(Budget& texts, const FileManager& files, const FileURL& file) {
  std::optional<LaunchdEntry> job = jobAt(files, file);
  if (!job || texts.take(keptBytes(*job))) return job;
  files.note(file, EFBIG);
  return std::nullopt;
}

std::vector<LaunchdEntry> allJobs(const FileManager& volume, const std::vector<FileURL>& homes) {
  const FileManager files = volume.forOneOperation();
  std::vector<FileURL> found;
  const auto add = [&](const FileURL& folder) {
    std::vector<FileURL> more = propertyListFiles(files, folder);
    std::move(more.begin(), more.end(), std::back_inserter(found));
  };
  for (const FileURL& home : homes) add(home.appending(kHomeFolder));
  for (const std::string_view folder : kSystemFolders) add(FileURL(folder));
  if (found.size() > limits::kRecords) {
    files.note(found[limits::kRecords], EFBIG);
    found.resize(limits::kRecords);
  }
  Budget texts(limits::kJobBytes);
  return collectInParallel<LaunchdEntry>(found.size(),
                                         [&](std::size_t i) { return jobWithin(texts, files, found[i]); });
}

}  // namespace

LaunchdScanner LaunchdScanner::live(FileManager files) {
  std::vector<FileURL> homes{files.homeDirectory()};
  return live(std::move(files), std::move(homes));
}

LaunchdScanner LaunchdScanner::live(FileManager files, std::vector<FileURL> homes) {
  return {.scan = [files = std::move(files), homes = std::move(homes)] { return allJobs(files, homes); }};
}

LaunchdScanner LaunchdScanner::snapshot(FileManager files) {
  struct Jobs {
    std::once_flag once;
    std::vector<LaunchdEntry> jobs;
  };
  return {.scan = [files = std::move(files), kept = std::make_shared<Jobs>()] {
    std::call_once(kept->once, [&] { kept->jobs = allJobs(files, {files.homeDirectory()}); });
    return kept->jobs;
  }};
}

}  // namespace quarn

#include "QuarnSystem/LaunchdScanner.h"

#include <array>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "QuarnSystem/PropertyListFiles.h"

namespace quarn {
namespace {

constexpr std::string_view kHomeFolder = "Library/LaunchAgents";
constexpr std::array<std::string_view, 4> kSystemFolders{
    "/Library/LaunchAgents", "/Library/LaunchDaemons", "/System/Library/LaunchAgents", "/System/Library/LaunchDaemons"};

void appendJobs(const FileManager& files, const FileURL& folder, std::vector<LaunchdEntry>& jobs) {
  for (const FileURL& file : propertyListFiles(files, folder)) {
    const std::optional<PropertyList> job = readPropertyList(files, file);
    std::optional<std::string> label = job ? job->string("Label") : std::nullopt;
    if (!label) continue;
    jobs.push_back({.label = std::move(*label),
                    .program = job->string("Program"),
                    .programArguments = job->stringArray("ProgramArguments").value_or(std::vector<std::string>()),
                    .url = file});
  }
}

std::vector<LaunchdEntry> allJobs(const FileManager& files) {
  std::vector<LaunchdEntry> jobs;
  appendJobs(files, files.homeDirectory().appending(kHomeFolder), jobs);
  for (const std::string_view folder : kSystemFolders) appendJobs(files, FileURL(folder), jobs);
  return jobs;
}

}  // namespace

LaunchdScanner LaunchdScanner::live(FileManager files) {
  return {.scan = [files = std::move(files)] { return allJobs(files); }};
}

LaunchdScanner LaunchdScanner::snapshot(FileManager files) {
  struct Jobs {
    std::once_flag once;
    std::vector<LaunchdEntry> jobs;
  };
  return {.scan = [files = std::move(files), kept = std::make_shared<Jobs>()] {
    std::call_once(kept->once, [&] { kept->jobs = allJobs(files); });
    return kept->jobs;
  }};
}

}  // namespace quarn

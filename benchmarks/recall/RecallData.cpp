#include "RecallData.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <stdexcept>

#include <stdlib.h>

#include "QuarnBuilders/PlistWriter.h"
#include "QuarnBuilders/VolumeWriter.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn::recall {
namespace {

constexpr std::string_view kBundleEnding = ".app";

std::array<std::string, 4> columnsOf(const std::string& line, const std::string& file) {
  std::array<std::string, 4> columns;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::size_t end = i + 1 < columns.size() ? line.find('\t', begin) : line.size();
    if (end == std::string::npos) throw std::runtime_error(file + ": a line has fewer than four columns: " + line);
    columns[i] = line.substr(begin, end - begin);
    begin = end + 1;
  }
  return columns;
}

std::string vendorOf(const std::string& identifier) {
  const std::string text = Text::lowercased(identifier);
  const std::size_t first = text.find('.');
  return first == std::string::npos ? text : text.substr(0, text.find('.', first + 1));
}

std::string withoutEnding(const std::string& bundle) {
  return bundle.ends_with(kBundleEnding) ? bundle.substr(0, bundle.size() - kBundleEnding.size()) : bundle;
}

std::string absolute(const std::string& path) {
  std::string result = path.starts_with("~") ? std::string(RecallVolume::kHome) + path.substr(1) : path;
  while (result.size() > 1 && result.ends_with('/')) result.pop_back();
  return result;
}

// What is a file on a Mac, by its ending; anything else is a folder.
bool isFile(const std::string& path) {
  constexpr std::array<std::string_view, 13> kEndings{".plist",    ".log",  ".json", ".binarycookies", ".sfl2",
                                                      ".sfl3",     ".sfl4", ".ini",  ".conf",          ".txt",
                                                      ".lockfile", ".db",   ".xml"};
  return std::any_of(kEndings.begin(), kEndings.end(), [&](std::string_view ending) { return path.ends_with(ending); });
}

}  // namespace

std::vector<ListedApp> readApps(const std::string& file) {
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error("cannot read " + file);
  std::string line;
  std::getline(stream, line);
  std::map<std::pair<std::string, std::string>, std::set<std::string>> paths;
  while (std::getline(stream, line)) {
    if (line.empty()) continue;
    const auto [app, identifier, isDeclared, path] = columnsOf(line, file);
    paths[{withoutEnding(app), identifier}].insert(absolute(path));
  }
  std::vector<ListedApp> apps;
  for (const auto& [app, listed] : paths) {
    apps.push_back({.name = app.first,
                    .bundleIdentifier = app.second,
                    .vendor = vendorOf(app.second),
                    .paths = {listed.begin(), listed.end()}});
  }
  return apps;
}

RecallVolume::RecallVolume(const std::vector<ListedApp>& apps, std::vector<std::size_t> present,
                           const std::vector<bool>& installed)
    : present_(std::move(present)) {
  std::string pattern = std::filesystem::temp_directory_path() / "quarn-recall-XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a folder " + pattern);
  folder_ = pattern;
  for (const std::size_t app : present_) {
    for (const std::string& path : apps[app].paths) paths_[path].push_back(app);
  }
  writeBundles(apps, installed);
  writePaths();
}

RecallVolume::~RecallVolume() {
  sample::VolumeWriter(folder_).clear();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

// Apps of one name lie in folders of their own.
void RecallVolume::writeBundles(const std::vector<ListedApp>& apps, const std::vector<bool>& installed) {
  const sample::VolumeWriter writer(folder_);
  for (const std::size_t app : present_) {
    if (!installed[app]) continue;
    std::string bundle;
    for (int number = 1; bundle.empty() || appByBundle_.contains(bundle); ++number) {
      const std::string folder = number == 1 ? "" : std::to_string(number) + "/";
      bundle = "/Applications/" + folder + apps[app].name + std::string(kBundleEnding);
    }
    appByBundle_[bundle] = app;
    bundles_[app] = bundle;
    writer.file(bundle + "/Contents/Info.plist",
                sample::xmlPlist(sample::PlistDictionary{{"CFBundleIdentifier", apps[app].bundleIdentifier},
                                                         {"CFBundleName", apps[app].name},
                                                         {"CFBundlePackageType", "APPL"}}));
  }
}

void RecallVolume::writePaths() {
  const sample::VolumeWriter writer(folder_);
  std::string last;
  for (auto at = paths_.rbegin(); at != paths_.rend(); ++at) {
    const std::string& path = at->first;
    const bool holdsMore = last.starts_with(path + "/");
    if (isFile(path) && !holdsMore) {
      writer.file(path, "");
    } else {
      writer.folder(path);
    }
    last = path;
  }
}

}  // namespace quarn::recall

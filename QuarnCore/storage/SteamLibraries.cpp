#include "QuarnCore/storage/SteamLibraries.h"

#include <algorithm>
#include <array>
#include <optional>

#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

// Real files have a few kilobytes.
constexpr std::size_t kMaximumFileBytes = 4u << 20;
constexpr std::string_view kSteamBlanks = " \t\r";
constexpr std::array<std::string_view, 2> kBases{"Library/Application Support/Steam", "/Users/Shared/Steam"};

void skipBlanks(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(kSteamBlanks), line.size()));
}

// Removes a quoted token from the front of the line.
std::optional<std::string> takeToken(std::string_view& line) {
  skipBlanks(line);
  if (!line.starts_with('"')) return std::nullopt;
  std::string token;
  for (std::size_t i = 1; i < line.size(); ++i) {
    if (line[i] == '"') {
      line.remove_prefix(i + 1);
      return token;
    }
    const bool isEscape = line[i] == '\\' && i + 1 < line.size() && (line[i + 1] == '\\' || line[i + 1] == '"');
    if (isEscape) ++i;
    token += line[i];
  }
  return std::nullopt;
}

std::optional<std::string> pathOf(std::string_view line) {
  const std::optional<std::string> key = takeToken(line);
  if (!key || Text::lowercased(*key) != "path") return std::nullopt;
  std::optional<std::string> value = takeToken(line);
  skipBlanks(line);
  if (!value || !line.empty() || !value->starts_with('/')) return std::nullopt;
  return value;
}

}  // namespace

std::vector<std::string> steamLibraryPaths(std::string_view text) {
  std::vector<std::string> paths;
  if (Text::validUTF8(text) != text) return paths;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (std::optional<std::string> path = pathOf(text.substr(0, end))) paths.push_back(std::move(*path));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return paths;
}

std::vector<FileURL> steamAppFolders(const FileManager& files, RootScope scope) {
  std::vector<FileURL> folders;
  const auto addIfExists = [&](const FileURL& library) {
    const FileURL folder = library.appending("steamapps", URLKind::directory);
    if (files.itemExists(folder)) folders.push_back(folder);
  };
  for (const std::string_view basePath : kBases) {
    if (scope == RootScope::home && basePath.starts_with('/')) continue;
    const FileURL base = basePath.starts_with('/') ? FileURL(basePath) : files.homeDirectory().appending(basePath);
    if (!files.itemExists(base)) continue;
    addIfExists(base);
    const auto text = files.readFileIfPossible(base.appending("steamapps/libraryfolders.vdf"), kMaximumFileBytes);
    if (!text) continue;
    for (const std::string& path : steamLibraryPaths(*text)) {
      if (files.cancellation().isCancelled()) break;
      addIfExists(FileURL(path));
    }
  }
  return folders;
}

}  // namespace quarn

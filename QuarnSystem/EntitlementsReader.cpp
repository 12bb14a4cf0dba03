#include "QuarnSystem/EntitlementsReader.h"

#include <array>
#include <string_view>
#include <utility>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnSystem/BundleInfo.h"
#include "QuarnSystem/formats/Entitlements.h"

namespace quarn {
namespace {

// The folders of the main executable, in the search order of macOS. The last one is for flat bundles.
constexpr std::array<std::string_view, 3> kExecutableFolders{"Contents/MacOS", "Contents", ""};

// A path instead of a name could select another app's program and borrow its entitlements.
bool isPath(std::string_view text) { return text.find('/') != std::string_view::npos; }

std::optional<OpenFile> openedIfPossible(const FileManager& files, const FileURL& url) {
  try {
    return files.openFile(url);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

std::optional<OpenFile> mainExecutable(const FileManager& files, const FileURL& app) {
  const BundleInfo info = readBundleInfo(files, app);
  const std::string name = info.executable.value_or(std::string(path::stem(info.bundle.path())));
  if (isPath(name)) return std::nullopt;
  for (const std::string_view folder : kExecutableFolders) {
    const FileURL place = folder.empty() ? info.bundle : info.bundle.appending(folder);
    if (std::optional<OpenFile> file = openedIfPossible(files, place.appending(name))) return file;
  }
  return std::nullopt;
}

ByteSource sourceOf(const OpenFile& file) {
  return {.size = file.size(), .read = [&file](std::uint64_t offset, std::size_t count) -> std::string {
            try {
              return file.read(offset, count);
            } catch (const FileError&) {
              return {};
            }
          }};
}

EntitlementsInfo entitlementsOfApp(const FileManager& files, const FileURL& app) {
  const std::optional<OpenFile> program = mainExecutable(files, app);
  if (!program) return {};
  return {.applicationGroups = readApplicationGroups(sourceOf(*program))};
}

std::string teamOfApp(const FileManager& files, const FileURL& app) {
  const std::optional<OpenFile> program = mainExecutable(files, app);
  return program ? quarn::readTeamIdentifier(sourceOf(*program)) : std::string();
}

}  // namespace

EntitlementsReader EntitlementsReader::live(FileManager files) {
  return {.readEntitlements = [files](const FileURL& app) { return entitlementsOfApp(files, app); },
          .readTeamIdentifier = [files](const FileURL& app) { return teamOfApp(files, app); }};
}

}  // namespace quarn

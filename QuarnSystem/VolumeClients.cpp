#include "QuarnSystem/VolumeClients.h"

#include <array>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::string_view kVolumes = "/Volumes";
constexpr std::string_view kNameOfNewMac = "Macintosh HD";
constexpr std::string_view kQuarantine = "Library/Application Support/Quarn/Quarantine";

// The system volume's entry in /Volumes is a link to "/" with the name of the volume.
std::optional<std::string> nameInVolumes(const FileManager& files) {
  for (const DirectoryEntry& entry : files.contentsOrNone(FileURL(kVolumes), HiddenItems::skip)) {
    const bool isSystemVolume = entry.type == FileType::symbolicLink && files.resolvedPath(entry.url) == "/";
    if (isSystemVolume) return std::string(entry.url.lastPathComponent());
  }
  return std::nullopt;
}

// If there is no such link (a separate Data volume, a copy), use the name of the host folder.
std::string nameOfHostFolder(const FileManager& files) {
  constexpr std::array<std::string_view, 4> kNoNames{"", "/", ".", ".."};
  const std::string_view name = path::lastComponent(files.hostFolder());
  for (const std::string_view noName : kNoNames) {
    if (name == noName) return std::string(kNameOfNewMac);
  }
  return std::string(name);
}

VolumeInfo systemVolume(const FileManager& files) {
  const VolumeSpace space = files.space();
  std::optional<std::string> name = nameInVolumes(files);
  return {.name = name ? std::move(*name) : nameOfHostFolder(files),
          .url = FileURL(),
          .totalBytes = space.totalBytes,
          .freeBytes = space.freeBytes};
}

// A path with a missing component resolves to itself. So also compare the first component below /Volumes with the
// name of the system volume.
bool isBelowVolumes(const FileManager& files, const std::string& resolved) {
  const std::vector<std::string_view> names = path::names(resolved);
  if (names.size() < 2 || !path::isInside(resolved, kVolumes)) return false;
  return files.resolvedPath(FileURL(kVolumes).appending(names[1])) != "/";
}

/// The home folder of the checks, looked up once.
struct CheckedHome {
  std::once_flag once;
  std::string path;                     // without links
  std::optional<std::uint64_t> device;  // absent if the folder is missing, and for "/"
};

// Users may mount another volume in their home folder. Elsewhere the device says nothing: on a Mac, "/" and the folders
// of the data volume in it are on two devices.
bool isMountedInHome(const FileManager& files, const std::string& resolved, CheckedHome& home) {
  std::call_once(home.once, [&] {
    home.path = files.resolvedPath(files.homeDirectory());
    const std::optional<ItemFacts> facts = files.facts(FileURL(home.path), Links::follow);
    if (facts && home.path != "/") home.device = facts->device;
  });
  if (!home.device || !path::isInside(resolved, home.path)) return false;
  const std::optional<ItemFacts> facts = files.facts(FileURL(resolved), Links::follow);
  return facts && facts->device != *home.device;
}

}  // namespace

VolumeInfoClient VolumeInfoClient::live(FileManager files) {
  return {.systemVolume = [files = std::move(files)] { return quarn::systemVolume(files); }};
}

VolumeLocationChecker VolumeLocationChecker::live(FileManager files) {
  return {.isExternal = [files = std::move(files), home = std::make_shared<CheckedHome>()](const FileURL& url) {
    const std::string resolved = files.resolvedPath(url);
    return isBelowVolumes(files, resolved) || isMountedInHome(files, resolved, *home);
  }};
}

QuarantineManager QuarantineManager::live(FileManager files) {
  return {.baseURL = [home = files.homeDirectory()] { return home.appending(kQuarantine, URLKind::directory); }};
}

}  // namespace quarn

#include "QuarnSystem/BundleInfo.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <utility>
#include <vector>

#include "QuarnPlatform/base/Limits.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/formats/PropertyList.h"

namespace quarn {
namespace {

constexpr std::array<std::string_view, 2> kInfoNames{"Info-macos.plist", "Info.plist"};

// The content of an Info.plist; empty if the file is malformed.
using Info = PropertyList;

std::string withoutCase(std::string_view name) { return Text::lowercased(name); }

// Absent only if there is no such file. A malformed Info.plist still determines the layout of the bundle.
std::optional<Info> readExisting(const FileManager& files, const FileURL& file) {
  const std::optional<std::string> bytes = files.readFileIfPossible(file, PropertyList::kMaxBytes);
  if (bytes) return PropertyList::parse(*bytes).value_or(Info());
  return meansMissing(errno) ? std::nullopt : std::optional<Info>(Info());
}

// The first name in the folder that equals `wanted` except for case. Keeps only the best match, so memory does not
// grow with the folder.
std::optional<std::string> nameInOtherCase(const FileManager& files, const FileURL& folder, std::string_view wanted) {
  const std::string key = withoutCase(wanted);
  std::optional<std::string> best;
  try {
    const FileDescriptor open = files.openDirectory(folder, Links::follow);
    DirectoryReader reader;
    reader.start(open.get());
    while (reader.readMore()) {
      while (const DirectoryReader::Entry* entry = reader.next()) {
        if (entry->name.size() != key.size() || withoutCase(entry->name) != key) continue;
        if (!best || entry->name < *best) best = entry->name;
      }
    }
    if (reader.error() != 0) files.note(folder, reader.error());
  } catch (const FileError&) {
    return std::nullopt;
  }
  return best;
}

std::optional<Info> readIn(const FileManager& files, const FileURL& folder) {
  for (const std::string_view name : kInfoNames) {
    if (std::optional<Info> info = readExisting(files, folder.appending(name))) return info;
  }
  for (const std::string_view wanted : kInfoNames) {
    const std::optional<std::string> name = nameInOtherCase(files, folder, wanted);
    if (!name) continue;
    if (std::optional<Info> info = readExisting(files, folder.appending(*name))) return info;
  }
  return std::nullopt;
}

struct FoundInfo {
  FileURL bundle;
  Info info;
};

std::optional<FoundInfo> found(FileURL bundle, std::optional<Info> info) {
  if (!info) return std::nullopt;
  return FoundInfo{std::move(bundle), std::move(*info)};
}

// Reads the Info.plist at the place of one layout.
using Place = std::optional<FoundInfo> (*)(const FileManager& files, const FileURL& bundle);

std::optional<FoundInfo> inContents(const FileManager& files, const FileURL& bundle) {
  return found(bundle, readIn(files, bundle.appending("Contents")));
}

std::optional<FoundInfo> throughWrappedLink(const FileManager& files, const FileURL& bundle) {
  const FileURL link = bundle.appending("WrappedBundle");
  std::optional<Info> info = readIn(files, link);
  // Resolve the link, because the name of the wrapped app differs from the name of the link.
  return info ? found(files.resolvingSymlinks(link), std::move(info)) : std::nullopt;
}

std::optional<FoundInfo> inWrapper(const FileManager& files, const FileURL& bundle) {
  for (const DirectoryEntry& entry : files.contentsOrNone(bundle.appending("Wrapper"), HiddenItems::include)) {
    if (!withoutCase(entry.url.lastPathComponent()).ends_with(".app")) continue;
    if (auto wrapped = found(entry.url, readIn(files, entry.url))) return wrapped;
  }
  return std::nullopt;
}

std::optional<FoundInfo> inResources(const FileManager& files, const FileURL& bundle) {
  return found(bundle, readIn(files, bundle.appending("Resources")));
}

std::optional<FoundInfo> inSupportFiles(const FileManager& files, const FileURL& bundle) {
  return found(bundle, readIn(files, bundle.appending("Support Files")));
}

std::optional<FoundInfo> inBundleItself(const FileManager& files, const FileURL& bundle) {
  return found(bundle, readIn(files, bundle));
}

constexpr std::array<Place, 6> kPlaces{inContents,  throughWrappedLink, inWrapper,
                                       inResources, inSupportFiles,     inBundleItself};

FoundInfo find(const FileManager& files, const FileURL& bundle) {
  for (const Place place : kPlaces) {
    if (std::optional<FoundInfo> info = place(files, bundle)) return std::move(*info);
  }
  return {bundle, Info()};
}

// An endless text is damage: no name, identifier or version is that long.
std::optional<std::string> nonEmpty(const Info& info, std::string_view key) {
  std::optional<std::string> text = info.string(key);
  return text && !text->empty() && text->size() <= limits::kNameBytes ? text : std::nullopt;
}

std::vector<std::string> helpersOf(const Info& info) {
  std::vector<std::string> names;
  const PropertyList* helpers = info.dictionary("SMPrivilegedExecutables");
  if (helpers == nullptr) return names;
  for (const PropertyListEntry& helper : *helpers->asDictionary()) names.push_back(helper.key);
  return names;
}

}  // namespace

BundleInfo readBundleInfo(const FileManager& files, const FileURL& bundle) {
  auto [holder, info] = find(files, bundle);
  std::optional<std::string> version = nonEmpty(info, "CFBundleShortVersionString");
  if (!version) version = nonEmpty(info, "CFBundleVersion");
  return {.bundle = std::move(holder),
          .identifier = nonEmpty(info, "CFBundleIdentifier"),
          .displayName = nonEmpty(info, "CFBundleDisplayName"),
          .name = nonEmpty(info, "CFBundleName"),
          .executable = nonEmpty(info, "CFBundleExecutable"),
          .version = std::move(version),
          .privilegedHelpers = helpersOf(info)};
}

}  // namespace quarn

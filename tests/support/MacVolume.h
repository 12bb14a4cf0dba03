#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "QuarnBuilders/PlistWriter.h"
#include "QuarnBuilders/VolumeWriter.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

using sample::PlistArray;
using sample::PlistData;
using sample::PlistDate;
using sample::PlistDictionary;
using sample::PlistFormat;
using sample::PlistValue;

constexpr std::int64_t operator""_B(unsigned long long count) { return static_cast<std::int64_t>(count); }
constexpr std::int64_t operator""_KiB(unsigned long long count) { return static_cast<std::int64_t>(count) * 1024; }
constexpr std::int64_t operator""_MiB(unsigned long long count) {
  return static_cast<std::int64_t>(count) * 1024 * 1024;
}

/// The content of an app's Info.plist. Empty texts omit their keys.
struct AppBundle {
  std::string bundleIdentifier{};  ///< CFBundleIdentifier
  std::string name{};              ///< CFBundleName
  std::string displayName{};       ///< CFBundleDisplayName
  std::string version{};           ///< CFBundleShortVersionString
  std::string executable{};        ///< CFBundleExecutable; the file exists even without it, with the name of the bundle
  std::string executableBytes = "#!/bin/sh\n";
  PlistFormat format = PlistFormat::xml;
  PlistDictionary more{};  ///< more keys, after those above
};

/// A small Mac volume in a temporary folder, removed at the end of the test. Paths are paths on the Mac: absolute, or
/// beginning with "~" for the home folder. Names may be any bytes. Missing parents are created (mode 0755). All
/// makers return the volume, so calls can be chained:
///
///     MacVolume volume;
///     volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
///         .file("~/Library/Caches/com.example.App/a", 3_KiB)
///         .link("~/Library/Logs/latest", "/Library/Logs/today");
///
/// Never writes through a symbolic link, so it cannot write outside the volume. A link or ".." in a path, or a
/// failing system call, throws FileError. Not copyable; not thread-safe.
class MacVolume {
 public:
  explicit MacVolume(std::string_view home = "/Users/ann");
  ~MacVolume();
  MacVolume(const MacVolume&) = delete;
  MacVolume& operator=(const MacVolume&) = delete;

  /// An app with Contents/Info.plist, Contents/PkgInfo and an executable in Contents/MacOS.
  MacVolume& app(std::string_view path, const AppBundle& bundle = {});
  /// As `app`, without an Info.plist.
  MacVolume& appWithoutInfo(std::string_view path);

  MacVolume& folder(std::string_view path);
  /// A regular file of that many bytes, all allocated.
  MacVolume& file(std::string_view path, std::int64_t bytes = 0);
  /// A regular file with this content, which may be any bytes.
  MacVolume& text(std::string_view path, std::string_view content);
  MacVolume& executable(std::string_view path, std::string_view content = "#!/bin/sh\n");
  /// A property list with a dictionary as root, for example `{{"Label", "com.example.job"}, {"RunAtLoad", true}}`.
  MacVolume& plist(std::string_view path, const PlistDictionary& root);
  MacVolume& binaryPlist(std::string_view path, const PlistDictionary& root);
  /// A file of that length without allocated blocks.
  MacVolume& sparse(std::string_view path, std::int64_t logicalBytes);

  /// A symbolic link. `target` is stored unchanged, including "~".
  MacVolume& link(std::string_view path, std::string_view target);
  MacVolume& hardLink(std::string_view path, std::string_view existing);
  MacVolume& fifo(std::string_view path);
  MacVolume& socket(std::string_view path);
  /// `depth` nested folders with the name `name` below `path`. The path may be much longer than PATH_MAX.
  MacVolume& chain(std::string_view path, int depth, std::string_view name = "d");

  /// Sets permission bits, for example 0000. The item must not be a link.
  MacVolume& mode(std::string_view path, mode_t bits);
  /// Sets the modification time, in seconds since 1970. Does not follow links.
  MacVolume& modified(std::string_view path, std::int64_t seconds);
  /// Sets an extended attribute with exactly this name ("user.…" on Linux).
  MacVolume& xattr(std::string_view path, const std::string& name, std::string_view bytes);
  /// Sets the bundle bit in the FinderInfo of a folder, under the name that a copy of a Mac volume has.
  MacVolume& bundleBit(std::string_view path);
  /// Removes an item and its content.
  MacVolume& remove(std::string_view path);

  /// The volume as a FileManager with this home folder.
  [[nodiscard]] FileManager files() const;
  /// The home folder, a path on the Mac.
  [[nodiscard]] const std::string& home() const { return home_; }
  /// The volume's folder on the host.
  [[nodiscard]] const std::string& root() const { return writer_.hostFolder(); }
  /// Expands "~".
  [[nodiscard]] std::string path(std::string_view macPath) const;
  /// The host path of a path on the Mac.
  [[nodiscard]] std::string host(std::string_view macPath) const;
  /// The path as a URL, marked as a folder if `macPath` ends in "/".
  [[nodiscard]] FileURL url(std::string_view macPath) const;

 private:
  std::string home_;
  sample::VolumeWriter writer_;
};

}  // namespace quarn

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

/// What stands in an app's Info.plist; an empty text leaves its key out.
struct AppBundle {
  std::string bundleIdentifier{};  ///< CFBundleIdentifier
  std::string name{};              ///< CFBundleName
  std::string displayName{};       ///< CFBundleDisplayName
  std::string version{};           ///< CFBundleShortVersionString
  std::string executable{};        ///< CFBundleExecutable; the file is always made, under the bundle's stem without it
  std::string executableBytes = "#!/bin/sh\n";
  PlistFormat format = PlistFormat::xml;
  PlistDictionary more{};  ///< further keys, after the above
};

/// A small Mac volume in a temporary folder of its own, written by the test that owns it and removed at the end,
/// whatever modes, depths and names it holds. Paths are the Mac's: absolute, or beginning with "~" for the home; names
/// may be any bytes; parents are made as needed (mode 0755). Every maker returns the volume, so that a test reads as a
/// list:
///
///     MacVolume volume;
///     volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
///         .file("~/Library/Caches/com.example.App/a", 3_KiB)
///         .link("~/Library/Logs/latest", "/Library/Logs/today");
///
/// Nothing is ever written through a symbolic link, so nothing can be written outside the volume; that, a path with
/// "..", and every failing system call throw FileError. Not copyable; one thread.
class MacVolume {
 public:
  explicit MacVolume(std::string_view home = "/Users/ann");
  ~MacVolume();
  MacVolume(const MacVolume&) = delete;
  MacVolume& operator=(const MacVolume&) = delete;

  /// An app as macOS lays it out: Contents/Info.plist, Contents/PkgInfo and an executable in Contents/MacOS.
  MacVolume& app(std::string_view path, const AppBundle& bundle = {});
  /// As `app`, without an Info.plist.
  MacVolume& appWithoutInfo(std::string_view path);

  MacVolume& folder(std::string_view path);
  /// A regular file of that many bytes, all of them allocated.
  MacVolume& file(std::string_view path, std::int64_t bytes = 0);
  /// A regular file with this content; also for bytes.
  MacVolume& text(std::string_view path, std::string_view content);
  MacVolume& executable(std::string_view path, std::string_view content = "#!/bin/sh\n");
  /// A property list whose root is a dictionary, written as `{{"Label", "com.example.job"}, {"RunAtLoad", true}}`.
  MacVolume& plist(std::string_view path, const PlistDictionary& root);
  MacVolume& binaryPlist(std::string_view path, const PlistDictionary& root);
  /// A file of that logical length and no allocated byte.
  MacVolume& sparse(std::string_view path, std::int64_t logicalBytes);

  /// A symbolic link; `target` is stored as it stands ("~" too).
  MacVolume& link(std::string_view path, std::string_view target);
  MacVolume& hardLink(std::string_view path, std::string_view existing);
  MacVolume& fifo(std::string_view path);
  MacVolume& socket(std::string_view path);
  /// `depth` folders called `name`, one in the other, below `path`; the path may grow far over PATH_MAX.
  MacVolume& chain(std::string_view path, int depth, std::string_view name = "d");

  /// Permission bits, for instance 0000. Not of a link.
  MacVolume& mode(std::string_view path, mode_t bits);
  /// The time of the last change of the content, in seconds since 1970; of a link itself.
  MacVolume& modified(std::string_view path, std::int64_t seconds);
  /// An extended attribute under exactly this name ("user.…" on Linux).
  MacVolume& xattr(std::string_view path, const std::string& name, std::string_view bytes);
  /// Marks a folder as a bundle in its Finder information, as a copy of a Mac volume carries it.
  MacVolume& bundleBit(std::string_view path);
  /// Takes an item and everything in it away.
  MacVolume& remove(std::string_view path);

  /// The volume as the library sees it, with the home of the constructor.
  [[nodiscard]] FileManager files() const;
  /// The inspected user's home as the Mac names it.
  [[nodiscard]] const std::string& home() const { return home_; }
  /// The volume's folder on the host.
  [[nodiscard]] const std::string& root() const { return writer_.hostFolder(); }
  /// The Mac's path: "~" written out.
  [[nodiscard]] std::string path(std::string_view macPath) const;
  /// Where a Mac path lies on the host.
  [[nodiscard]] std::string host(std::string_view macPath) const;
  /// The path as a URL; known to be a folder when `macPath` ends in "/".
  [[nodiscard]] FileURL url(std::string_view macPath) const;

 private:
  std::string home_;
  sample::VolumeWriter writer_;
};

}  // namespace quarn

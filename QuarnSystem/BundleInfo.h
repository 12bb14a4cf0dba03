#pragma once

#include <optional>
#include <string>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The content of a bundle's Info.plist. Entries that are missing, empty or not strings are absent.
struct BundleInfo {
  FileURL bundle;                              ///< the requested bundle, or the iOS app that it wraps
  std::optional<std::string> identifier;       ///< CFBundleIdentifier
  std::optional<std::string> displayName;      ///< CFBundleDisplayName
  std::optional<std::string> name;             ///< CFBundleName
  std::optional<std::string> executable;       ///< CFBundleExecutable
  std::optional<std::string> version;          ///< CFBundleShortVersionString, else CFBundleVersion
  std::vector<std::string> privilegedHelpers;  ///< the keys of SMPrivilegedExecutables, in the order of the file
};

/// Reads the Info.plist of a bundle. Checks the places of all bundle layouts in this order and reads the first file
/// that exists: "Contents"; for iOS apps the target of "WrappedBundle", else the first app in "Wrapper"; "Resources"
/// and "Support Files" of old bundles; the bundle itself. In each place "Info-macos.plist" precedes "Info.plist". The
/// names are case-insensitive, as on a Mac's own file system.
///
/// Never fails: if there is no such file, or if it is malformed, not a regular file or larger than
/// `PropertyList::kMaxBytes`, all entries are absent.
BundleInfo readBundleInfo(const FileManager& files, const FileURL& bundle);

}  // namespace quarn

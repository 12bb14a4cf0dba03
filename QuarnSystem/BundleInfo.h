#pragma once

#include <optional>
#include <string>

#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// What a bundle's Info.plist says of it. A plain value. An entry that is missing, empty or no string is absent.
struct BundleInfo {
  FileURL bundle;  ///< the bundle that the entries are of: the one asked for, or the iOS app that is wrapped in it
  std::optional<std::string> identifier;   ///< CFBundleIdentifier
  std::optional<std::string> displayName;  ///< CFBundleDisplayName
  std::optional<std::string> name;         ///< CFBundleName
  std::optional<std::string> executable;   ///< CFBundleExecutable
  std::optional<std::string> version;      ///< CFBundleShortVersionString, else CFBundleVersion
};

/// Reads the Info.plist of the bundle at a URL. Looks in the places that the platform's layouts have had, in this
/// order, and takes the first file there is: "Contents"; an iOS app on the Mac by its "WrappedBundle" link, else the
/// first app in "Wrapper"; "Resources" and "Support Files" of old bundles; the bundle itself. In each place
/// "Info-macos.plist" comes before "Info.plist", letter case ignored as on the Mac's own file system.
///
/// Never fails: without such a file, and with one that is broken, no file at all or beyond `PropertyList::kMaxBytes`,
/// every entry is absent.
BundleInfo readBundleInfo(const FileManager& files, const FileURL& bundle);

}  // namespace quarn

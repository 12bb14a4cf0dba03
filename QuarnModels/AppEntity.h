#pragma once

#include <optional>
#include <string>

#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// One installed application. A plain value.
struct AppEntity {
  std::string name;                             ///< as shown to the user
  std::optional<std::string> bundleIdentifier;  ///< an app may have none
  FileURL bundleURL;                            ///< the application bundle, a folder
  std::string id;                               ///< stable identity: the bundle identifier, else the bundle's path
  std::optional<std::string> version;           ///< marketing version, else build number

  /// The identity that an app of this identifier and place has.
  static std::string makeID(const std::optional<std::string>& bundleIdentifier, const FileURL& bundleURL) {
    return bundleIdentifier ? *bundleIdentifier : bundleURL.path();
  }

  friend bool operator==(const AppEntity&, const AppEntity&) = default;
};

}  // namespace quarn

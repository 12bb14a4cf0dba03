#pragma once

#include <optional>
#include <string>

#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// An installed application.
struct AppEntity {
  std::string name{};                             ///< display name
  std::optional<std::string> bundleIdentifier{};  ///< absent if the app has none
  FileURL bundleURL{};                            ///< the bundle, a folder
  std::string id{};                               ///< stable: the bundle identifier, or the path if there is none
  std::optional<std::string> version{};           ///< marketing version, or build number

  /// Makes the id of an app.
  static std::string makeID(const std::optional<std::string>& bundleIdentifier, const FileURL& bundleURL) {
    return bundleIdentifier ? *bundleIdentifier : bundleURL.path();
  }

  friend bool operator==(const AppEntity&, const AppEntity&) = default;
};

}  // namespace quarn
